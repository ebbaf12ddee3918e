# Runs the built Windows programs inside the desktop that scripts/wine.sh starts, and registers tests.
if(CMAKE_CROSSCOMPILING)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_SOURCE_DIR}/scripts/winerun)
endif()
include(GoogleTest)

# Sources of a target that are compiled together: most of the time goes into the headers, which are then read once.
set(QX_UNITY UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 10)

# What nearly every test includes, compiled once for all of them. A compiler cache does without: it would keep nothing
# of a source that is compiled with it.
set(QX_TEST_HEADERS
  <gmock/gmock.h> <gtest/gtest.h> <windows.h> <algorithm> <atomic> <chrono> <cstdint> <cstring> <filesystem> <fstream>
  <functional> <map> <memory> <optional> <sstream> <stdexcept> <string> <thread> <vector>)

function(qx_use_test_headers name)
  if(CMAKE_CXX_COMPILER_LAUNCHER)
    return()
  endif()
  if(NOT TARGET TestHeaders)
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/TestHeaders.cpp CONTENT "")
    add_library(TestHeaders OBJECT ${CMAKE_BINARY_DIR}/TestHeaders.cpp)
    target_link_libraries(TestHeaders PRIVATE GTest::gmock)
    target_precompile_headers(TestHeaders PRIVATE ${QX_TEST_HEADERS})
  endif()
  target_precompile_headers(${name} REUSE_FROM TestHeaders)
endfunction()

# qx_test(NAME [NO_UNITY] SOURCES file... LIBS lib... [DEPENDS target...] [PROPERTIES key value...])
# One GoogleTest program; every test case of it is a CTest test of its own, in a process of its own. Its sources
# share their file-local names, unless it is NO_UNITY.
function(qx_test name)
  cmake_parse_arguments(arg "NO_UNITY" "" "SOURCES;LIBS;DEPENDS;PROPERTIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  list(FILTER arg_SOURCES INCLUDE REGEX "\\.cpp$")
  list(LENGTH arg_SOURCES count)
  if(count GREATER 1 AND NOT arg_NO_UNITY)
    set_target_properties(${name} PROPERTIES ${QX_UNITY})
    # A fixture in an unnamed namespace is not of the main file there.
    target_compile_options(${name} PRIVATE -Wno-subobject-linkage)
  endif()
  target_link_libraries(${name} PRIVATE ${arg_LIBS} TestSupport GTest::gmock_main)
  qx_use_test_headers(${name})
  if(arg_DEPENDS)
    add_dependencies(${name} ${arg_DEPENDS})
  endif()
  # Those that take turns begin early, for no two of them share the time.
  if("RESOURCE_LOCK" IN_LIST arg_PROPERTIES)
    list(APPEND arg_PROPERTIES COST 200)
  endif()
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
                       PROPERTIES TIMEOUT 120 ${arg_PROPERTIES})
endfunction()
