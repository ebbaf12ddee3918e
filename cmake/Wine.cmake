# Runs the built Windows programs inside the desktop that scripts/wine.sh starts, and registers tests.
if(CMAKE_CROSSCOMPILING)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_SOURCE_DIR}/scripts/winerun)
endif()
include(GoogleTest)

# qx_test(NAME SOURCES file... LIBS lib... [DEPENDS target...] [PROPERTIES key value...])
# One GoogleTest program; every test case of it is a CTest test of its own, in a process of its own.
function(qx_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS;DEPENDS;PROPERTIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} TestSupport GTest::gmock_main)
  if(arg_DEPENDS)
    add_dependencies(${name} ${arg_DEPENDS})
  endif()
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
                       PROPERTIES TIMEOUT 120 ${arg_PROPERTIES})
endfunction()
