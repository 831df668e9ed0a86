# What `cmake --install` puts where find_package(halvorin_system) and pkg-config halvorin-system
# find it.
include(CMakePackageConfigHelpers)

install(TARGETS halvorin_system EXPORT halvorin_system
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/api/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/halvorin_system
        FILES_MATCHING PATTERN "*.h")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/halvorin_system)
install(EXPORT halvorin_system NAMESPACE halvorin_system:: DESTINATION ${package_dir}
        FILE halvorin_systemConfig.cmake)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/halvorin_systemConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/halvorin_systemConfigVersion.cmake DESTINATION ${package_dir})

configure_file(${PROJECT_SOURCE_DIR}/cmake/halvorin-system.pc.in halvorin-system.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/halvorin-system.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
