# One fuzzer for each source under fuzz/. As a test it runs for a while from the corpus of its name, with the dictionary of
# its name where there is one; what it finds on the way stays in the build folder for the next time. Leaks are looked for at
# the end only, since threads of a server come and go with memory at any time.

set(BACKUP_SET_FUZZ_SECONDS 60 CACHE STRING "For how long a fuzzer runs as a test")

enable_testing()
file(GLOB sources CONFIGURE_DEPENDS fuzz/*.cpp)
foreach(source IN LISTS sources)
  cmake_path(GET source STEM name)
  add_executable(fuzz_${name} ${source})
  target_link_libraries(fuzz_${name} PRIVATE catalog_objects backup_set backup_platform)
  target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
  set(found ${PROJECT_BINARY_DIR}/corpus/${name})
  file(MAKE_DIRECTORY ${found})
  set(options -max_total_time=${BACKUP_SET_FUZZ_SECONDS} -timeout=30 -print_final_stats=1 -detect_leaks=0
              -artifact_prefix=${PROJECT_BINARY_DIR}/${name}-)
  set(dictionary ${PROJECT_SOURCE_DIR}/fuzz/${name}.dict)
  if(EXISTS ${dictionary})
    list(APPEND options -dict=${dictionary})
  endif()
  add_test(NAME fuzz.${name} COMMAND fuzz_${name} ${options} ${found} ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
endforeach()
