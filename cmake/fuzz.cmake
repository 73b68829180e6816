# One fuzzer for each source under fuzz/. As a test it runs for a short while from the corpus of its name.

enable_testing()
file(GLOB sources CONFIGURE_DEPENDS fuzz/*.cpp)
foreach(source IN LISTS sources)
  cmake_path(GET source STEM name)
  add_executable(fuzz_${name} ${source})
  target_link_libraries(fuzz_${name} PRIVATE catalog_objects backup_set backup_platform)
  target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
  set(found ${PROJECT_BINARY_DIR}/corpus/${name})
  file(MAKE_DIRECTORY ${found})
  add_test(NAME fuzz.${name} COMMAND fuzz_${name} -max_total_time=30 ${found} ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
endforeach()
