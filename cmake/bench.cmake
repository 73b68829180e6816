# All benchmarks are one program.

file(GLOB sources CONFIGURE_DEPENDS bench/*.cpp)
if(sources)
  add_executable(backup_set_bench ${sources})
  target_link_libraries(backup_set_bench PRIVATE catalog_objects backup_set backup_platform PkgConfig::sqlite3
                        PkgConfig::libpq ${SOCI_CORE} ${SOCI_SQLITE3} ${SOCI_POSTGRESQL} nlohmann_json::nlohmann_json
                        benchmark::benchmark)
endif()
