# What `cmake --install` puts into a prefix. Everything is found relative to its own place, so a prefix may be moved.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/backup_set)

install(TARGETS backup_platform backup_set EXPORT backup_set_targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET backup_set_cli)
  install(TARGETS backup_set_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  configure_file(packaging/backup-set.service ${PROJECT_BINARY_DIR}/backup-set.service @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/backup-set.service DESTINATION lib/systemd/system)
endif()
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

# For CMake: find_package(backup_set) gives backup_set::backup_set and backup_set::platform.
set_target_properties(backup_platform PROPERTIES EXPORT_NAME platform)
install(EXPORT backup_set_targets NAMESPACE backup_set:: DESTINATION ${package_dir})
configure_package_config_file(cmake/backup_set-config.cmake.in ${PROJECT_BINARY_DIR}/backup_set-config.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/backup_set-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/backup_set-config.cmake ${PROJECT_BINARY_DIR}/backup_set-config-version.cmake
        DESTINATION ${package_dir})

# For pkg-config: backup_set and backup_platform.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pkgconfig_to_prefix /${pkgconfig_dir} /)
cmake_path(SET pkgconfig_to_prefix NORMALIZE "${pkgconfig_to_prefix}")
foreach(package IN ITEMS backup_platform backup_set)
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${pkgconfig_dir})
endforeach()

# The manual page and the completion of the command line, written by the program from the text of its --help.
if(TARGET backup_set_cli)
  add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/backup-set.1 ${PROJECT_BINARY_DIR}/completions/backup-set
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/completions
    COMMAND backup_set_cli --generate man > ${PROJECT_BINARY_DIR}/backup-set.1
    COMMAND backup_set_cli --generate bash-completion > ${PROJECT_BINARY_DIR}/completions/backup-set
    DEPENDS backup_set_cli
    VERBATIM)
  add_custom_target(backup_set_pages ALL DEPENDS ${PROJECT_BINARY_DIR}/backup-set.1
                                                 ${PROJECT_BINARY_DIR}/completions/backup-set)
  install(FILES ${PROJECT_BINARY_DIR}/backup-set.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_BINARY_DIR}/completions/backup-set
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()
