#include "tests/platform/certificate_backend/backend_fixture.h"

using DeleteCertificate = CertificateBackend;

TEST_F(DeleteCertificate, RemovesCertificateAndKeyAndNoOther) {
    ASSERT_EQ(create(textOf(makeSelfSigned())).code, 200);
    ASSERT_EQ(create(makeAuthority().certificate, "PEM", TRUSTED, "2").code, 200);
    const DeleteCertResult result = remove(IDENTITY);
    EXPECT_EQ(result.code, 200);
    expectMessage(result.message, "", {}, {});
    EXPECT_EQ(filesIn("installed"),
              std::vector<std::string>{"+redfish+v1+AccountService+LDAP+Certificates+2.pem"});
}

TEST_F(DeleteCertificate, SaysThatNothingIsInstalledAndNeverLeavesTheDirectory) {
    writeFile(temporary.file("victim.pem"), "x");
    for (const std::string& uri : {IDENTITY, std::string("../../victim")}) {
        const DeleteCertResult result = remove(uri);
        EXPECT_EQ(result.code, 400);
        expectMessage(result.message, "Base.1.9.ResourceMissingAtURI", {uri}, {});
    }
    EXPECT_EQ(readFile(temporary.file("victim.pem")), "x");
}

TEST_F(DeleteCertificate, MakesRoomForANewCertificateOfThatName) {
    const std::string certificate = makeAuthority().certificate;
    ASSERT_EQ(create(certificate, "PEM", TRUSTED).code, 200);
    ASSERT_EQ(create(certificate, "PEM", TRUSTED).code, 409);
    ASSERT_EQ(remove(std::string(TRUSTED) + "/1").code, 200);
    EXPECT_EQ(create(certificate, "PEM", TRUSTED).code, 200);
}
