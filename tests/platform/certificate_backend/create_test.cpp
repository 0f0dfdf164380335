// Creation as the daemon asks for it, with everything that comes back.

#include "platform/certificate_backend/installed_certificates.h"
#include "tests/platform/certificate_backend/backend_fixture.h"
#include "tests/support/certificates.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>

using CreateCertificate = CertificateBackend;

TEST_F(CreateCertificate, InstallsKeyAndCertificateInOneFile) {
    const TestCertificate made = makeSelfSigned();
    const CreateCertResult result = create(made.certificate + made.privateKey);
    EXPECT_EQ(result.code, 200);
    expectMessage(result.message, "", {}, {});
    EXPECT_EQ(result.certificateString, made.certificate);
    EXPECT_EQ(result.privateKeyValue,
              surroundings.directory +
                  "/installed/+redfish+v1+Managers+1+NetworkProtocol+HTTPS+Certificates+1.pem");
    EXPECT_EQ(readFile(result.privateKeyValue), made.privateKey + made.certificate);
    struct stat status = {};
    ASSERT_EQ(stat(result.privateKeyValue.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(CreateCertificate, ReturnsThePropertiesUnderTheirRedfishNames) {
    const TestCertificate issuer = makeAuthority("Example CA");
    CertificateOptions options;
    options.subject = {{"C", "DE"},
                       {"ST", "Bayern"},
                       {"L", "M\xc3\xbcnchen"},
                       {"O", "Example, Ltd."},
                       {"OU", "Boards"},
                       {"OU", "Second"},
                       {"CN", "bmc.example"},
                       {"emailAddress", "admin@example.com"}};
    options.notBefore = "20260101000000Z";
    options.notAfter = "20301231235958Z";
    options.extensions = {{"keyUsage", "critical,digitalSignature,keyAgreement,decipherOnly"},
                          {"extendedKeyUsage", "OCSPSigning,clientAuth,serverAuth,1.2.3"}};
    const TestCertificate made = makeSigned(issuer, options);
    const CreateCertResult result = create(made.certificate + made.privateKey);
    ASSERT_EQ(result.code, 200);
    const std::unordered_map<std::string, std::string> subject = {
        {"CommonName", "bmc.example"},
        {"Organization", "Example, Ltd."},
        {"OrganizationalUnit", "Boards"},
        {"City", "M\xc3\xbcnchen"},
        {"State", "Bayern"},
        {"Country", "DE"},
        {"Email", "admin@example.com"},
        {"DisplayString", "emailAddress=admin@example.com,CN=bmc.example,OU=Second,OU=Boards,"
                          "O=Example\\, Ltd.,L=M\xc3\xbcnchen,ST=Bayern,C=DE"}};
    EXPECT_EQ(result.subject, subject);
    const std::unordered_map<std::string, std::string> expectedIssuer = {
        {"CommonName", "Example CA"}, {"DisplayString", "CN=Example CA"}};
    EXPECT_EQ(result.issuer, expectedIssuer);
    EXPECT_EQ(result.validNotBefore, "2026-01-01T00:00:00Z");
    EXPECT_EQ(result.validNotAfter, "2030-12-31T23:59:58Z");
    EXPECT_EQ(result.keyUsage, (std::vector<std::string>{"DigitalSignature", "KeyAgreement",
                                                         "DecipherOnly", "ServerAuthentication",
                                                         "ClientAuthentication", "OCSPSigning"}));
}

TEST_F(CreateCertificate, NamesEveryKeyUsage) {
    CertificateOptions options;
    options.extensions = {
        {"keyUsage",
         "digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment,keyAgreement,"
         "keyCertSign,cRLSign,encipherOnly,decipherOnly"},
        {"extendedKeyUsage",
         "serverAuth,clientAuth,codeSigning,emailProtection,timeStamping,OCSPSigning"}};
    const CreateCertResult result = create(makeSelfSigned(options).certificate, "PEM", TRUSTED);
    ASSERT_EQ(result.code, 200);
    EXPECT_EQ(result.keyUsage,
              (std::vector<std::string>{
                  "DigitalSignature", "NonRepudiation", "KeyEncipherment", "DataEncipherment",
                  "KeyAgreement", "KeyCertSign", "CRLSigning", "EncipherOnly", "DecipherOnly",
                  "ServerAuthentication", "ClientAuthentication", "CodeSigning", "EmailProtection",
                  "Timestamping", "OCSPSigning"}));
}

TEST_F(CreateCertificate, AcceptsEveryKindOfKey) {
    int id = 0;
    for (const KeyKind kind : {KeyKind::RSA_2048, KeyKind::EC_P256, KeyKind::EC_P384,
                               KeyKind::EC_P521, KeyKind::ED25519}) {
        CertificateOptions options;
        options.key = kind;
        const TestCertificate made = makeSelfSigned(options);
        const CreateCertResult result =
            create(made.privateKey + made.certificate, "PEM", IDENTITIES, std::to_string(++id));
        EXPECT_EQ(result.code, 200) << id;
        EXPECT_EQ(readFile(result.privateKeyValue), made.privateKey + made.certificate) << id;
    }
}

TEST_F(CreateCertificate, AcceptsAChainInAnyOrderAndTheKeyWithIt) {
    const TestCertificate root = makeAuthority("Root");
    CertificateOptions options;
    options.ca = true;
    options.subject = {{"CN", "Middle"}};
    const TestCertificate middle = makeSigned(root, options);
    const TestCertificate leaf = makeSigned(middle);
    rootCaFile = temporary.file("root.pem");
    writeFile(rootCaFile, root.certificate);
    const CreateCertResult result =
        create(middle.certificate + leaf.privateKey + leaf.certificate, "PEMchain");
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.certificateString, leaf.certificate + middle.certificate);
    EXPECT_EQ(result.subject.at("CommonName"), "test.example");
    EXPECT_EQ(result.issuer.at("CommonName"), "Middle");
    EXPECT_EQ(readFile(result.privateKeyValue),
              leaf.privateKey + leaf.certificate + middle.certificate);
}

TEST_F(CreateCertificate, AcceptsPkcs7AndReturnsItAsPkcs7) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate leaf = makeSigned(root);
    const CreateCertResult result =
        create(makePkcs7({root.certificate, leaf.certificate}) + leaf.privateKey, "PKCS7");
    EXPECT_EQ(result.code, 200);
    EXPECT_TRUE(result.certificateString.starts_with("-----BEGIN PKCS7-----"));
    EXPECT_EQ(readFile(result.privateKeyValue),
              leaf.privateKey + leaf.certificate + root.certificate);
}

TEST_F(CreateCertificate, NeverReturnsThePrivateKey) {
    const TestCertificate made = makeSelfSigned();
    const CreateCertResult result = create(made.privateKey + made.certificate);
    ASSERT_EQ(result.code, 200);
    EXPECT_EQ(result.certificateString.find("PRIVATE"), std::string::npos);
    EXPECT_EQ(result.privateKeyValue.find("PRIVATE"), std::string::npos);
}

TEST_F(CreateCertificate, KeepsATrustedCertificateWithoutAKey) {
    const TestCertificate made = makeAuthority();
    const CreateCertResult result = create(made.certificate, "PEM", TRUSTED, "7");
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.privateKeyValue, "");
    EXPECT_EQ(result.certificateString, made.certificate);
    EXPECT_EQ(installedText(std::string(TRUSTED) + "/7"), made.certificate);
}

TEST_F(CreateCertificate, RefusesAPrivateKeyInACollectionOfTrust) {
    const TestCertificate made = makeAuthority();
    expectTextRefused(create(made.certificate + made.privateKey, "PEM", TRUSTED),
                      "the text holds a private key, which does not belong into a collection of "
                      "trusted certificates");
}

TEST_F(CreateCertificate, AsksNoServerAuthenticationOfATrustedCertificate) {
    CertificateOptions options;
    options.extensions = {{"extendedKeyUsage", "clientAuth"}};
    EXPECT_EQ(create(makeSelfSigned(options).certificate, "PEM", TRUSTED).code, 200);
}

TEST_F(CreateCertificate, RefusesAnUnknownType) {
    const TestCertificate made = makeSelfSigned();
    for (const char* type : {"", "pem", "PKCS12"}) {
        const CreateCertResult result = create(made.privateKey + made.certificate, type);
        EXPECT_EQ(result.code, 400);
        expectMessage(result.message, "Base.1.9.PropertyValueNotInList", {type, "CertificateType"},
                      {"#/CertificateType"});
    }
}

TEST_F(CreateCertificate, CutsALongTypeInItsMessage) {
    const CreateCertResult result = create("x", std::string(1 << 20, 'P'));
    expectMessage(result.message, "Base.1.9.PropertyValueNotInList",
                  {std::string(64, 'P') + "...", "CertificateType"}, {"#/CertificateType"});
}

TEST_F(CreateCertificate, RefusesABadText) {
    expectTextRefused(create(""), "the text is empty");
    expectTextRefused(create("hello"), "the text holds something that is not a PEM block");
}

TEST_F(CreateCertificate, RefusesAnExpiredCertificate) {
    CertificateOptions options;
    options.notAfter = "20260531235959Z";
    const TestCertificate made = makeSelfSigned(options);
    expectTextRefused(create(made.privateKey + made.certificate),
                      "the certificate expired at 2026-05-31T23:59:59Z");
    expectTextRefused(create(made.certificate, "PEM", TRUSTED),
                      "the certificate expired at 2026-05-31T23:59:59Z");
}

TEST_F(CreateCertificate, AcceptsAStartInTheFutureOnlyWhileTheClockIsUnset) {
    CertificateOptions options;
    options.notBefore = "20270101000000Z";
    const TestCertificate made = makeSelfSigned(options);
    expectTextRefused(create(made.privateKey + made.certificate),
                      "the certificate is not valid before 2027-01-01T00:00:00Z");
    surroundings.clock.now = 1000;
    EXPECT_EQ(create(made.privateKey + made.certificate).code, 200);
}

TEST_F(CreateCertificate, RefusesAWeakKey) {
    CertificateOptions options;
    options.key = KeyKind::RSA_1024;
    const TestCertificate made = makeSelfSigned(options);
    expectTextRefused(create(made.privateKey + made.certificate),
                      "the certificate's RSA key has 1024 bits, not 2048 to 8192");
}

TEST_F(CreateCertificate, JudgesTheSignatureOfAnIdentityButNotOfARoot) {
    const std::string key = temporary.file("key.pem");
    const std::string certificate = temporary.file("certificate.pem");
    runCommand(
        "openssl req -x509 -sha1 -nodes -newkey rsa:2048 -days 20000 -subj /CN=old -keyout " + key +
        " -out " + certificate);
    // The command dates the certificate with the machine's clock.
    surroundings.clock = systemClock();
    expectTextRefused(create(readFile(key) + readFile(certificate)),
                      "the certificate's signature is too weak: sha1WithRSAEncryption");
    EXPECT_EQ(create(readFile(certificate), "PEM", TRUSTED).code, 200);
}

TEST_F(CreateCertificate, RefusesACertificateForOtherUses) {
    CertificateOptions options;
    options.extensions = {{"extendedKeyUsage", "codeSigning"}};
    const TestCertificate made = makeSelfSigned(options);
    expectTextRefused(create(made.privateKey + made.certificate),
                      "the certificate's extended key usage lacks server authentication");
}

TEST_F(CreateCertificate, RefusesAStrangersCertificate) {
    rootCaFile = temporary.file("root.pem");
    writeFile(rootCaFile, makeAuthority("Root").certificate);
    const TestCertificate made = makeSigned(makeAuthority("Stranger"));
    expectTextRefused(create(made.privateKey + made.certificate),
                      "the certificate does not lead to a trusted root: unable to get local issuer "
                      "certificate");
}

TEST_F(CreateCertificate, RefusesAnUnknownPrivateKey) {
    expectTextRefused(create(makeSelfSigned().certificate),
                      "the certificate's private key is not known: it is neither in the text nor "
                      "that of a signing request made here");
}

TEST_F(CreateCertificate, RefusesTheWrongPrivateKey) {
    expectTextRefused(create(makePrivateKey(KeyKind::EC_P256) + makeSelfSigned().certificate),
                      "the private key of the text does not belong to the certificate");
    expectTextRefused(create(makePrivateKey(KeyKind::RSA_2048) + makeSelfSigned().certificate),
                      "the private key of the text does not belong to the certificate");
}

TEST_F(CreateCertificate, RefusesTheKeyOfAnIssuerInAChain) {
    const TestCertificate root = makeAuthority("Root");
    expectTextRefused(
        create(root.privateKey + makeSigned(root).certificate + root.certificate, "PEMchain"),
        "the private key of the text does not belong to the certificate");
}

TEST_F(CreateCertificate, RefusesANameThatCannotBeShown) {
    for (const char* name : {"a\nb", "\x1b[31mred"}) {
        CertificateOptions options;
        options.subject = {{"CN", name}};
        const TestCertificate made = makeSelfSigned(options);
        expectTextRefused(create(made.privateKey + made.certificate),
                          "a name in the certificate is not printable text");
    }
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
                      "a certificate of the text cannot be decoded");
}

TEST_F(CreateCertificate, ShowsACertificateWithoutAnyName) {
    CertificateOptions options;
    options.subject = {};
    const TestCertificate made = makeSigned(makeAuthority(), options);
    const CreateCertResult result = create(made.privateKey + made.certificate);
    EXPECT_EQ(result.code, 200);
    const std::unordered_map<std::string, std::string> subject = {{"DisplayString", ""}};
    EXPECT_EQ(result.subject, subject);
}

TEST_F(CreateCertificate, NeverOverwritesACertificate) {
    const TestCertificate first = makeAuthority("First");
    ASSERT_EQ(create(first.certificate, "PEM", TRUSTED, "7").code, 200);
    const CreateCertResult second =
        create(makeAuthority("Second").certificate, "PEM", TRUSTED, "7");
    EXPECT_EQ(second.code, 409);
    expectMessage(second.message, "Base.1.9.ResourceAlreadyExists", {"Certificate", "Id", "7"}, {});
    EXPECT_EQ(installedText(std::string(TRUSTED) + "/7"), first.certificate);
}

TEST_F(CreateCertificate, NeedsAUri) {
    const TestCertificate made = makeAuthority();
    EXPECT_THROW(static_cast<void>(create(made.certificate, "PEM", TRUSTED, "")),
                 std::runtime_error);
    EXPECT_THROW(static_cast<void>(create(made.certificate, "PEM", "", "1")), std::runtime_error);
}

TEST_F(CreateCertificate, LeavesNothingBehindWhenItRefuses) {
    expectTextRefused(create(makeSelfSigned().certificate),
                      "the certificate's private key is not known: it is neither in the text nor "
                      "that of a signing request made here");
    EXPECT_TRUE(filesIn("installed").empty());
    EXPECT_TRUE(filesIn("requests").empty());
}

TEST_F(CreateCertificate, ReadsItsOwnFilesAfterARestart) {
    const TestCertificate made = makeSelfSigned();
    ASSERT_EQ(create(made.privateKey + made.certificate).code, 200);
    const auto installed =
        loadInstalled(LockedDirectory(surroundings.directory), std::string(IDENTITIES) + "/1");
    ASSERT_TRUE(installed.has_value());
    EXPECT_EQ(certificateText(installed->chain, CertificateType::CHAIN), made.certificate);
    EXPECT_EQ(EVP_PKEY_eq(installed->privateKey.get(), parsePrivateKey(made.privateKey).get()), 1);
}

TEST_F(CreateCertificate, WorksOnSeveralThreadsAtOnce) {
    const std::string text = makeAuthority().certificate;
    std::vector<std::thread> threads;
    std::vector<int> good(4, 0);
    for (std::size_t i = 0; i < good.size(); ++i) {
        threads.emplace_back([&, i] {
            for (int n = 0; n < 25; ++n) {
                const std::string id = std::to_string(i) + "-" + std::to_string(n);
                good[i] += create(text, "PEM", TRUSTED, id).code == 200 ? 1 : 0;
                if (n % 2 == 0) {
                    const std::string uri = std::string(TRUSTED) + "/" + id;
                    good[i] += deleteCertificate(surroundings, uri).code == 200 ? 1 : 0;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, (std::vector<int>{38, 38, 38, 38}));
    EXPECT_EQ(filesIn("installed").size(), 4U * 12U);
}

TEST_F(CreateCertificate, LetsOneOfSeveralThreadsHaveAName) {
    const std::string text = makeAuthority().certificate;
    std::vector<std::thread> threads;
    std::vector<int> codes(4, 0);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        threads.emplace_back([&, i] { codes[i] = create(text, "PEM", TRUSTED).code; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::sort(codes.begin(), codes.end());
    EXPECT_EQ(codes, (std::vector<int>{200, 409, 409, 409}));
}
