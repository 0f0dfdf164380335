// Certificate files and what is no certificate.

#include "frontend/ctl/certificate_file.h"
#include "frontend/exchange/front_end_error.h"
#include "tests/support/certificates.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

FrontEndError errorOf(const std::string& path) {
    try {
        (void)readCertificateFile(path);
    } catch (const FrontEndError& error) {
        return error;
    }
    return {EXIT_OK, "no error"};
}

struct BadFile {
    std::string content;
    std::string error; // behind the file's name
    std::string hint;
};

const std::string GENERAL_HINT = "A certificate text holds a line -----BEGIN CERTIFICATE----- or "
                                 "-----BEGIN PKCS7-----.";

TEST(CertificateFile, IsReadByteForByte) {
    const TempDirectory directory;
    const std::string text = makeSelfSigned().certificate + "\r\n# \\ \" end";
    writeFile(directory.file("c.pem"), text);
    EXPECT_EQ(readCertificateFile(directory.file("c.pem")), text);
}

TEST(CertificateFile, MayHoldPkcs7) {
    const TempDirectory directory;
    writeFile(directory.file("c.p7b"), makePkcs7({makeSelfSigned().certificate}));
    EXPECT_EQ(readCertificateFile(directory.file("c.p7b")), readFile(directory.file("c.p7b")));
}

TEST(CertificateFile, IsRefusedWithAHintWhenThereIsNoCertificateInIt) {
    const TempDirectory directory;
    const std::string key = makePrivateKey(KeyKind::EC_P256);
    const std::vector<BadFile> files = {
        {"", ": is not a certificate text.", GENERAL_HINT},
        {"hello", ": is not a certificate text.", GENERAL_HINT},
        {makeSigningRequest(key), ": is not a certificate text.",
         "This is a signing request. A certificate authority makes the certificate from it, for "
         "example `openssl x509 -req`."},
        {key, ": is not a certificate text.", "There is a private key in it, but no certificate."},
        {std::string("\x30\x82\x01\x00\x00", 5), ": is not a certificate text.",
         "It looks like a binary (DER) certificate; `openssl x509 -inform der -in FILE` turns it "
         "into text."},
        {"-----BEGIN CERTIFICATE-----" + std::string(1, '\0'), ": is not a certificate text.",
         GENERAL_HINT},
        {std::string(1024 * 1024 + 1, 'a'), ": is longer than 1 MiB.", ""},
    };
    for (const BadFile& file : files) {
        writeFile(directory.file("bad"), file.content);
        const FrontEndError error = errorOf(directory.file("bad"));
        EXPECT_EQ(error.what(), directory.file("bad") + file.error);
        EXPECT_EQ(error.hint, file.hint);
        EXPECT_EQ(error.exitCode, EXIT_LOCAL_FILE);
    }
}

TEST(CertificateFile, IsNamedWhenItCannotBeRead) {
    const TempDirectory directory;
    EXPECT_STREQ(errorOf("/no/such/file").what(), "/no/such/file: No such file or directory");
    EXPECT_EQ(errorOf(directory.path()).what(), directory.path() + ": is a folder.");
}

TEST(CertificateType, IsGuessedFromTheText) {
    const TestCertificate one = makeSelfSigned();
    EXPECT_EQ(guessCertificateType(one.certificate), "PEM");
    EXPECT_EQ(guessCertificateType(one.privateKey + one.certificate), "PEM");
    EXPECT_EQ(guessCertificateType(one.certificate + makeAuthority().certificate), "PEMchain");
    EXPECT_EQ(guessCertificateType(makePkcs7({one.certificate})), "PKCS7");
}

TEST(TextFile, IsWrittenWhole) {
    const TempDirectory directory;
    writeTextFile(directory.file("out"), "a\nb\n");
    EXPECT_EQ(readFile(directory.file("out")), "a\nb\n");
    try {
        writeTextFile("/no/such/folder/out", "a");
        FAIL() << "written";
    } catch (const FrontEndError& error) {
        EXPECT_STREQ(error.what(), "/no/such/folder/out: No such file or directory");
        EXPECT_EQ(error.exitCode, EXIT_LOCAL_FILE);
    }
}

} // namespace
