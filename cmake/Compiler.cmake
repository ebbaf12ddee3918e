# Language level, warnings and hardening for every target of the project. Dependencies are built elsewhere
# and come in as system headers.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)

option(QX_CHECKED "Build with library assertions and the undefined-behaviour trap" OFF)

add_compile_definitions(UNICODE _UNICODE STRICT NOMINMAX WIN32_LEAN_AND_MEAN
                        WINVER=0x0601 _WIN32_WINNT=0x0601)

# The resource compiler understands none of these.
set(_options
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wimplicit-fallthrough -Wformat=2 -Werror
  # Log lines and debug information carry source names and must not carry the builder's folders.
  "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/="
  -fstack-protector-strong)
add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:${_options}>"
                    "$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual>")

# The C++ runtime is linked in, so that the staged tree needs no library beyond its own. The stack
# protector's own part has to be named at the link as well. Sections at whole pages of the file are mapped on
# every system, and so shared, not read into memory of the process. What keeps its symbols is stripped after the link.
add_link_options(-static -fstack-protector-strong -Wl,--file-alignment=4096
                 -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va
                 $<$<AND:$<CONFIG:Release>,$<NOT:$<BOOL:$<TARGET_PROPERTY:QX_SYMBOLS>>>>:-s>)

if(QX_CHECKED)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:-fsanitize=undefined;-fsanitize-undefined-trap-on-error>")
else()
  add_compile_definitions($<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
  link_libraries($<$<CONFIG:Release>:ssp>)
endif()

# qx_library(NAME SOURCES file... [PUBLIC lib...] [PRIVATE lib...])
# A static library whose own folder is its include folder.
function(qx_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
endfunction()
