// Replacement: the same checks as a creation, the unchanged certificate, and what is left on disk
// when a write fails.

#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/locked_directory.h"
#include "tests/platform/certificate_backend/backend_fixture.h"

#include <sys/resource.h>

#include <csignal>
#include <filesystem>

namespace {

constexpr const char* ACTION = "CertificateService.ReplaceCertificate";

void expectReplacementRefused(const CreateCertResult& result, const std::string& fault) {
    EXPECT_EQ(result.code, 400);
    expectMessage(result.message, "Base.1.9.ActionParameterValueFormatError",
                  {fault, "CertificateString", ACTION}, {"#/CertificateString"});
    EXPECT_EQ(result.certificateString, "");
    EXPECT_EQ(result.privateKeyValue, "");
}

} // namespace

class ReplaceCertificate : public CertificateBackend {
protected:
    ReplaceCertificate() {
        created = create(textOf(old));
    }

    void expectOldPair() const {
        EXPECT_EQ(installedText(), textOf(old));
    }

    const TestCertificate old = makeSelfSigned();
    CreateCertResult created;
};

TEST_F(ReplaceCertificate, PutsKeyAndCertificateInPlaceOfTheOldOnes) {
    const TestCertificate next = makeSelfSigned({.subject = {{"CN", "new.example"}}});
    const CreateCertResult result = replace(next.certificate + next.privateKey);
    EXPECT_EQ(result.code, 200);
    expectMessage(result.message, "", {}, {});
    EXPECT_EQ(result.certificateString, next.certificate);
    EXPECT_EQ(result.subject.at("CommonName"), "new.example");
    EXPECT_EQ(result.validNotAfter, "2049-12-31T23:59:59Z");
    EXPECT_EQ(result.privateKeyValue, created.privateKeyValue);
    EXPECT_EQ(installedText(), textOf(next));
}

TEST_F(ReplaceCertificate, KeepsOneGenerationOfWhatItReplaced) {
    const std::string second = textOf(makeSelfSigned());
    const std::string third = textOf(makeSelfSigned());
    const auto previous = [&] {
        return readPrevious(LockedDirectory(surroundings.directory), IDENTITY);
    };
    EXPECT_EQ(previous(), std::nullopt);
    ASSERT_EQ(replace(second).code, 200);
    EXPECT_EQ(previous(), SecretText(textOf(old)));
    ASSERT_EQ(replace(third).code, 200);
    EXPECT_EQ(previous(), SecretText(second));
    ASSERT_EQ(replace(third).message.MessageId, "Base.1.9.NoOperation");
    EXPECT_EQ(previous(), SecretText(second));
    ASSERT_EQ(remove(IDENTITY).code, 200);
    EXPECT_TRUE(filesIn("previous").empty());
    const std::string trusted = std::string(TRUSTED) + "/7";
    const std::string root = makeAuthority("First").certificate;
    ASSERT_EQ(create(root, "PEM", TRUSTED, "7").code, 200);
    ASSERT_EQ(replace(makeAuthority("Second").certificate, "PEM", trusted).code, 200);
    EXPECT_EQ(readPrevious(LockedDirectory(surroundings.directory), trusted), SecretText(root));
}

TEST_F(ReplaceCertificate, FindsTheKeyOfASigningRequest) {
    const CSRResult made = generateCsr(surroundings, {IDENTITIES, 0, {}, {{"CommonName", "bmc"}}});
    const std::string next = signRequest(made.csr, makeAuthority());
    EXPECT_EQ(replace(next).code, 200);
    EXPECT_TRUE(installedText().ends_with(next));
    EXPECT_EQ(X509_check_private_key(parseCertificate(next).get(),
                                     parsePrivateKey(installedText()).get()),
              1);
    EXPECT_TRUE(filesIn("requests").empty());
}

TEST_F(ReplaceCertificate, KeepsTheInstalledKeyForARenewedCertificate) {
    const std::string renewed = certifyKey(old.privateKey, makeAuthority());
    const CreateCertResult result = replace(renewed);
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.privateKeyValue, created.privateKeyValue);
    EXPECT_EQ(installedText(), old.privateKey + renewed);
}

TEST_F(ReplaceCertificate, AnswersTheSameCertificateWithNoOperationEvenAfterItExpired) {
    surroundings.clock.now = 2600000000; // in 2052
    for (const std::string& text :
         {old.certificate, textOf(old), "\n" + old.certificate + "\r\n"}) {
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

TEST_F(ReplaceCertificate, RefusesTheSameCertificateWithAnotherKey) {
    expectReplacementRefused(
        replace(old.certificate + makePrivateKey(KeyKind::EC_P256)),
        "The private key of the text belongs to none of its certificates. Send "
        "the key of the certificate, or none when a signing request was made "
        "for it here.");
    expectOldPair();
}

TEST_F(ReplaceCertificate, TakesALongerChainForAChange) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate leaf = makeSigned(root);
    ASSERT_EQ(replace(textOf(leaf)).code, 200);
    const CreateCertResult result = replace(leaf.certificate + root.certificate, "PEMchain");
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.message.MessageId, "");
    EXPECT_EQ(installedText(), textOf(leaf) + root.certificate);
}

TEST_F(ReplaceCertificate, SaysThatNothingIsInstalled) {
    const std::string missing = std::string(IDENTITIES) + "/2";
    const CreateCertResult result = replace(textOf(old), "PEM", missing);
    EXPECT_EQ(result.code, 400);
    expectMessage(result.message, "Base.1.9.ResourceMissingAtURI", {missing}, {});
    EXPECT_EQ(filesIn("installed").size(), 1U);
}

TEST_F(ReplaceCertificate, RefusesAnUnknownType) {
    const CreateCertResult result = replace(old.certificate, "PKCS12");
    EXPECT_EQ(result.code, 400);
    expectMessage(result.message, "Base.1.9.ActionParameterValueNotInList",
                  {"PKCS12 (accepted: PEM, PEMchain, PKCS7)", "CertificateType", ACTION},
                  {"#/CertificateType"});
}

TEST_F(ReplaceCertificate, RefusesWhatFailsACheck) {
    for (const RefusedText& row : refusedIdentities()) {
        SCOPED_TRACE(row.fault);
        expectReplacementRefused(replace(row.text, "PEMchain"), row.fault);
    }
    trustOnly(makeAuthority("Root").certificate);
    expectReplacementRefused(
        replace(textOf(makeSelfSigned())),
        said(0, "test.example",
             "is self-signed and none of the configured roots. Send one that leads to a root."));
    expectOldPair();
}

TEST_F(ReplaceCertificate, RefusesAnUnknownPrivateKey) {
    expectReplacementRefused(
        replace(makeSelfSigned().certificate),
        said(0, "test.example",
             "has a private key that is not known here. Send it in the text, or have a signing "
             "request made for this collection."));
    expectOldPair();
}

TEST_F(ReplaceCertificate, WorksWithoutKeysInACollectionOfTrust) {
    const std::string trusted = std::string(TRUSTED) + "/7";
    const std::string first = makeAuthority("First").certificate;
    const TestCertificate second = makeAuthority("Second");
    ASSERT_EQ(create(first, "PEM", TRUSTED, "7").code, 200);
    expectReplacementRefused(replace(textOf(second), "PEM", trusted),
                             "The text holds a private key, which does not belong into a "
                             "collection of trusted certificates. Send the certificates alone.");
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
    const std::string next = textOf(makeSelfSigned());
    // Stands where the new file would be written, and is not empty.
    std::filesystem::create_directories(installedFolder(surroundings.directory) + "/.new/x");
    EXPECT_THROW(static_cast<void>(replace(next)), std::system_error);
    expectOldPair();
    std::filesystem::remove_all(installedFolder(surroundings.directory) + "/.new");
    EXPECT_EQ(replace(next).code, 200);
}

TEST_F(ReplaceCertificate, KeepsTheOldPairWhenTheDiskIsFullInTheMiddle) {
    const std::string next = textOf(makeSelfSigned());
    rlimit unlimited = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
    ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
    const rlimit small = {100, unlimited.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string fault;
    try {
        static_cast<void>(replace(next));
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
    EXPECT_EQ(remove(IDENTITY).code, 200);
}

TEST_F(ReplaceCertificate, KeepsItsOwnLargestTextReadable) {
    // A text near the limit grows in the file: by the key's line ends and by its own.
    const TestCertificate large =
        makeSigned(makeAuthority("Root"), {.extensions = {{"nsComment", std::string(48000, 'x')}}});
    std::string text = textOf(large);
    ASSERT_GT(text.size(), 65536U);
    std::erase(text, '\n');
    for (const char* label : {"PRIVATE KEY", "CERTIFICATE"}) {
        const std::string begin = std::string("-----BEGIN ") + label + "-----";
        text.replace(text.find(begin), begin.size(), begin + "\n");
    }
    ASSERT_LE(text.size(), 65536U);
    ASSERT_EQ(replace(text).code, 200);
    EXPECT_EQ(replace(text).message.MessageId, "Base.1.9.NoOperation");
}
