# What every window program carries: icon, manifest, version information.
find_program(QX_RSVG_CONVERT rsvg-convert REQUIRED)
find_program(QX_ICOTOOL icotool REQUIRED)
set(QX_RESOURCES ${CMAKE_CURRENT_LIST_DIR})

# qx_program_resources(TARGET PROGRAM)
# Compiles PROGRAM.rc of the caller's folder into objects, which an executable takes by linking TARGET. The
# script finds "PROGRAM.ico", rendered from product/icons/, and includes "PROGRAM.version.rc".
function(qx_program_resources target program)
  set(folder ${CMAKE_CURRENT_BINARY_DIR})
  set(drawings ${QX_RESOURCES}/../icons/${program}.svg ${QX_RESOURCES}/../icons/${program}.small.svg)
  configure_file(${QX_RESOURCES}/program.manifest.in ${folder}/${program}.manifest @ONLY)
  configure_file(${QX_RESOURCES}/version.rc.in ${folder}/${program}.version.rc @ONLY)
  add_custom_command(OUTPUT ${folder}/${program}.ico
    COMMAND ${QX_RESOURCES}/render-icon.sh ${drawings} ${folder}/${program}.ico
    DEPENDS ${drawings} ${QX_RESOURCES}/render-icon.sh
    COMMENT "Rendering ${program}.ico" VERBATIM)

  add_library(${target} OBJECT ${program}.rc)
  target_include_directories(${target} PRIVATE ${folder} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
  set_source_files_properties(${program}.rc PROPERTIES OBJECT_DEPENDS
    "${folder}/${program}.ico;${folder}/${program}.manifest;${folder}/${program}.version.rc")
  # The resource compiler understands none of the compiler's options.
  set_target_properties(${target} PROPERTIES COMPILE_OPTIONS "")
endfunction()
