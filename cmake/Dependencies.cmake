# Finds the third-party libraries. They come from the prefix that scripts/dependencies.sh builds
# (QX_DEPENDENCIES), or from any other place that find_package knows, such as a vcpkg installation.
if(QX_DEPENDENCIES)
  list(PREPEND CMAKE_PREFIX_PATH "${QX_DEPENDENCIES}")
endif()

find_package(jsoncpp CONFIG REQUIRED)
find_package(expat CONFIG REQUIRED)
find_package(GTest CONFIG REQUIRED)
find_package(benchmark CONFIG REQUIRED)
find_package(pugixml CONFIG REQUIRED)

# Libraries that are headers alone: the prefix keeps them in a folder of their own.
add_library(qx_boost INTERFACE)
target_compile_definitions(qx_boost INTERFACE BOOST_THREAD_USE_LIB)
add_library(Qx::Boost ALIAS qx_boost)

add_library(qx_spdlog INTERFACE)
add_library(Qx::Spdlog ALIAS qx_spdlog)

add_library(qx_msgpack INTERFACE)
target_compile_definitions(qx_msgpack INTERFACE MSGPACK_NO_BOOST)
add_library(Qx::MsgPack ALIAS qx_msgpack)

add_library(qx_flatbuffers INTERFACE)
add_library(Qx::FlatBuffers ALIAS qx_flatbuffers)

if(QX_DEPENDENCIES)
  foreach(name boost spdlog msgpack flatbuffers)
    target_include_directories(qx_${name} SYSTEM INTERFACE "${QX_DEPENDENCIES}/include/headers-only")
  endforeach()
  target_compile_definitions(qx_spdlog INTERFACE FMT_HEADER_ONLY SPDLOG_FMT_EXTERNAL)
else()
  find_package(Boost REQUIRED)
  find_package(spdlog CONFIG REQUIRED)
  find_package(msgpack-cxx CONFIG REQUIRED)
  find_package(flatbuffers CONFIG REQUIRED)
  target_link_libraries(qx_boost INTERFACE Boost::headers)
  target_link_libraries(qx_spdlog INTERFACE spdlog::spdlog_header_only)
  target_link_libraries(qx_msgpack INTERFACE msgpack-cxx)
  target_link_libraries(qx_flatbuffers INTERFACE flatbuffers::flatbuffers)
endif()
