# What `cmake --install` puts into a prefix. Everything is found relative to its own place, so a prefix may be moved.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/backup_set)

install(TARGETS backup_platform backup_set EXPORT backup_set_targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
set_target_properties(backup_platform PROPERTIES EXPORT_NAME platform)
install(EXPORT backup_set_targets NAMESPACE backup_set:: DESTINATION ${package_dir})
