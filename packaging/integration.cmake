# For those who write a library of their own: headers, a CMake package, a pkg-config file and the
# template of a backend. All of it is the component dev.
include(CMakePackageConfigHelpers)

set(integration_includes ${CMAKE_INSTALL_INCLUDEDIR}/certificate-service)
set(integration_package ${CMAKE_INSTALL_LIBDIR}/cmake/CertificateService)

install(FILES
    ${PROJECT_SOURCE_DIR}/platform/certificate_backend.h
    ${PROJECT_SOURCE_DIR}/platform/configuration.h
    ${PROJECT_SOURCE_DIR}/platform/data_decryption.h
    DESTINATION ${integration_includes}/platform COMPONENT dev)

configure_package_config_file(CertificateServiceConfig.cmake.in CertificateServiceConfig.cmake
    INSTALL_DESTINATION ${integration_package}
    PATH_VARS integration_includes CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(CertificateServiceConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/CertificateServiceConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/CertificateServiceConfigVersion.cmake
    ${PROJECT_SOURCE_DIR}/platform/certificate_backend/exported_symbols.map
    DESTINATION ${integration_package} COMPONENT dev)

configure_file(certificate-service.pc.in certificate-service.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/certificate-service.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

install(DIRECTORY backend_template
    DESTINATION ${CMAKE_INSTALL_DATADIR}/certificate-service COMPONENT dev)
