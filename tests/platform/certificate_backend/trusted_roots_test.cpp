// The configured roots: for what they vouch, and when they cannot be used.

#include "platform/certificate_backend/trusted_roots.h"
#include "platform/x509/certificate_chain.h"
#include "tests/platform/certificate_backend/backend_fixture.h"

#include <filesystem>

namespace {

std::string noIssuer(int depth, const std::string& name, const std::string& issuer) {
    return said(
        depth, name,
        "was issued by CN=" + issuer +
            ", which may not be its issuer or is neither in the text nor a configured root. "
            "Send the chain up to one of the roots.");
}

const std::string SELF_SIGNED =
    "is self-signed and none of the configured roots. Send one that leads to a root.";

} // namespace

class RootCa : public CertificateBackend {
protected:
    RootCa() {
        trustOnly(root.certificate);
    }

    // What the command makes of the root with these trust settings.
    [[nodiscard]] std::string trusted(const std::string& settings) const {
        writeFile(temporary.file("plain.pem"), root.certificate);
        return runCommand("openssl x509 -in " + temporary.file("plain.pem") + " -trustout " +
                          settings);
    }

    TestCertificate root = makeAuthority("Root");
    TestCertificate middle = makeSigned(root, {.subject = {{"CN", "Middle"}}, .ca = true});
    TestCertificate leaf = makeSigned(middle);
};

TEST_F(RootCa, VouchesForWhatItIssued) {
    const std::string chain = textOf(leaf) + middle.certificate;
    EXPECT_EQ(refusalOf(textOf(makeSigned(root))), "");
    EXPECT_EQ(refusalOf(chain), "");
    EXPECT_EQ(refusalOf(chain + root.certificate), "");
    trustOnly("# of this board\n" + makeAuthority("Other").certificate + "-- \n" +
              root.certificate);
    EXPECT_EQ(refusalOf(chain), "");
    surroundings.clock.now = 0;
    EXPECT_EQ(refusalOf(chain), "");
}

TEST_F(RootCa, VouchesForNobodyElse) {
    const TestCertificate own = makeSelfSigned();
    const TestCertificate impostor = makeAuthority("Root");
    EXPECT_EQ(refusalOf(textOf(makeSigned(makeAuthority("Stranger")))),
              noIssuer(0, "test.example", "Stranger"));
    EXPECT_EQ(refusalOf(textOf(leaf)), noIssuer(0, "test.example", "Middle"));
    EXPECT_EQ(refusalOf(textOf(own)), said(0, "test.example", SELF_SIGNED));
    EXPECT_EQ(refusalOf(textOf(makeSigned(impostor)) + impostor.certificate),
              said(1, "Root",
                   "is a root, but none of the configured ones. Send one that leads to one of "
                   "these."));
    surroundings.clock.now = 0;
    EXPECT_EQ(refusalOf(textOf(own)), said(0, "test.example", SELF_SIGNED));
    trustOnly(own.certificate);
    EXPECT_EQ(refusalOf(textOf(own)), "");
    trustOnly(middle.certificate); // an intermediate is no root
    EXPECT_EQ(refusalOf(textOf(leaf)), noIssuer(1, "Middle", "Root"));
}

TEST_F(RootCa, VouchesForNoWeakSignatureInItsFile) {
    const CertificateHandle weak = parseCertificate(middle.certificate);
    ASSERT_GT(X509_sign(weak.get(), parsePrivateKey(root.privateKey).get(), EVP_sha1()), 0);
    CertificateChain chain;
    X509_up_ref(weak.get());
    chain.emplace_back(weak.get());
    trustOnly(root.certificate + middle.certificate);
    EXPECT_EQ(refusalOf(textOf(leaf)), "");
    trustOnly(root.certificate + pemText(chain));
    EXPECT_EQ(refusalOf(textOf(leaf)),
              said(1, "Middle",
                   "has a signature that is too weak. Have it issued with SHA-256 or longer."));
}

TEST_F(RootCa, IsItselfJudgedByItsDates) {
    struct Row {
        const char* notBefore;
        const char* notAfter;
        std::time_t now;
        std::string fault;
    };
    for (const Row& row : std::initializer_list<Row>{
             {"20200101000000Z", "20260601000001Z", NOW, ""},
             {"20200101000000Z", "20260601000000Z", NOW,
              "has expired. Send one that is valid now."},
             {"20260601000001Z", "20491231235959Z", NOW,
              "is not valid yet. Send one that is valid now, or set the clock."},
             {"20260601000001Z", "20491231235959Z", 0, ""},
             {"20200101000000Z", "20260101000000Z", 0, "has expired. Send one that is valid now."},
         }) {
        const TestCertificate dated = makeSelfSigned({.subject = {{"CN", "Dated"}},
                                                      .notBefore = row.notBefore,
                                                      .notAfter = row.notAfter,
                                                      .ca = true});
        surroundings.clock.now = row.now;
        trustOnly(dated.certificate);
        EXPECT_EQ(refusalOf(textOf(makeSigned(dated))),
                  row.fault.empty() ? "" : said(1, "Dated", row.fault));
    }
}

TEST_F(RootCa, IsJudgedByItsOwnTrustSettings) {
    const std::string rejected =
        "is rejected for this purpose by its trust settings in the root CA "
        "file. Send one that leads to another root.";
    struct Row {
        const char* settings;
        std::string fault;
    };
    for (const Row& row : std::initializer_list<Row>{
             {"-addtrust serverAuth", ""},
             {"-addtrust anyExtendedKeyUsage", ""},
             {"-addreject serverAuth", rejected},
             {"-addreject anyExtendedKeyUsage", rejected},
             {"-addtrust clientAuth", rejected},
             {"-addreject clientAuth", ""},
         }) {
        trustOnly(trusted(row.settings));
        EXPECT_EQ(refusalOf(textOf(makeSigned(root))),
                  row.fault.empty() ? "" : said(1, "Root", row.fault))
            << row.settings;
    }
    trustOnly(trusted("-addreject clientAuth"));
    EXPECT_EQ(
        refusalOf(textOf(makeSigned(root)), "PEM", "/redfish/v1/UpdateService/ClientCertificates"),
        said(1, "Root", rejected));
}

TEST_F(RootCa, IsNotAskedAboutACollectionOfTrust) {
    EXPECT_EQ(refusalOf(makeAuthority("Stranger").certificate, "PEM", TRUSTED), "");
}

TEST_F(RootCa, OfTheConfigurationCountsOnlyWhenTheRequestNamesNone) {
    const std::string text = textOf(makeSigned(makeAuthority("Stranger")));
    surroundings.rootCaFile = "/nowhere";
    EXPECT_EQ(refusalOf(text), noIssuer(0, "test.example", "Stranger"));
    surroundings.rootCaFile = rootCaFile;
    rootCaFile = "";
    EXPECT_EQ(refusalOf(text), noIssuer(0, "test.example", "Stranger"));
    surroundings.rootCaFile = "";
    EXPECT_EQ(refusalOf(text), "");
}

TEST_F(RootCa, ThatCannotBeUsedStopsInstallationsAndNothingElse) {
    const std::string weak = makeSelfSigned({.key = KeyKind::RSA_1024}).certificate;
    const std::string unusable = "the root CA file " + rootCaFile + " cannot be used: ";
    struct Row {
        const char* name;
        std::string content;
        std::string reason;
    };
    ASSERT_EQ(create(textOf(makeSelfSigned()), "PEM", "/c").code, 400);
    const std::string trust = root.certificate;
    ASSERT_EQ(create(trust, "PEM", TRUSTED).code, 200);
    for (const Row& row : std::vector<Row>{
             {"empty", "", "it holds no certificate"},
             {"no certificate", "hello", "it holds no certificate"},
             {"a key alone", root.privateKey, "it holds no certificate"},
             {"a damaged certificate", root.certificate + pemOf("CERTIFICATE", "abc"),
              "a certificate in it cannot be decoded"},
             {"half a block", root.certificate + "-----BEGIN CERTIFICATE-----\n",
              "A PEM block of the text has no end. Send each block with its last line."},
             {"a weak root", root.certificate + weak,
              "the certificate of CN=test.example has an RSA key of 1024 bits. Accepted are 2048 "
              "to "
              "8192 bits."},
             {"too large", std::string((1 << 20) + 1, '\n'), "it has more than 1048576 bytes"},
         }) {
        trustOnly(row.content);
        try {
            static_cast<void>(create(trust, "PEM", TRUSTED, "2"));
            ADD_FAILURE() << row.name;
        } catch (const UnusableRoots& error) {
            EXPECT_EQ(error.what(), unusable + row.reason) << row.name;
        }
        EXPECT_THROW(static_cast<void>(create(textOf(makeSelfSigned()))), UnusableRoots);
        EXPECT_THROW(static_cast<void>(replace(trust, "PEM", std::string(TRUSTED) + "/1")),
                     UnusableRoots);
    }
    EXPECT_EQ(filesIn("installed").size(), 1U);
    EXPECT_EQ(generateCsr(surroundings, {IDENTITIES, 0, {}, {{"CommonName", "bmc"}}}).code, 200);
    EXPECT_EQ(remove(std::string(TRUSTED) + "/1").code, 200);
}

TEST_F(RootCa, MayBeALinkButMustBeAFile) {
    const std::string link = temporary.file("link.pem");
    std::filesystem::create_symlink(rootCaFile, link);
    EXPECT_NE(loadRoots(link), nullptr);
    for (const auto& [file, reason] :
         {std::pair(temporary.file("missing.pem"), "No such file or directory"),
          std::pair(temporary.path(), "it is no regular file")}) {
        try {
            static_cast<void>(loadRoots(file));
            ADD_FAILURE() << file;
        } catch (const UnusableRoots& error) {
            EXPECT_EQ(error.what(), "the root CA file " + file + " cannot be used: " + reason);
        }
    }
    EXPECT_EQ(loadRoots(""), nullptr);
}

TEST_F(RootCa, MayHaveTheExponentThree) {
    runCommand("openssl req -x509 -nodes -newkey rsa:2048 -pkeyopt rsa_keygen_pubexp:3 -days 20000 "
               "-subj /CN=three -keyout " +
               temporary.file("key.pem") + " -out " + temporary.file("three.pem"));
    surroundings.clock = systemClock();
    const std::string three = readFile(temporary.file("three.pem"));
    EXPECT_NE(loadRoots(temporary.file("three.pem")), nullptr);
    EXPECT_EQ(refusalOf(three, "PEM", TRUSTED), "");
    rootCaFile = "";
    EXPECT_EQ(refusalOf(three + readFile(temporary.file("key.pem"))),
              said(0, "three",
                   "has an RSA key with an unusual exponent. Accepted are odd ones from 65537 to "
                   "4294967295."));
}
