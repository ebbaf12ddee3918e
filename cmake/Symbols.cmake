# The debug information of what is staged. Programs and libraries are linked with it, then it moves into a file of its
# own, which the stripped program names: QxSessionAgent.exe.debug beside QxSessionAgent.exe in the build folder, and in
# the folder below beside the staged tree. "./qx symbols" reads dumps with it.
set(QX_STAGE_SYMBOLS "${QX_STAGE}.debug")

# Functions, inlined calls and source lines, which is what a stack needs, and nothing of variables and types.
set(QX_DEBUG_OPTIONS -g1)

# qx_debug_information(ON|OFF)
# Whether what this folder and those below it compile has debug information. Tests do without.
macro(qx_debug_information wanted)
  foreach(_language C CXX)
    if(NOT DEFINED QX_RELEASE_${_language}_FLAGS)
      set(QX_RELEASE_${_language}_FLAGS "${CMAKE_${_language}_FLAGS_RELEASE}")
    endif()
    set(CMAKE_${_language}_FLAGS_RELEASE "${QX_RELEASE_${_language}_FLAGS}")
    if(${wanted})
      string(APPEND CMAKE_${_language}_FLAGS_RELEASE " ${QX_DEBUG_OPTIONS}")
    endif()
  endforeach()
endmacro()

# qx_split_symbols(TARGET)
# Called in the folder of the target. Nothing that other programs may hold open is changed: the linker has just made it.
function(qx_split_symbols target)
  set_target_properties(${target} PROPERTIES QX_SYMBOLS ON)
  set(file $<TARGET_FILE:${target}>)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${file} ${file}.debug
    COMMAND ${CMAKE_OBJCOPY} --strip-all --add-gnu-debuglink=${file}.debug ${file}
    VERBATIM)
endfunction()
