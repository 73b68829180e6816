# What is installed and called. All of them are imported targets, so their headers are system headers to the compiler.

find_package(PkgConfig REQUIRED)
foreach(module IN ITEMS ACE yajl sqlite3 libpq libcurl openssl)
  pkg_check_modules(${module} REQUIRED QUIET IMPORTED_TARGET ${module})
endforeach()
find_package(Boost 1.74 REQUIRED) # headers only
find_package(CLI11 REQUIRED)
find_package(Threads REQUIRED)

if(BACKUP_SET_TESTS)
  find_package(GTest REQUIRED)
endif()
if(BACKUP_SET_EXAMPLES)
  pkg_check_modules(libarchive REQUIRED QUIET IMPORTED_TARGET libarchive)
endif()
if(BACKUP_SET_BENCH)
  find_package(benchmark REQUIRED)
  find_package(RapidJSON REQUIRED) # headers in a place that every compiler searches
  find_package(nlohmann_json REQUIRED)
  find_library(SOCI_CORE soci_core REQUIRED)
  find_library(SOCI_SQLITE3 soci_sqlite3 REQUIRED)
  find_library(SOCI_POSTGRESQL soci_postgresql REQUIRED)
endif()
