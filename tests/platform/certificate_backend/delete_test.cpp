#include "tests/platform/certificate_backend/backend_fixture.h"
#include "tests/support/certificates.h"

#include <gtest/gtest.h>

using DeleteCertificate = CertificateBackend;

TEST_F(DeleteCertificate, RemovesCertificateAndKey) {
    const TestCertificate made = makeSelfSigned();
    ASSERT_EQ(create(made.privateKey + made.certificate).code, 200);
    const DeleteCertResult result = deleteCertificate(surroundings, std::string(IDENTITIES) + "/1");
    EXPECT_EQ(result.code, 200);
    expectMessage(result.message, "", {}, {});
    EXPECT_TRUE(filesIn("installed").empty());
}

TEST_F(DeleteCertificate, LeavesTheOthersAlone) {
    ASSERT_EQ(create(makeAuthority("A").certificate, "PEM", TRUSTED, "1").code, 200);
    ASSERT_EQ(create(makeAuthority("B").certificate, "PEM", TRUSTED, "2").code, 200);
    EXPECT_EQ(deleteCertificate(surroundings, std::string(TRUSTED) + "/1").code, 200);
    EXPECT_EQ(
        filesIn("installed"),
        std::vector<std::string>{"+redfish+v1+AccountService+LDAP+TrustedCertificates+2.pem"});
}

TEST_F(DeleteCertificate, SaysThatNothingIsInstalled) {
    const std::string uri = std::string(IDENTITIES) + "/nothing";
    const DeleteCertResult result = deleteCertificate(surroundings, uri);
    EXPECT_EQ(result.code, 400);
    expectMessage(result.message, "Base.1.9.ResourceMissingAtURI", {uri}, {});
}

TEST_F(DeleteCertificate, CannotLeaveTheStore) {
    writeFile(temporary.file("victim.pem"), "x");
    const DeleteCertResult result = deleteCertificate(surroundings, "../../victim");
    EXPECT_EQ(result.code, 400);
    EXPECT_EQ(readFile(temporary.file("victim.pem")), "x");
}

TEST_F(DeleteCertificate, MakesRoomForANewCertificateOfThatName) {
    ASSERT_EQ(create(makeAuthority().certificate, "PEM", TRUSTED).code, 200);
    ASSERT_EQ(create(makeAuthority().certificate, "PEM", TRUSTED).code, 409);
    ASSERT_EQ(deleteCertificate(surroundings, std::string(TRUSTED) + "/1").code, 200);
    EXPECT_EQ(create(makeAuthority().certificate, "PEM", TRUSTED).code, 200);
}
