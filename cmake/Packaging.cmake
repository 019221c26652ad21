# Two Debian packages through CPack: libquorvel-dev (the static support
# library, its headers, CMake and pkg-config files, and quorvel-diag) and
# quorvel-installer-companion (the app bundle). Run-time dependencies come
# from the binaries (dpkg-shlibdeps), plus the curl tool that curl mode runs.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL dev app)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Quorvel developers <dev@quorvel.com>")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Quorvel developers <dev@quorvel.com>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libquorvel-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "curl, libcurl4-openssl-dev, libglib2.0-dev")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Quorvel support library (development files)
Static library and headers for string and number conversions, system
information, a diagnostic log, file helpers, an XML text utility and an HTTP
transport that posts XML documents through libcurl or the curl tool.
Includes the quorvel-diag command for release engineers and support staff.")

set(CPACK_DEBIAN_APP_PACKAGE_NAME quorvel-installer-companion)
set(CPACK_DEBIAN_APP_PACKAGE_DEPENDS "")
set(CPACK_DEBIAN_APP_PACKAGE_RECOMMENDS "qt6-wayland") # the panel on a Wayland session
set(CPACK_COMPONENT_APP_DESCRIPTION "Quorvel installer companion application
Started by the package installer while it installs or removes Quorvel: it
leaves or clears a marker file in /tmp, may ask the user one question, and
ends with exit status 0 or 1.")

# Every package carries its copyright and changelog where Debian expects them.
foreach(component dev app)
    string(TOUPPER ${component} upper)
    set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    set(changelog ${PROJECT_BINARY_DIR}/packaging/${package}/changelog.gz)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/packaging/${package})
    execute_process(COMMAND gzip -9 -n -c ${PROJECT_SOURCE_DIR}/packaging/changelog
                    OUTPUT_FILE ${changelog})
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright ${changelog}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endforeach()

include(CPack)
