// Every certificate collection of the Redfish schemas, and what comes close to one.

#include "platform/certificate_backend/collection_kind.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Paths = std::initializer_list<const char*>;

void expectKind(CollectionKind kind, Paths paths) {
    for (const char* root : {"/redfish/v1/", "/redfish/v1/ResourceBlocks/Boot/",
                             "/redfish/v1/CompositionService/ResourceBlocks/LDAP/"}) {
        for (const char* path : paths) {
            const std::string uri = std::string(root) + path;
            EXPECT_EQ(collectionKindOf(uri), kind) << uri;
            EXPECT_EQ(collectionKindOf(uri + "/"), kind) << uri;
        }
    }
}

} // namespace

TEST(CollectionKind, IsServerForIdentitiesOfTheBoardAndItsDevices) {
    expectKind(CollectionKind::SERVER,
               {"Managers/1/NetworkProtocol/HTTPS/Certificates", "Managers/1/Certificates",
                "Chassis/1/Certificates", "Systems/1/Certificates",
                "Systems/1/Memory/1/Certificates", "Systems/1/Processors/1/Certificates",
                "Chassis/1/Drives/1/Certificates", "Systems/1/Storage/1/Drives/1/Certificates",
                "Systems/1/Storage/1/StorageControllers/1/Certificates",
                "Systems/1/Storage/1/Controllers/1/Certificates",
                "Chassis/1/NetworkAdapters/1/Certificates",
                "Chassis/1/NetworkAdapters/1/NetworkDeviceFunctions/1/Certificates",
                "Fabrics/1/Switches/1/Certificates",
                "Chassis/1/PowerSubsystem/PowerSupplies/1/Certificates",
                "Chassis/1/TrustedComponents/1/Certificates"});
}

TEST(CollectionKind, IsClientForIdentitiesTowardsOthers) {
    expectKind(CollectionKind::CLIENT,
               {"EventService/Subscriptions/1/ClientCertificates",
                "Managers/1/VirtualMedia/CD/ClientCertificates",
                "Systems/1/VirtualMedia/CD/ClientCertificates", "UpdateService/ClientCertificates",
                "AccountService/OutboundConnections/1/ClientCertificates",
                "Systems/1/KeyManagement/KMIPClientCertificates"});
}

TEST(CollectionKind, IsTrustForTheCertificatesOfOthers) {
    for (const std::string service : {"AccountService/", "Managers/1/RemoteAccountService/"}) {
        for (const char* path :
             {"Accounts/1/Certificates", "ActiveDirectory/Certificates", "LDAP/Certificates",
              "OAuth2/Certificates", "TACACSplus/Certificates",
              "ExternalAccountProviders/1/Certificates",
              "MultiFactorAuth/ClientCertificate/Certificates",
              "MultiFactorAuth/SecurID/Certificates"}) {
            expectKind(CollectionKind::TRUST, {(service + path).c_str()});
        }
    }
    expectKind(
        CollectionKind::TRUST,
        {"AccountService/OutboundConnections/1/Certificates",
         "EventService/Subscriptions/1/Certificates", "Managers/1/VirtualMedia/CD/Certificates",
         "Systems/1/VirtualMedia/CD/Certificates", "Systems/1/KeyManagement/KMIPCertificates",
         "UpdateService/RemoteServerCertificates", "CertificateService/EnrollmentCACertificates",
         "Systems/1/Boot/Certificates", "Systems/1/SecureBoot/SecureBootDatabases/db/Certificates",
         "Managers/1/SecurityPolicy/TLS/Client/TrustedCertificates",
         "Managers/1/SecurityPolicy/TLS/Client/RevokedCertificates",
         "Managers/1/SecurityPolicy/TLS/Server/TrustedCertificates",
         "Managers/1/SecurityPolicy/TLS/Server/RevokedCertificates",
         "Managers/1/SecurityPolicy/SPDM/TrustedCertificates",
         "Managers/1/SecurityPolicy/SPDM/RevokedCertificates", "Oem/Maker/TrustedCertificates"});
}

TEST(CollectionKind, IsServerForWhatOnlyComesClose) {
    for (const char* uri : {
             "/redfish/v1/Systems/Boot/Certificates",
             "/redfish/v1/Systems/SecureBootDatabases/Certificates",
             "/redfish/v1/Managers/LDAP/Certificates",
             "/redfish/v1/Chassis/TrustedCertificates/Certificates",
             "/redfish/v1/Systems/1/SecureBoot/Certificates",
             "/redfish/v1/Systems/1/BootOptions/Certificates",
             "/redfish/v1/Systems/1/Boot/Extra/Certificates",
             "/redfish/v1/Systems//Boot/Certificates",
             "/redfish/v1/Systems/1/trustedcertificates",
             "/redfish/v1/Managers/1/ClientCertificates",
             "/redfish/v1/AccountService/ldap/Certificates",
             "/redfish/v1/AccountService/LDAP/Certificates/1",
             "/redfish/v2/AccountService/LDAP/Certificates",
             "/AccountService/LDAP/Certificates",
             "/redfish/v1/ResourceBlocks/AccountService/LDAP/Certificates",
             "/redfish/v1/Boot",
             "",
             "/",
         }) {
        EXPECT_EQ(collectionKindOf(uri), CollectionKind::SERVER) << uri;
    }
}
