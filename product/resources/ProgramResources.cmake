# What every window program carries: icon, manifest, version information. And how icons are rendered.
find_program(QX_RSVG_CONVERT rsvg-convert REQUIRED)
find_program(QX_ICOTOOL icotool REQUIRED)
set(QX_RESOURCES ${CMAKE_CURRENT_LIST_DIR})

# qx_render_icon(OUTPUT NAME ANGLE)
# Renders an icon from the drawings in product/icons/NAME, turned by so many degrees where they can be turned.
function(qx_render_icon output name angle)
  set(folder ${QX_RESOURCES}/../icons/${name})
  file(GLOB drawings CONFIGURE_DEPENDS ${folder}/*.svg)
  cmake_path(GET output FILENAME file)
  add_custom_command(OUTPUT ${output}
    COMMAND ${QX_RESOURCES}/render-icon.sh ${folder} ${output} ${angle}
    DEPENDS ${drawings} ${QX_RESOURCES}/render-icon.sh
    COMMENT "Rendering ${file}" VERBATIM)
endfunction()

# qx_program_resources(TARGET PROGRAM)
# Compiles PROGRAM.rc of the caller's folder into objects, which an executable takes by linking TARGET. The
# script finds "PROGRAM.ico", rendered from product/icons/PROGRAM/, and includes "PROGRAM.version.rc".
function(qx_program_resources target program)
  set(folder ${CMAKE_CURRENT_BINARY_DIR})
  configure_file(${QX_RESOURCES}/program.manifest.in ${folder}/${program}.manifest @ONLY)
  configure_file(${QX_RESOURCES}/version.rc.in ${folder}/${program}.version.rc @ONLY)
  qx_render_icon(${folder}/${program}.ico ${program} 0)

  add_library(${target} OBJECT ${program}.rc)
  target_include_directories(${target} PRIVATE ${folder} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
  set_source_files_properties(${program}.rc PROPERTIES OBJECT_DEPENDS
    "${folder}/${program}.ico;${folder}/${program}.manifest;${folder}/${program}.version.rc")
  # The resource compiler understands none of the compiler's options.
  set_target_properties(${target} PROPERTIES COMPILE_OPTIONS "")
endfunction()
