# How a folder of sources becomes a target.

# The heaviest headers, compiled once and shared by all targets: `common_header` for the libraries, `test_header` with
# GoogleTest on top for the tests.
function(add_precompiled_header name headers)
  file(WRITE ${PROJECT_BINARY_DIR}/${name}.cpp.new "// The bearer of a precompiled header.\n")
  file(COPY_FILE ${PROJECT_BINARY_DIR}/${name}.cpp.new ${PROJECT_BINARY_DIR}/${name}.cpp ONLY_IF_DIFFERENT)
  add_library(${name} OBJECT ${PROJECT_BINARY_DIR}/${name}.cpp)
  target_precompile_headers(${name} PRIVATE ${headers})
  target_link_libraries(${name} PRIVATE ${ARGN})
  set_target_properties(${name} PROPERTIES CXX_CLANG_TIDY "")
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${name} PRIVATE -fpch-preprocess)
  else()
    target_compile_options(${name} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
  endif()
endfunction()

set(common_headers
    <algorithm> <array> <chrono> <cstddef> <cstdint> <functional> <map> <memory> <optional> <string> <string_view>
    <unordered_map> <utility> <variant> <vector> <boost/container/flat_map.hpp> <ace/Log_Msg.h>)
set(test_headers ${common_headers} <filesystem> <fstream> <sstream> <gtest/gtest.h>)
set(common_header_libraries PkgConfig::ACE Boost::headers)
set(test_header_libraries ${common_header_libraries} GTest::gtest)

add_precompiled_header(common_header "${common_headers}" ${common_header_libraries})
if(BACKUP_SET_TESTS)
  add_precompiled_header(test_header "${test_headers}" ${test_header_libraries})
endif()

# use_precompiled_header(target header)
# The libraries behind the header come along, for it is refused where their definitions are missing.
function(use_precompiled_header target header)
  target_link_libraries(${target} PRIVATE ${${header}_libraries})
  target_precompile_headers(${target} REUSE_FROM ${header})
endfunction()

# add_object_library(name sources dependency...)
# Without sources (a folder of headers only, or one that is still empty) the name stands for its dependencies alone.
function(add_object_library name sources)
  if(sources)
    add_library(${name} OBJECT ${sources})
    target_link_libraries(${name} PUBLIC ${ARGN} Threads::Threads)
    use_precompiled_header(${name} common_header)
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${ARGN} Threads::Threads)
  endif()
endfunction()

# add_folder(name folder dependency...)
function(add_folder name folder)
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp ${folder}/detail/*.cpp)
  add_object_library(${name} "${sources}" ${ARGN})
endfunction()

# add_public_library(name OBJECTS object-library... HEADERS folder [LINK library...])
# The shared library of some folders, with all headers below `folder` but those under a folder `detail`.
function(add_public_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "HEADERS" "OBJECTS;LINK")
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${arg_HEADERS}/*.h)
  list(FILTER headers EXCLUDE REGEX "/detail/")
  add_library(${name} SHARED)
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers})
  target_link_libraries(${name} PRIVATE ${arg_OBJECTS} PUBLIC ${arg_LINK} PkgConfig::ACE PkgConfig::yajl Boost::headers)
  target_compile_features(${name} PUBLIC cxx_std_20)
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION}
                        SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN")
endfunction()
