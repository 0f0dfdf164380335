// No line of a private key's text is left in freed memory, the backend's own or OpenSSL's.

#include "tests/platform/certificate_backend/backend_fixture.h"
#include "tests/platform/watched_memory.h"

#include <memory>

namespace {

// The lines that hold the secret half: the first eight of an RSA key hold what the certificate
// shows.
std::vector<std::string> secretHalf(const std::string& pem) {
    std::vector<std::string> lines = splitLines(pem);
    std::erase_if(lines, [](const std::string& line) { return line.size() != 64; });
    lines.erase(lines.begin(), lines.begin() + 8);
    return lines;
}

TestCertificate makeRsaPair() {
    return makeSelfSigned({.key = KeyKind::RSA_2048});
}

} // namespace

// The requests are made before the watch begins and end after it, because they hold the key.
using BackendMemory = CertificateBackend;

TEST_F(BackendMemory, IsWatched) {
    auto key = std::make_unique<std::string>(makePrivateKey(KeyKind::RSA_2048));
    const std::vector<std::string> secrets = secretHalf(*key);
    const MemoryWatch watch(secrets);
    key.reset();
    EXPECT_EQ(watch.tracesSeen(), 1);
}

TEST_F(BackendMemory, HoldsNoKeyAfterACreationAndItsReplacements) {
    const TestCertificate made = makeRsaPair();
    const CreateCertRequest creation = {IDENTITIES, textOf(made), "PEM", "1", ""};
    const ReplaceCertRequest renewal = {IDENTITY, certifyKey(made.privateKey, makeAuthority()),
                                        "PEM", ""};
    const ReplaceCertRequest again = {IDENTITY, textOf(made), "PEM", ""};
    const std::vector<std::string> secrets = secretHalf(made.privateKey);
    const MemoryWatch watch(secrets);
    EXPECT_EQ(createCertificate(surroundings, creation).code, 200);
    EXPECT_EQ(replaceCertificate(surroundings, renewal).code, 200);
    EXPECT_EQ(replaceCertificate(surroundings, again).code, 200);
    EXPECT_EQ(remove(IDENTITY).code, 200);
    EXPECT_EQ(watch.tracesSeen(), 0);
}

TEST_F(BackendMemory, HoldsNoKeyOfASigningRequestOnceItIsInstalled) {
    const CSRResult made = generateCsr(
        surroundings,
        {IDENTITIES, 2048, {}, {{"CommonName", "bmc"}, {"KeyPairAlgorithm", "TPM_ALG_RSA"}}});
    const std::string certificate = signRequest(made.csr, makeAuthority());
    const std::vector<std::string> secrets =
        secretHalf(readFile(surroundings.directory + "/requests/" + filesIn("requests").at(0)));
    const MemoryWatch watch(secrets);
    EXPECT_EQ(create(certificate).code, 200);
    EXPECT_EQ(watch.tracesSeen(), 0);
}

TEST_F(BackendMemory, HoldsNoKeyOfATextThatIsRefused) {
    const TestCertificate made = makeRsaPair();
    const CreateCertRequest creation = {IDENTITIES, textOf(made) + "-----END", "PEM", "1", ""};
    const std::vector<std::string> secrets = secretHalf(made.privateKey);
    const MemoryWatch watch(secrets);
    EXPECT_EQ(createCertificate(surroundings, creation).code, 400);
    EXPECT_EQ(watch.tracesSeen(), 0);
}
