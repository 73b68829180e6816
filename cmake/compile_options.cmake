# How every source of the project is compiled. All targets share one set of options, so that they can share one
# precompiled header.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

# Position independent throughout. Programs would be compiled with -fPIE, which a precompiled header made with -fPIC
# does not fit; -fPIC comes later on the line and wins.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
add_compile_options(-fPIC)

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion)
if(BACKUP_SET_WERROR)
  add_compile_options(-Werror)
endif()

# Log lines and assertions name a source relative to the tree, wherever the tree stands.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

include_directories(${PROJECT_SOURCE_DIR})

add_link_options(-Wl,--as-needed)

if(BACKUP_SET_SANITIZERS)
  set(sanitizer_options -fsanitize=${BACKUP_SET_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options(${sanitizer_options})
  add_link_options(-fsanitize=${BACKUP_SET_SANITIZERS})
else()
  # A shared library that lacks a symbol fails here and not at its user's. (Sanitizers leave theirs to the program.)
  string(APPEND CMAKE_SHARED_LINKER_FLAGS " -Wl,--no-undefined")
endif()
if(BACKUP_SET_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

find_program(CCACHE ccache)
if(CCACHE)
  # With precompiled headers ccache has to be told that __TIME__ and the macros of the header may be taken as equal. Paths
  # below the build folder count as relative, so that several build folders share what they compile.
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_BASEDIR=${PROJECT_BINARY_DIR}
      CCACHE_NOHASHDIR=1 ${CCACHE})
endif()
