# What `cmake --install` puts in place, by component:
#   runtime  libquorvel.so.0
#   dev      the public headers under include/quorvel/, the .so link, a CMake
#            package (find_package(Quorvel) gives quorvel::support), a
#            pkg-config file (quorvel), and the API reference when `docs` was built
#   app      the companion app's bundle under lib/quorvel/
#   diag     quorvel-diag and its manual page (tools/quorvel-diag)
# debian/ splits these into the four packages.
include(CMakePackageConfigHelpers)

install(TARGETS quorvel_shared EXPORT QuorvelTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
# Only the public headers: the platform seams and other internal headers stay
# in the source tree, and none of the public ones includes them.
foreach(header ${QUORVEL_PUBLIC_HEADERS})
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quorvel/${folder}
            COMPONENT dev)
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

install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev OPTIONAL)

if(NOT QUORVEL_BUILD_APP)
    return()
endif()

# The bundle is assembled again from its parts, so that the binaries are
# installed as targets (and stripped in packages). Its place does not follow
# the multiarch library folder: the package installer starts it by this path.
set(QUORVEL_BUNDLE lib/quorvel/QuorvelInstaller.app/Contents)
install(TARGETS quorvel_app RUNTIME DESTINATION ${QUORVEL_BUNDLE}/MacOS COMPONENT app)
install(TARGETS quorvel_panel LIBRARY DESTINATION ${QUORVEL_BUNDLE}/PlugIns COMPONENT app
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES ${PROJECT_SOURCE_DIR}/app/Resources/Info.plist DESTINATION ${QUORVEL_BUNDLE} COMPONENT app)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/app/Resources/ DESTINATION ${QUORVEL_BUNDLE}/Resources COMPONENT app
        PATTERN Info.plist EXCLUDE)
