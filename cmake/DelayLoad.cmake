# qx_delay_library(TARGET DEF)
# An import library that loads its DLL at the first call, by the search path then in force: for system
# libraries that the loader would otherwise also take from the program's own folder.
function(qx_delay_library target def)
  set(library ${CMAKE_CURRENT_BINARY_DIR}/lib${target}.a)
  set(source ${CMAKE_CURRENT_SOURCE_DIR}/${def})
  add_custom_command(OUTPUT ${library}
    COMMAND x86_64-w64-mingw32-dlltool --input-def ${source} --output-delaylib ${library}
    DEPENDS ${source} VERBATIM)
  add_custom_target(${target}_file DEPENDS ${library})
  add_library(${target} INTERFACE)
  add_dependencies(${target} ${target}_file)
  target_link_libraries(${target} INTERFACE ${library} delayimp)
endfunction()
