// Certificate files, and files that are none.

#include "frontend/ctl/certificate_file.h"
#include "tests/frontend/front_end_errors.h"
#include "tests/support/certificates.h"
#include "tests/support/temp_files.h"

#include <string>
#include <vector>

namespace {

constexpr std::size_t LARGEST_FILE = std::size_t{1024} * 1024;

class CertificateFile : public testing::Test {
protected:
    std::string fileWith(const std::string& text) {
        writeFile(directory.file("input"), text);
        return directory.file("input");
    }

    TempDirectory directory;
};

TEST_F(CertificateFile, ATextIsReadByteForByteAndItsTypeGuessed) {
    const TestCertificate one = makeSelfSigned();
    struct Row {
        std::string text;
        std::string type;
    };
    std::string largest = one.certificate;
    largest.resize(LARGEST_FILE, '#');
    const std::vector<Row> rows = {
        {one.certificate + "\r\n# \\ \" end", "PEM"},
        {one.privateKey + one.certificate, "PEM"},
        {one.certificate + makeAuthority().certificate, "PEMchain"},
        {makePkcs7({one.certificate}), "PKCS7"},
        {largest, "PEM"},
    };
    for (const Row& row : rows) {
        const CertificateText read = readCertificate({fileWith(row.text), ""});
        EXPECT_EQ(read.text, row.text);
        EXPECT_EQ(read.type, row.type);
    }
}

TEST_F(CertificateFile, ATypeThatIsGivenIsNotGuessed) {
    EXPECT_EQ(readCertificate({fileWith(makeSelfSigned().certificate), "DER"}).type, "DER");
}

TEST_F(CertificateFile, ATextWithoutACertificateIsRefusedWithAHint) {
    const std::string none = ": is not a certificate text.";
    const std::string general = "A certificate text holds a line -----BEGIN CERTIFICATE----- or "
                                "-----BEGIN PKCS7-----.";
    const std::string key = makePrivateKey(KeyKind::EC_P256);
    struct Row {
        std::string text;
        std::string error; // behind the file's name
        std::string hint;
    };
    const std::vector<Row> rows = {
        {"", none, general},
        {"hello", none, general},
        {makeSigningRequest(key), none,
         "This is a signing request. A certificate authority makes the certificate from it, for "
         "example `openssl x509 -req`."},
        {key, none, "There is a private key in it, but no certificate."},
        {std::string("\x30\x82\x01\x00\x00", 5), none,
         "It looks like a binary (DER) certificate; `openssl x509 -inform der -in FILE` turns it "
         "into text."},
        {"-----BEGIN CERTIFICATE-----" + std::string(1, '\0'), none, general},
        {std::string(LARGEST_FILE + 1, 'a'), ": is longer than 1 MiB.", ""},
    };
    for (const Row& row : rows) {
        const std::string path = fileWith(row.text);
        const FrontEndError error = errorOf([&] { (void)readCertificate({path, ""}); });
        EXPECT_EQ(error.what(), path + row.error);
        EXPECT_EQ(error.hint, row.hint);
        EXPECT_EQ(error.kind, FailureKind::LOCAL_FILE);
    }
}

TEST_F(CertificateFile, AFileThatCannotBeReadOrWrittenIsNamed) {
    const auto reading = [](const std::string& path) {
        return std::string(errorOf([&] { (void)readTextFile(path); }).what());
    };
    EXPECT_EQ(reading("/no/such/file"), "/no/such/file: No such file or directory");
    EXPECT_EQ(reading(directory.path()), directory.path() + ": is a folder.");
    const FrontEndError error = errorOf([] { writeTextFile("/no/such/folder/out", "a"); });
    EXPECT_STREQ(error.what(), "/no/such/folder/out: No such file or directory");
    EXPECT_EQ(error.kind, FailureKind::LOCAL_FILE);
}

TEST_F(CertificateFile, ATextIsWrittenWhole) {
    writeTextFile(directory.file("out"), "a\nb\n");
    EXPECT_EQ(readFile(directory.file("out")), "a\nb\n");
}

} // namespace
