// Replacement: the same checks as a creation, the unchanged certificate, and what is left on disk
// when the process ends in the middle.

#include "platform/certificate_backend/locked_directory.h"
#include "tests/platform/certificate_backend/backend_fixture.h"
#include "tests/support/certificates.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>

namespace {

constexpr const char* ACTION = "CertificateService.ReplaceCertificate";

void expectReplacementRefused(const CreateCertResult& result, const std::string& phrase) {
    EXPECT_EQ(result.code, 400);
    expectMessage(result.message, "Base.1.9.ActionParameterValueFormatError",
                  {phrase, "CertificateString", ACTION}, {"#/CertificateString"});
    EXPECT_EQ(result.certificateString, "");
    EXPECT_EQ(result.privateKeyValue, "");
}

} // namespace

class ReplaceCertificate : public CertificateBackend {
protected:
    ReplaceCertificate() {
        created = create(old.privateKey + old.certificate);
    }

    // The old pair stands untouched.
    void expectOldPair() const {
        EXPECT_EQ(installedText(uri), old.privateKey + old.certificate);
    }

    [[nodiscard]] std::string signedCsr(const TestCertificate& authority) const {
        const CSRResult made =
            generateCsr(surroundings, {IDENTITIES, 0, {}, {{"CommonName", "from-a-request"}}});
        return signRequest(made.csr, authority);
    }

    const std::string uri = std::string(IDENTITIES) + "/1";
    const TestCertificate old = makeSelfSigned();
    CreateCertResult created;
};

TEST_F(ReplaceCertificate, PutsKeyAndCertificateInPlaceOfTheOldOnes) {
    CertificateOptions options;
    options.subject = {{"CN", "new.example"}};
    const TestCertificate next = makeSelfSigned(options);
    const CreateCertResult result = replace(next.certificate + next.privateKey);
    EXPECT_EQ(result.code, 200);
    expectMessage(result.message, "", {}, {});
    EXPECT_EQ(result.certificateString, next.certificate);
    EXPECT_EQ(result.subject.at("CommonName"), "new.example");
    EXPECT_EQ(result.validNotAfter, "2049-12-31T23:59:59Z");
    EXPECT_EQ(result.privateKeyValue, created.privateKeyValue);
    EXPECT_EQ(installedText(uri), next.privateKey + next.certificate);
}

TEST_F(ReplaceCertificate, FindsTheKeyOfASigningRequest) {
    const std::string next = signedCsr(makeAuthority());
    const CreateCertResult result = replace(next);
    EXPECT_EQ(result.code, 200);
    EXPECT_TRUE(installedText(uri).ends_with(next));
    EXPECT_EQ(X509_check_private_key(parseCertificate(next).get(),
                                     parsePrivateKey(installedText(uri)).get()),
              1);
    EXPECT_TRUE(filesIn("requests").empty());
}

TEST_F(ReplaceCertificate, KeepsTheInstalledKeyForARenewedCertificate) {
    const std::string renewed = certifyKey(old.privateKey, makeAuthority());
    const CreateCertResult result = replace(renewed);
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.privateKeyValue, created.privateKeyValue);
    EXPECT_EQ(installedText(uri), old.privateKey + renewed);
}

TEST_F(ReplaceCertificate, AnswersTheSameCertificateWithNoOperation) {
    for (const std::string& text :
         {old.certificate, old.privateKey + old.certificate, "\n" + old.certificate + "\r\n"}) {
        const CreateCertResult result = replace(text);
        EXPECT_EQ(result.code, 200);
        expectMessage(result.message, "Base.1.9.NoOperation", {}, {});
        EXPECT_EQ(result.certificateString, old.certificate);
        EXPECT_EQ(result.privateKeyValue, created.privateKeyValue);
    }
    EXPECT_EQ(replace(old.certificate, "PEMchain").message.MessageId, "Base.1.9.NoOperation");
    EXPECT_EQ(replace(makePkcs7({old.certificate}), "PKCS7").message.MessageId,
              "Base.1.9.NoOperation");
    expectOldPair();
}

TEST_F(ReplaceCertificate, AnswersNoOperationEvenAfterTheCertificateExpired) {
    surroundings.clock.now = 2600000000; // in 2052
    EXPECT_EQ(replace(old.certificate).message.MessageId, "Base.1.9.NoOperation");
}

TEST_F(ReplaceCertificate, RefusesTheSameCertificateWithAnotherKey) {
    expectReplacementRefused(replace(old.certificate + makePrivateKey(KeyKind::EC_P256)),
                             "the private key of the text does not belong to the certificate");
    expectOldPair();
}

TEST_F(ReplaceCertificate, TakesALongerChainForAChange) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate leaf = makeSigned(root);
    ASSERT_EQ(replace(leaf.privateKey + leaf.certificate).code, 200);
    const CreateCertResult result = replace(leaf.certificate + root.certificate, "PEMchain");
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.message.MessageId, "");
    EXPECT_EQ(installedText(uri), leaf.privateKey + leaf.certificate + root.certificate);
}

TEST_F(ReplaceCertificate, SaysThatNothingIsInstalled) {
    const std::string missing = std::string(IDENTITIES) + "/2";
    const CreateCertResult result = replace(old.privateKey + old.certificate, "PEM", missing);
    EXPECT_EQ(result.code, 400);
    expectMessage(result.message, "Base.1.9.ResourceMissingAtURI", {missing}, {});
    EXPECT_EQ(filesIn("installed").size(), 1U);
}

TEST_F(ReplaceCertificate, RefusesAnUnknownType) {
    const CreateCertResult result = replace(old.certificate, "PKCS12");
    EXPECT_EQ(result.code, 400);
    expectMessage(result.message, "Base.1.9.ActionParameterValueNotInList",
                  {"PKCS12", "CertificateType", ACTION}, {"#/CertificateType"});
}

TEST_F(ReplaceCertificate, RefusesWhatACreationRefuses) {
    expectReplacementRefused(replace(""), "the text is empty");
    expectReplacementRefused(replace("x"), "the text holds something that is not a PEM block");

    CertificateOptions options;
    options.notAfter = "20250101000000Z";
    TestCertificate bad = makeSelfSigned(options);
    expectReplacementRefused(replace(bad.privateKey + bad.certificate),
                             "the certificate expired at 2025-01-01T00:00:00Z");
    options = {};
    options.key = KeyKind::RSA_1024;
    bad = makeSelfSigned(options);
    expectReplacementRefused(replace(bad.privateKey + bad.certificate),
                             "the certificate's RSA key has 1024 bits, not 2048 to 8192");
    options = {};
    options.extensions = {{"extendedKeyUsage", "clientAuth"}};
    bad = makeSelfSigned(options);
    expectReplacementRefused(replace(bad.privateKey + bad.certificate),
                             "the certificate's extended key usage lacks server authentication");
    options = {};
    options.subject = {{"CN", "a\nb"}};
    bad = makeSelfSigned(options);
    expectReplacementRefused(replace(bad.privateKey + bad.certificate),
                             "a name in the certificate is not printable text");
    expectReplacementRefused(replace(encryptPrivateKey(bad.privateKey, "secret") + bad.certificate),
                             "the private key of the text is encrypted");
    rootCaFile = temporary.file("root.pem");
    writeFile(rootCaFile, makeAuthority("Root").certificate);
    bad = makeSelfSigned();
    expectReplacementRefused(replace(bad.privateKey + bad.certificate),
                             "the certificate does not lead to a trusted root: self-signed "
                             "certificate");
    expectOldPair();
}

TEST_F(ReplaceCertificate, RefusesAnUnknownPrivateKey) {
    expectReplacementRefused(
        replace(makeSelfSigned().certificate),
        "the certificate's private key is not known: it is neither in the text "
        "nor that of a signing request made here nor the installed one");
    expectOldPair();
}

TEST_F(ReplaceCertificate, WorksWithoutKeysInACollectionOfTrust) {
    const std::string trusted = std::string(TRUSTED) + "/7";
    const std::string first = makeAuthority("First").certificate;
    const TestCertificate second = makeAuthority("Second");
    ASSERT_EQ(create(first, "PEM", TRUSTED, "7").code, 200);
    expectReplacementRefused(
        replace(second.certificate + second.privateKey, "PEM", trusted),
        "the text holds a private key, which does not belong into a collection "
        "of trusted certificates");
    EXPECT_EQ(installedText(trusted), first);
    const CreateCertResult result = replace(second.certificate, "PEM", trusted);
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.privateKeyValue, "");
    EXPECT_EQ(installedText(trusted), second.certificate);
    const CreateCertResult again = replace(second.certificate, "PEM", trusted);
    EXPECT_EQ(again.message.MessageId, "Base.1.9.NoOperation");
    EXPECT_EQ(again.privateKeyValue, "");
}

TEST_F(ReplaceCertificate, KeepsTheOldPairWhenTheNewOneCannotBeWritten) {
    const TestCertificate next = makeSelfSigned();
    // Stands where the new file would be written, and is not empty.
    std::filesystem::create_directories(installedFolder(surroundings.directory) + "/.new/x");
    EXPECT_THROW(static_cast<void>(replace(next.privateKey + next.certificate)), std::system_error);
    expectOldPair();
    std::filesystem::remove_all(installedFolder(surroundings.directory) + "/.new");
    EXPECT_EQ(replace(next.privateKey + next.certificate).code, 200);
}

TEST_F(ReplaceCertificate, KeepsTheOldPairWhenTheDiskIsFullInTheMiddle) {
    const TestCertificate next = makeSelfSigned();
    rlimit unlimited = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
    ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
    const rlimit small = {100, unlimited.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string fault;
    try {
        static_cast<void>(replace(next.privateKey + next.certificate));
    } catch (const std::system_error& error) {
        fault = error.what();
    }
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    EXPECT_EQ(fault, "cannot write a file in " + installedFolder(surroundings.directory) +
                         ": File too large");
    expectOldPair();
    EXPECT_EQ(filesIn("installed").size(), 1U);
}

TEST_F(ReplaceCertificate, ReportsADamagedFileAsAFaultOfTheMachine) {
    writeFile(created.privateKeyValue, "damaged");
    EXPECT_THROW(static_cast<void>(replace(makeSelfSigned().certificate)), std::runtime_error);
    EXPECT_EQ(deleteCertificate(surroundings, uri).code, 200);
}

TEST_F(ReplaceCertificate, KeepsItsOwnLargestTextReadable) {
    // A text near the limit grows in the file: by the key's line ends and by its own.
    const TestCertificate root = makeAuthority("Root");
    CertificateOptions options;
    options.extensions = {{"nsComment", std::string(48000, 'x')}};
    const TestCertificate large = makeSigned(root, options);
    std::string text = large.privateKey + large.certificate;
    std::erase(text, '\n');
    for (const char* label : {"PRIVATE KEY", "CERTIFICATE"}) {
        const std::string begin = std::string("-----BEGIN ") + label + "-----";
        text.replace(text.find(begin), begin.size(), begin + "\n");
    }
    ASSERT_LE(text.size(), 65536U);
    ASSERT_GT((large.privateKey + large.certificate).size(), 65536U);
    ASSERT_EQ(replace(text).code, 200);
    EXPECT_EQ(replace(text).message.MessageId, "Base.1.9.NoOperation");
}
