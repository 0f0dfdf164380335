# Four Debian packages, made of the four install components by cpack; scripts/package does it all.
set(PACKAGE_MAINTAINER "CertificateService maintainers <maintainers@certificate-service.example>"
    CACHE STRING "Maintainer that the Debian packages name")
set(PACKAGE_REVISION 1 CACHE STRING "Revision of the Debian packages of this version")

set(DEBIAN_VERSION ${PROJECT_VERSION}-${PACKAGE_REVISION})
set(same_version "(= ${DEBIAN_VERSION})")
set(package_daemon certificate-service)
set(package_backend certificate-service-backend)
set(package_tools certificate-service-tools)
set(package_dev certificate-service-dev)

# With the times of the commit, so that the same sources give the same bytes.
set(ENV{SOURCE_DATE_EPOCH} ${BUILD_DATE})
string(TIMESTAMP CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(debian/changelog.in changelog.Debian @ONLY)
compress_file(${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian changelog.Debian)
compress_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog)
set(components daemon dev)
if(BUILD_REFERENCE_LIBRARIES)
    list(APPEND components backend)
endif()
if(BUILD_CERTIFICATECTL OR BUILD_CERTIFICATEWEB)
    list(APPEND components tools)
endif()
foreach(component ${components})
    install(FILES
        debian/copyright
        ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
        ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_${component}}
        COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_VENDOR CertificateService)
set(CPACK_PACKAGE_CONTACT "${PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_PACKAGE_SOURCE certificate-service)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${PACKAGE_REVISION})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(debian_x86_64 amd64)
set(debian_aarch64 arm64)
if(debian_${CMAKE_SYSTEM_PROCESSOR})
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${debian_${CMAKE_SYSTEM_PROCESSOR}})
endif()

set(CPACK_DEBIAN_DAEMON_PACKAGE_NAME ${package_daemon})
set(CPACK_DEBIAN_DAEMON_PACKAGE_SECTION admin)
set(CPACK_COMPONENT_DAEMON_DESCRIPTION "Redfish certificate service, the daemon
Serves the certificate resources of a Redfish service (DMTF) on a baseboard
management controller: a web front end hands requests over through Redis,
and a certificate backend does the cryptographic work.")
# A board's own libraries may stand in the place of the reference ones: a package with them provides
# certificate-service-backend-1.
set(CPACK_DEBIAN_DAEMON_PACKAGE_DEPENDS
    "${package_backend} ${same_version} | ${package_backend}-1, systemd | systemd-standalone-sysusers, systemd | systemd-standalone-tmpfiles")
set(CPACK_DEBIAN_DAEMON_PACKAGE_RECOMMENDS redis-server)
set(debian_scripts ${CMAKE_CURRENT_SOURCE_DIR}/debian)
set(CPACK_DEBIAN_DAEMON_PACKAGE_CONTROL_EXTRA
    ${debian_scripts}/daemon/postinst ${debian_scripts}/daemon/prerm ${debian_scripts}/daemon/postrm)
set(CPACK_DEBIAN_DAEMON_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_BACKEND_PACKAGE_NAME ${package_backend})
set(CPACK_DEBIAN_BACKEND_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_BACKEND_DESCRIPTION "Redfish certificate service, reference libraries
The three libraries that the daemon takes from its board: the certificate
backend over OpenSSL, configuration files, and the decryption of challenge
passwords. A board with libraries of its own does without this package.")
set(CPACK_DEBIAN_BACKEND_PACKAGE_PROVIDES ${package_backend}-1)
set(CPACK_DEBIAN_BACKEND_PACKAGE_CONTROL_EXTRA ${debian_scripts}/backend/triggers)
set(CPACK_DEBIAN_BACKEND_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${package_tools})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Redfish certificate service, front ends
certificatectl plays the web front end from a shell and asks whether the
daemon answers; certificateweb serves the certificates over HTTPS to any
Redfish client, with a page for the browser.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
    "${package_daemon} ${same_version}, systemd | systemd-standalone-sysusers")
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA
    ${debian_scripts}/tools/postinst ${debian_scripts}/tools/prerm ${debian_scripts}/tools/postrm)
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${package_dev})
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DESCRIPTION "Redfish certificate service, to write a backend with
Headers of the three libraries that a board may bring of its own, a CMake
package, a pkg-config file and the template of a certificate backend.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${package_backend} ${same_version}")

include(CPack)
