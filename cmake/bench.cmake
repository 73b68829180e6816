# All benchmarks are one program. The connections of the JSON-RPC client are compiled into it, for the library keeps them to
# itself and a process has one channel of it only.

file(GLOB sources CONFIGURE_DEPENDS bench/*.cpp platform/rpc/detail/*.cpp)
if(sources)
  add_executable(backup_set_bench ${sources})
  target_link_libraries(backup_set_bench PRIVATE catalog_objects backup_set backup_platform PkgConfig::sqlite3
                        PkgConfig::libpq ${SOCI_CORE} ${SOCI_SQLITE3} ${SOCI_POSTGRESQL} nlohmann_json::nlohmann_json
                        benchmark::benchmark)
endif()
