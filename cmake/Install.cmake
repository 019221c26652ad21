# What `cmake --install` puts in place: the support library with its headers
# under include/quorvel/{utils,xml,comm}/, a CMake package (find_package(Quorvel)
# gives quorvel::support) and a pkg-config file (quorvel), in the component
# "dev"; the companion app's bundle under lib/quorvel/, in the component "app".
include(CMakePackageConfigHelpers)

install(TARGETS quorvel_support quorvel_platform EXPORT QuorvelTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
foreach(folder utils xml comm)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quorvel/${folder}
            COMPONENT dev FILES_MATCHING PATTERN "*.h")
endforeach()

set(QUORVEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Quorvel)
install(EXPORT QuorvelTargets NAMESPACE quorvel:: DESTINATION ${QUORVEL_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuorvelConfig.cmake.in
    ${PROJECT_BINARY_DIR}/QuorvelConfig.cmake INSTALL_DESTINATION ${QUORVEL_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuorvelConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuorvelConfig.cmake ${PROJECT_BINARY_DIR}/QuorvelConfigVersion.cmake
        DESTINATION ${QUORVEL_CMAKE_DIR} COMPONENT dev)

configure_file(${PROJECT_SOURCE_DIR}/cmake/quorvel.pc.in ${PROJECT_BINARY_DIR}/quorvel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quorvel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# The bundle is assembled again from its parts, so that the binaries are
# installed as targets (and stripped in packages).
set(QUORVEL_BUNDLE ${CMAKE_INSTALL_LIBDIR}/quorvel/QuorvelInstaller.app/Contents)
install(TARGETS quorvel_app RUNTIME DESTINATION ${QUORVEL_BUNDLE}/MacOS COMPONENT app)
install(TARGETS quorvel_panel LIBRARY DESTINATION ${QUORVEL_BUNDLE}/PlugIns COMPONENT app
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES ${PROJECT_SOURCE_DIR}/app/Resources/Info.plist DESTINATION ${QUORVEL_BUNDLE} COMPONENT app)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/app/Resources/ DESTINATION ${QUORVEL_BUNDLE}/Resources COMPONENT app
        PATTERN Info.plist EXCLUDE)
