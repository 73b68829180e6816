# One program for each source under examples/, named after it.

file(GLOB sources CONFIGURE_DEPENDS examples/*.cpp)
foreach(source IN LISTS sources)
  cmake_path(GET source STEM name)
  add_executable(example_${name} ${source})
  set_target_properties(example_${name} PROPERTIES OUTPUT_NAME ${name}
                        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/examples)
  target_link_libraries(example_${name} PRIVATE backup_set backup_platform PkgConfig::libarchive PkgConfig::openssl
                        CLI11::CLI11)
endforeach()
