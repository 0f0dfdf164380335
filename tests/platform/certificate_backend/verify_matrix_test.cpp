// `openssl verify` as the judge over a matrix of certificates: the backend accepts nothing that it
// refuses, and is stricter only where that is meant.

#include "tests/platform/certificate_backend/backend_fixture.h"

#include <set>

namespace {

struct Cell {
    KeyKind key;
    const char* extension;
    const char* usage;
    bool ca;
    const char* notBefore;
    const char* notAfter;
    std::string certificate;
    std::string privateKey;
    std::string file;
};

struct Usage {
    const char* extension;
    const char* value;
};

constexpr std::array<KeyKind, 6> KEYS = {KeyKind::RSA_1024, KeyKind::RSA_2048, KeyKind::EC_P256,
                                         KeyKind::EC_P384,  KeyKind::EC_P521,  KeyKind::ED25519};
constexpr std::array<Usage, 8> USAGES = {{{"nsComment", "none"},
                                          {"extendedKeyUsage", "serverAuth"},
                                          {"extendedKeyUsage", "clientAuth"},
                                          {"extendedKeyUsage", "anyExtendedKeyUsage"},
                                          {"keyUsage", "digitalSignature"},
                                          {"keyUsage", "critical,cRLSign"},
                                          {"1.2.3.4", "DER:0500"},
                                          {"1.2.3.4", "critical,DER:0500"}}};
constexpr std::array<std::pair<const char*, const char*>, 3> DATES = {
    {{"20200101000000Z", "20491231235959Z"},
     {"20200101000000Z", "20260601000000Z"}, // over at this second
     {"20260601000001Z", "20491231235959Z"}}};

std::vector<Cell> cellsBelow(const TestCertificate& root, const TempDirectory& files) {
    std::vector<Cell> cells;
    for (const KeyKind key : KEYS) {
        const std::string privateKey = makePrivateKey(key);
        for (const Usage& usage : USAGES) {
            for (const bool ca : {false, true}) {
                for (const auto& [notBefore, notAfter] : DATES) {
                    const std::string certificate =
                        certifyKey(privateKey, root,
                                   {.notBefore = notBefore,
                                    .notAfter = notAfter,
                                    .ca = ca,
                                    .extensions = {{usage.extension, usage.value}}});
                    const std::string file =
                        files.file("cell" + std::to_string(cells.size()) + ".pem");
                    writeFile(file, certificate);
                    cells.push_back({key, usage.extension, usage.value, ca, notBefore, notAfter,
                                     certificate, privateKey, file});
                }
            }
        }
    }
    return cells;
}

// The files that the command accepts.
std::set<std::string> verified(const std::vector<Cell>& cells, const std::string& options) {
    std::string command =
        "openssl verify -no-CAfile -no-CApath -no-CAstore -auth_level 2 -attime " +
        std::to_string(NOW) + " " + options;
    for (const Cell& cell : cells) {
        command += " " + cell.file;
    }
    std::set<std::string> accepted;
    for (const std::string& line : splitLines(runCommand("(" + command + "; true)"))) {
        if (line.ends_with(": OK")) {
            accepted.insert(line.substr(0, line.size() - 4));
        }
    }
    return accepted;
}

} // namespace

class VerifyMatrix : public CertificateBackend {
protected:
    // Every cell in this collection against the command with these options.
    void compare(const std::string& collection, const std::string& options) {
        const std::set<std::string> accepted = verified(cells, options);
        EXPECT_FALSE(accepted.empty());
        EXPECT_LT(accepted.size(), cells.size());
        for (const Cell& cell : cells) {
            const bool judged = accepted.count(cell.file) > 0;
            // Stricter: an issued authority is nobody's identity.
            const std::string refusal =
                refusalOf(cell.privateKey + cell.certificate, "PEM", collection);
            EXPECT_EQ(refusal.empty(), judged && !cell.ca)
                << "key " << static_cast<int>(cell.key) << ", " << cell.extension << " "
                << cell.usage << ", CA " << cell.ca << ", " << cell.notBefore << " to "
                << cell.notAfter << ", " << options << ": verify says " << judged << ", backend "
                << refusal;
        }
        compared += cells.size();
    }

    TestCertificate root = makeAuthority("Root");
    TestCertificate stranger = makeAuthority("Stranger");
    std::vector<Cell> cells = cellsBelow(root, temporary);
    std::size_t compared = 0;
};

TEST_F(VerifyMatrix, NothingIsAcceptedThatOpenSslRefuses) {
    const std::string clients = "/redfish/v1/UpdateService/ClientCertificates";
    std::string leaves;
    for (const Cell& cell : cells) {
        leaves += cell.certificate;
    }
    writeFile(temporary.file("leaves.pem"), leaves);
    // Without a root the text's own last certificate stands for the trusted end.
    const std::string partial = " -partial_chain -trusted " + temporary.file("leaves.pem");
    compare(IDENTITIES, "-purpose sslserver" + partial);
    compare(clients, "-purpose sslclient" + partial);
    trustOnly(root.certificate);
    const std::string rooted = " -trusted " + rootCaFile;
    compare(IDENTITIES, "-purpose sslserver" + rooted);
    compare(clients, "-purpose sslclient" + rooted);
    trustOnly(stranger.certificate);
    for (const Cell& cell : cells) {
        EXPECT_NE(refusalOf(cell.privateKey + cell.certificate, "PEM"), "");
    }
    EXPECT_TRUE(verified(cells, "-purpose sslserver -trusted " + rootCaFile).empty());
    EXPECT_GT(compared, 1000U);
}
