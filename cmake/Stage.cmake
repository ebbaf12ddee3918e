# The staged product tree, out/stage by default: what an installer would lay down, runnable as it stands.
set(QX_STAGE "${CMAKE_SOURCE_DIR}/out/stage" CACHE PATH "Where the runnable product tree is put")
add_custom_target(stage)

# qx_stage_program(TARGET FOLDER NAME...)
# Stages the program once under each file name: the file name tells a program which product it is. Its debug
# information goes beside the staged tree.
function(qx_stage_program target folder)
  qx_split_symbols(${target})
  set(commands)
  foreach(name IN LISTS ARGN)
    list(APPEND commands COMMAND ${CMAKE_COMMAND} -E copy_if_different
         $<TARGET_FILE:${target}> ${QX_STAGE}/${folder}/${name})
  endforeach()
  add_custom_target(stage_${target}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${QX_STAGE}/${folder} ${QX_STAGE_SYMBOLS} ${commands}
    COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:${target}>.debug ${QX_STAGE_SYMBOLS}
    DEPENDS ${target} COMMENT "Staging ${ARGN}" VERBATIM)
  add_dependencies(stage stage_${target})
endfunction()

# qx_stage_files(TARGET FOLDER FILE...)
# Stages files of the sources, or files that this folder's list of commands makes.
function(qx_stage_files target folder)
  add_custom_target(${target}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${QX_STAGE}/${folder}
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${ARGN} ${QX_STAGE}/${folder}
    DEPENDS ${ARGN} COMMENT "Staging ${target}" VERBATIM)
  add_dependencies(stage ${target})
endfunction()
