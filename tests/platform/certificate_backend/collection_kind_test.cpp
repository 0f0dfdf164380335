#include "platform/certificate_backend/collection_kind.h"

#include <gtest/gtest.h>

TEST(CollectionKind, IsTrustByTheLastSegmentOrAParentSegment) {
    for (const char* uri : {
             "/redfish/v1/AccountService/LDAP/TrustedCertificates",
             "/redfish/v1/UpdateService/RemoteServerCertificates",
             "/redfish/v1/Managers/1/SecurityPolicy/TLS/Server/RevokedCertificates",
             "/redfish/v1/AccountService/EnrollmentCACertificates",
             "/redfish/v1/AccountService/LDAP/TrustedCertificates/",
             "TrustedCertificates",
             "/redfish/v1/Systems/1/SecureBoot/SecureBootDatabases/db/Certificates",
             "/redfish/v1/Systems/1/Boot/Certificates",
         }) {
        EXPECT_EQ(collectionKindOf(uri), CollectionKind::TRUST) << uri;
    }
}

TEST(CollectionKind, IsIdentityEverywhereElse) {
    for (const char* uri : {
             "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates",
             "/redfish/v1/TrustedCertificates/1/Certificates",
             "/redfish/v1/Systems/1/SecureBoot/Certificates",
             "/redfish/v1/Systems/1/BootOptions/Certificates",
             "/redfish/v1/Systems/1/trustedcertificates",
             "/redfish/v1/Boot",
             "",
             "/",
         }) {
        EXPECT_EQ(collectionKindOf(uri), CollectionKind::IDENTITY) << uri;
    }
}
