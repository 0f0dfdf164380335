// Creation as the daemon asks for it, with everything that comes back.

#include "tests/platform/certificate_backend/backend_fixture.h"
#include "tests/platform/on_threads.h"

#include <algorithm>

using CreateCertificate = CertificateBackend;
using Identifier = std::unordered_map<std::string, std::string>;

TEST_F(CreateCertificate, InstallsKeyAndCertificateInOneFile) {
    const TestCertificate made = makeSelfSigned();
    const CreateCertResult result = create(made.certificate + made.privateKey);
    EXPECT_EQ(result.code, 200);
    expectMessage(result.message, "", {}, {});
    EXPECT_EQ(result.certificateString, made.certificate);
    EXPECT_EQ(result.privateKeyValue,
              surroundings.directory +
                  "/installed/+redfish+v1+Managers+1+NetworkProtocol+HTTPS+Certificates+1.pem");
    EXPECT_EQ(readFile(result.privateKeyValue), textOf(made));
    EXPECT_EQ(fileMode(result.privateKeyValue), 0600U);
}

TEST_F(CreateCertificate, ReturnsThePropertiesUnderTheirRedfishNames) {
    const TestCertificate made =
        makeSigned(makeAuthority("Example CA"),
                   {.subject = {{"L", "M\xc3\xbcnchen"}, {"OU", "Boards"}, {"CN", "bmc.example"}},
                    .notBefore = "20260101000000Z",
                    .notAfter = "20301231235958Z",
                    .extensions = {{"keyUsage", "critical,digitalSignature,decipherOnly"},
                                   {"extendedKeyUsage", "OCSPSigning,serverAuth,1.2.3"}}});
    const CreateCertResult result = create(textOf(made));
    ASSERT_EQ(result.code, 200);
    EXPECT_EQ(result.subject, (Identifier{{"CommonName", "bmc.example"},
                                          {"OrganizationalUnit", "Boards"},
                                          {"City", "M\xc3\xbcnchen"}}));
    EXPECT_EQ(result.issuer, (Identifier{{"CommonName", "Example CA"}}));
    EXPECT_EQ(result.validNotBefore, "2026-01-01T00:00:00Z");
    EXPECT_EQ(result.validNotAfter, "2030-12-31T23:59:58Z");
    EXPECT_EQ(result.keyUsage, (std::vector<std::string>{"DigitalSignature", "DecipherOnly",
                                                         "ServerAuthentication", "OCSPSigning"}));
}

TEST_F(CreateCertificate, AcceptsEveryKindOfKey) {
    int id = 0;
    for (const KeyKind kind : {KeyKind::RSA_2048, KeyKind::EC_P256, KeyKind::EC_P384,
                               KeyKind::EC_P521, KeyKind::ED25519}) {
        const TestCertificate made = makeSelfSigned({.key = kind});
        const CreateCertResult result =
            create(textOf(made), "PEM", IDENTITIES, std::to_string(++id));
        EXPECT_EQ(result.code, 200) << id;
        EXPECT_EQ(readFile(result.privateKeyValue), textOf(made)) << id;
    }
}

TEST_F(CreateCertificate, AcceptsAChainInAnyOrderAndTheKeyWithIt) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate middle = makeSigned(root, {.subject = {{"CN", "Middle"}}, .ca = true});
    const TestCertificate leaf = makeSigned(middle);
    trustOnly(root.certificate);
    const CreateCertResult result =
        create(middle.certificate + leaf.privateKey + leaf.certificate, "PEMchain");
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.certificateString, leaf.certificate + middle.certificate);
    EXPECT_EQ(result.subject.at("CommonName"), "test.example");
    EXPECT_EQ(result.issuer.at("CommonName"), "Middle");
    EXPECT_EQ(installedText(), textOf(leaf) + middle.certificate);
}

TEST_F(CreateCertificate, AcceptsPkcs7AndReturnsItAsPkcs7) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate leaf = makeSigned(root);
    const CreateCertResult result =
        create(makePkcs7({root.certificate, leaf.certificate}) + leaf.privateKey, "PKCS7");
    EXPECT_EQ(result.code, 200);
    EXPECT_TRUE(result.certificateString.starts_with("-----BEGIN PKCS7-----"));
    EXPECT_EQ(installedText(), textOf(leaf) + root.certificate);
}

TEST_F(CreateCertificate, KeepsATrustedCertificateWithoutAKey) {
    const std::string made = makeAuthority().certificate;
    const CreateCertResult result = create(made, "PEM", TRUSTED, "7");
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.privateKeyValue, "");
    EXPECT_EQ(result.certificateString, made);
    EXPECT_EQ(installedText(std::string(TRUSTED) + "/7"), made);
}

TEST_F(CreateCertificate, AsksNoServerAuthenticationOfATrustedCertificateButItsDates) {
    const TestCertificate client =
        makeSelfSigned({.extensions = {{"extendedKeyUsage", "clientAuth"}}});
    EXPECT_EQ(create(client.certificate, "PEM", TRUSTED).code, 200);
    const TestCertificate expired = makeSelfSigned({.notAfter = "20260531235959Z"});
    expectTextRefused(
        create(expired.certificate, "PEM", TRUSTED, "2"),
        said(0, "test.example", "expired at 2026-05-31T23:59:59Z. Send one that is valid now."));
}

TEST_F(CreateCertificate, RefusesAPrivateKeyInACollectionOfTrust) {
    expectTextRefused(create(textOf(makeAuthority()), "PEM", TRUSTED),
                      "The text holds a private key, which does not belong into a collection of "
                      "trusted certificates. Send the certificates alone.");
}

TEST_F(CreateCertificate, RefusesAnUnknownTypeAndShowsItsBeginning) {
    for (const auto& [type, shown] : std::vector<std::pair<std::string, std::string>>{
             {"", ""},
             {"pem", "pem"},
             {"PKCS12", "PKCS12"},
             {std::string(1 << 20, 'P'), std::string(64, 'P') + "..."}}) {
        const CreateCertResult result = create(textOf(makeSelfSigned()), type);
        EXPECT_EQ(result.code, 400);
        expectMessage(result.message, "Base.1.9.PropertyValueNotInList",
                      {shown + " (accepted: PEM, PEMchain, PKCS7)", "CertificateType"},
                      {"#/CertificateType"});
    }
}

TEST_F(CreateCertificate, RefusesWhatFailsACheck) {
    for (const RefusedText& row : refusedIdentities()) {
        SCOPED_TRACE(row.fault);
        expectTextRefused(create(row.text, "PEMchain"), row.fault);
    }
}

TEST_F(CreateCertificate, RefusesAnUnknownPrivateKeyAndLeavesNothingBehind) {
    expectTextRefused(create(makeSelfSigned().certificate),
                      said(0, "test.example",
                           "has a private key that is not known here. Send it in the text, or have "
                           "a signing request made for this collection."));
    EXPECT_TRUE(filesIn("installed").empty());
    EXPECT_TRUE(filesIn("requests").empty());
}

TEST_F(CreateCertificate, AcceptsAStartInTheFutureWhileTheClockIsUnset) {
    surroundings.clock.now = 1000;
    EXPECT_EQ(create(textOf(makeSelfSigned({.notBefore = "20270101000000Z"}))).code, 200);
}

TEST_F(CreateCertificate, JudgesTheSignatureOfAnIdentityButNotOfARoot) {
    const std::string key = temporary.file("key.pem");
    const std::string certificate = temporary.file("certificate.pem");
    runCommand(
        "openssl req -x509 -sha1 -nodes -newkey rsa:2048 -days 20000 -subj /CN=old -keyout " + key +
        " -out " + certificate);
    // The command dates the certificate with the machine's clock.
    surroundings.clock = systemClock();
    expectTextRefused(
        create(readFile(key) + readFile(certificate)),
        said(0, "old",
             "has a signature that is too weak (sha1WithRSAEncryption). Have it issued "
             "with SHA-256 or longer."));
    EXPECT_EQ(create(readFile(certificate), "PEM", TRUSTED).code, 200);
}

TEST_F(CreateCertificate, RefusesANameThatIsNotUnicode) {
    // A BMPString "AB" whose second character becomes half of a surrogate pair.
    const TestCertificate made = makeSelfSigned();
    const CertificateHandle certificate = parseCertificate(made.certificate);
    const unsigned char text[] = {0x00, 0x41, 0x00, 0x42};
    const NameHandle name(X509_NAME_new());
    ASSERT_EQ(
        X509_NAME_add_entry_by_NID(name.get(), NID_commonName, V_ASN1_BMPSTRING, text, 4, -1, 0),
        1);
    ASSERT_EQ(X509_set_subject_name(certificate.get(), name.get()), 1);
    ASSERT_GT(X509_sign(certificate.get(), parsePrivateKey(made.privateKey).get(), EVP_sha256()),
              0);
    unsigned char* encoded = nullptr;
    const int length = i2d_X509(certificate.get(), &encoded);
    std::string der(reinterpret_cast<const char*>(encoded), static_cast<std::size_t>(length));
    OPENSSL_free(encoded);
    EXPECT_EQ(create(pemOf("CERTIFICATE", der), "PEM", TRUSTED).subject.at("CommonName"), "AB");
    der.replace(der.find(std::string("\0A\0B", 4)), 4, std::string("\0A\xd8\0", 4));
    expectTextRefused(create(pemOf("CERTIFICATE", der)),
                      "Certificate 1 of the text cannot be decoded. Send it as it was issued.");
}

TEST_F(CreateCertificate, ShowsWhatWouldMisleadAReaderEscaped) {
    const CreateCertResult result =
        create(textOf(makeSelfSigned({.subject = {{"CN", "moc.elpmaxe\xe2\x80\xae"}}})));
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.subject, (Identifier{{"CommonName", "moc.elpmaxe\\E2\\80\\AE"}}));
}

TEST_F(CreateCertificate, ShowsACertificateWithoutAnyName) {
    const CreateCertResult result = create(textOf(makeSigned(makeAuthority(), {.subject = {}})));
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.subject, Identifier());
}

TEST_F(CreateCertificate, NeverOverwritesACertificate) {
    const std::string first = makeAuthority("First").certificate;
    ASSERT_EQ(create(first, "PEM", TRUSTED, "7").code, 200);
    const CreateCertResult second =
        create(makeAuthority("Second").certificate, "PEM", TRUSTED, "7");
    EXPECT_EQ(second.code, 409);
    expectMessage(second.message, "Base.1.9.ResourceAlreadyExists", {"Certificate", "Id", "7"}, {});
    EXPECT_EQ(installedText(std::string(TRUSTED) + "/7"), first);
}

TEST_F(CreateCertificate, NeedsAUri) {
    const std::string made = makeAuthority().certificate;
    EXPECT_THROW(static_cast<void>(create(made, "PEM", TRUSTED, "")), std::runtime_error);
    EXPECT_THROW(static_cast<void>(create(made, "PEM", "", "1")), std::runtime_error);
}

TEST_F(CreateCertificate, WorksOnSeveralThreadsAtOnce) {
    const std::string text = makeAuthority().certificate;
    std::vector<int> good(4, 0);
    onThreads(good.size(), [&](std::size_t i) {
        for (int n = 0; n < 25; ++n) {
            const std::string id = std::to_string(i) + "-" + std::to_string(n);
            good[i] += create(text, "PEM", TRUSTED, id).code == 200 ? 1 : 0;
            if (n % 2 == 0) {
                good[i] += remove(std::string(TRUSTED) + "/" + id).code == 200 ? 1 : 0;
            }
        }
    });
    EXPECT_EQ(good, (std::vector<int>{38, 38, 38, 38}));
    EXPECT_EQ(filesIn("installed").size(), 4U * 12U);
}

TEST_F(CreateCertificate, LetsOneOfSeveralThreadsHaveAName) {
    const std::string text = makeAuthority().certificate;
    std::vector<int> codes(4, 0);
    onThreads(codes.size(), [&](std::size_t i) { codes[i] = create(text, "PEM", TRUSTED).code; });
    std::sort(codes.begin(), codes.end());
    EXPECT_EQ(codes, (std::vector<int>{200, 409, 409, 409}));
}
