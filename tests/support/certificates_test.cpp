// The certificates that tests are made of, checked with the openssl command.

#include "tests/support/certificates.h"
#include "tests/support/child_process.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"

#include <gtest/gtest.h>

namespace {

// Standard output and error of a command, and its exit status in the last line.
std::string run(const std::vector<std::string>& arguments) {
    const TempDirectory directory;
    ChildProcessOptions options;
    options.arguments = arguments;
    options.outputFile = directory.file("output");
    options.errorFile = options.outputFile;
    ChildProcess process(options);
    const auto status = process.waitForExit(WAIT_LIMIT_SECONDS);
    return readFile(options.outputFile) + std::to_string(status.value_or(-1));
}

} // namespace

TEST(Certificates, ChainVerifiesForEveryKind) {
    const TempDirectory directory;
    const TestCertificate root = makeAuthority();
    writeFile(directory.file("root"), root.certificate);
    CertificateOptions middleOptions;
    middleOptions.subject = {{"CN", "Middle"}};
    middleOptions.ca = true;
    const TestCertificate middle = makeSigned(root, middleOptions);
    writeFile(directory.file("middle"), middle.certificate);
    for (const KeyKind kind : {KeyKind::RSA_2048, KeyKind::EC_P384, KeyKind::ED25519}) {
        CertificateOptions options;
        options.key = kind;
        options.extensions = {{"extendedKeyUsage", "serverAuth"}, {"subjectAltName", "DNS:a.b"}};
        writeFile(directory.file("leaf"), makeSigned(middle, options).certificate);
        EXPECT_EQ(
            run({"openssl", "verify", "-purpose", "sslserver", "-CAfile", directory.file("root"),
                 "-untrusted", directory.file("middle"), directory.file("leaf")}),
            directory.file("leaf") + ": OK\n0");
    }
}

TEST(Certificates, HoldsTheGivenNamesAndDates) {
    const TempDirectory directory;
    CertificateOptions options;
    options.subject = {{"C", "DE"}, {"O", "Ex\xc3\xa4mple"}, {"CN", "x"}};
    options.notBefore = "20200102030405Z";
    options.notAfter = "20210102030405Z";
    writeFile(directory.file("c"), makeSelfSigned(options).certificate);
    EXPECT_EQ(run({"openssl", "x509", "-noout", "-subject", "-dates", "-nameopt",
                   "utf8,sep_comma_plus", "-in", directory.file("c")}),
              "subject=C=DE,O=Ex\xc3\xa4mple,CN=x\n"
              "notBefore=Jan  2 03:04:05 2020 GMT\n"
              "notAfter=Jan  2 03:04:05 2021 GMT\n0");
}

TEST(Certificates, SignsRequestsAndBundles) {
    const TempDirectory directory;
    const TestCertificate root = makeAuthority();
    const std::string key = makePrivateKey(KeyKind::EC_P521);
    CertificateOptions options;
    options.extensions = {{"subjectAltName", "DNS:a.b"}};
    const std::string leaf = signRequest(makeSigningRequest(key, options), root);
    writeFile(directory.file("p7"), makePkcs7({leaf, root.certificate}));
    EXPECT_EQ(run({"openssl", "pkcs7", "-noout", "-print_certs", "-in", directory.file("p7")}),
              "subject=CN = test.example\nissuer=CN = Test CA\n\n"
              "subject=CN = Test CA\nissuer=CN = Test CA\n\n0");
    writeFile(directory.file("key"), encryptPrivateKey(key, "pw"));
    EXPECT_EQ(
        run({"openssl", "pkey", "-noout", "-passin", "pass:pw", "-in", directory.file("key")}),
        "0");
    EXPECT_THROW((void)signRequest(leaf, root), std::runtime_error);
}
