// The checks of a certificate by itself, each by its name and with its exact words.

#include "platform/certificate_backend/admission.h"
#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/key_rules.h"
#include "tests/platform/certificate_backend/backend_fixture.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/param_build.h>

namespace {

constexpr BoardClock CLOCK = {NOW, BUILD_DATE};
constexpr BoardClock UNSET_CLOCK = {0, BUILD_DATE};

using NumberHandle = std::unique_ptr<BIGNUM, OpenSSLRelease<BN_free>>;

// An RSA public key of these sizes. Nobody knows its factors.
KeyHandle rsaKey(int bits, const char* exponentInHex) {
    const NumberHandle modulus(BN_new());
    BN_rand(modulus.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ODD);
    BIGNUM* number = nullptr;
    BN_hex2bn(&number, exponentInHex);
    const NumberHandle exponent(number);
    const std::unique_ptr<OSSL_PARAM_BLD, OpenSSLRelease<OSSL_PARAM_BLD_free>> builder(
        OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, modulus.get());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, exponent.get());
    const std::unique_ptr<OSSL_PARAM, OpenSSLRelease<OSSL_PARAM_free>> parameters(
        OSSL_PARAM_BLD_to_param(builder.get()));
    const KeyContextHandle context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* key = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters.get());
    return KeyHandle(key);
}

// A certificate as the command makes it with these arguments.
CertificateHandle made(const std::string& arguments) {
    TempDirectory files;
    const std::string certificate = files.file("certificate.pem");
    runCommand("openssl req -x509 -nodes -subj /CN=test -keyout " + files.file("key.pem") +
               " -out " + certificate + " " + arguments);
    return parseCertificate(readFile(certificate));
}

std::string useFaultOf(const TestCertificate& certificate, CollectionKind kind) {
    return identityUseFault(parseCertificate(certificate.certificate).get(), kind).value_or("");
}

} // namespace

TEST(Validity, HoldsFromItsFirstSecondToTheOneBeforeItsEnd) {
    constexpr BoardClock JUST_UNSET = {BUILD_DATE - 1, BUILD_DATE};
    constexpr BoardClock JUST_SET = {BUILD_DATE, BUILD_DATE};
    struct Row {
        const char* notBefore;
        const char* notAfter;
        BoardClock clock;
        std::string fault;
    };
    const auto expired = [](const std::string& date) {
        return "expired at " + date + ". Send one that is valid now.";
    };
    const auto early = [](const std::string& date) {
        return "is not valid before " + date + ". Send one that is valid now, or set the clock.";
    };
    for (const Row& row : std::initializer_list<Row>{
             {"20260601000000Z", "20260601000001Z", CLOCK, ""},
             {"20200101000000Z", "20260601000000Z", CLOCK, expired("2026-06-01T00:00:00Z")},
             {"20200101000000Z", "99991231235959Z", CLOCK, ""},
             {"19600101000000Z", "19610101000000Z", CLOCK, expired("1961-01-01T00:00:00Z")},
             {"20260601000001Z", "20491231235959Z", CLOCK, early("2026-06-01T00:00:01Z")},
             {"20770101000000Z", "20780101000000Z", CLOCK, early("2077-01-01T00:00:00Z")},
             {"20260601000001Z", "20491231235959Z", UNSET_CLOCK, ""},
             {"20260601000001Z", "20491231235959Z", JUST_UNSET, ""},
             {"20260601000001Z", "20491231235959Z", JUST_SET, early("2026-06-01T00:00:01Z")},
             {"20200101000000Z", "20260101000000Z", UNSET_CLOCK, expired("2026-01-01T00:00:00Z")},
             {"20200101000000Z", "20260101000001Z", UNSET_CLOCK, ""},
         }) {
        const TestCertificate certificate =
            makeSelfSigned({.notBefore = row.notBefore, .notAfter = row.notAfter});
        EXPECT_EQ(
            validityFault(parseCertificate(certificate.certificate).get(), row.clock).value_or(""),
            row.fault);
    }
}

TEST(KeyRules, BoundTheLengthOfRsaKeysByWhatTheyServeFor) {
    struct Row {
        int bits;
        KeyRules rules;
        std::string largest; // in the refusal; empty when accepted
    };
    for (const Row& row : std::initializer_list<Row>{{2048, IDENTITY_KEY_RULES, ""},
                                                     {4096, IDENTITY_KEY_RULES, ""},
                                                     {4097, IDENTITY_KEY_RULES, "4096"},
                                                     {2047, IDENTITY_KEY_RULES, "4096"},
                                                     {2048, ISSUER_KEY_RULES, ""},
                                                     {8192, ISSUER_KEY_RULES, ""},
                                                     {8193, ISSUER_KEY_RULES, "8192"},
                                                     {1024, ISSUER_KEY_RULES, "8192"},
                                                     {8192, ROOT_KEY_RULES, ""},
                                                     {8193, ROOT_KEY_RULES, "8192"},
                                                     {390000, ROOT_KEY_RULES, "8192"}}) {
        EXPECT_EQ(keyFault(rsaKey(row.bits, "10001").get(), row.rules).value_or(""),
                  row.largest.empty()
                      ? ""
                      : "has an RSA key of " + std::to_string(row.bits) +
                            " bits. Accepted are 2048 to " + row.largest + " bits.");
    }
}

TEST(KeyRules, BoundTheExponent) {
    struct Row {
        const char* exponent;
        KeyRules rules;
        std::string smallest; // in the refusal; empty when accepted
    };
    for (const Row& row : std::initializer_list<Row>{{"10001", IDENTITY_KEY_RULES, ""},
                                                     {"FFFFFFFF", IDENTITY_KEY_RULES, ""},
                                                     {"FFFF", IDENTITY_KEY_RULES, "65537"},
                                                     {"3", ISSUER_KEY_RULES, "65537"},
                                                     {"10002", ISSUER_KEY_RULES, "65537"},
                                                     {"100000001", ISSUER_KEY_RULES, "65537"},
                                                     {"3", ROOT_KEY_RULES, ""},
                                                     {"1", ROOT_KEY_RULES, "3"},
                                                     {"4", ROOT_KEY_RULES, "3"}}) {
        EXPECT_EQ(keyFault(rsaKey(2048, row.exponent).get(), row.rules).value_or(""),
                  row.smallest.empty()
                      ? ""
                      : "has an RSA key with an unusual exponent. Accepted are odd "
                        "ones from " +
                            row.smallest + " to 4294967295.");
    }
}

TEST(KeyRules, NameTheCurvesAndAlgorithms) {
    const std::string accepted =
        " Accepted are RSA of 2048 bits or more, P-256, P-384, P-521 and Ed25519.";
    const std::string otherCurve =
        "has a key on another curve than P-256, P-384 and P-521." + accepted;
    for (const auto& [kind, fault] : std::vector<std::pair<std::string, std::string>>{
             {"ec -pkeyopt ec_paramgen_curve:P-256", ""},
             {"ec -pkeyopt ec_paramgen_curve:P-384", ""},
             {"ec -pkeyopt ec_paramgen_curve:P-521", ""},
             {"ec -pkeyopt ec_paramgen_curve:P-256 -pkeyopt ec_param_enc:explicit",
              "has a key with the numbers of its curve spelt out. Give the curve by its name."},
             {"ec -pkeyopt ec_paramgen_curve:secp256k1", otherCurve},
             {"ec -pkeyopt ec_paramgen_curve:secp224r1", otherCurve},
             {"ec -pkeyopt ec_paramgen_curve:brainpoolP256r1", otherCurve},
             {"ed25519", ""},
             {"ed448", "has a key of another algorithm." + accepted},
             {"rsa-pss -pkeyopt rsa_keygen_bits:2048", ""},
             {"rsa-pss -pkeyopt rsa_keygen_bits:2048 -pkeyopt rsa_pss_keygen_md:sha512 -sha512",
              ""},
             {"rsa-pss -pkeyopt rsa_keygen_bits:2048 -pkeyopt rsa_pss_keygen_md:sha1 -sha1",
              "has an RSA-PSS key for the digest SHA1 alone, which is too weak. Accepted are "
              "SHA-224 and longer ones."},
         }) {
        EXPECT_EQ(keyFault(X509_get0_pubkey(made("-newkey " + kind).get()), IDENTITY_KEY_RULES)
                      .value_or(""),
                  fault)
            << kind;
    }
    EXPECT_EQ(keyFault(nullptr, IDENTITY_KEY_RULES),
              "has a public key that cannot be read." + accepted);
}

TEST(SignatureStrength, IsAtLeast112Bits) {
    for (const auto& [arguments, algorithm] : std::vector<std::pair<std::string, std::string>>{
             {"rsa:2048 -sha256", ""},
             {"rsa:2048 -sha512", ""},
             {"rsa:2048 -sha1", "sha1WithRSAEncryption"},
             {"rsa:2048 -md5", "md5WithRSAEncryption"},
             {"ed25519", ""},
         }) {
        EXPECT_EQ(signatureFault(made("-newkey " + arguments).get()).value_or(""),
                  algorithm.empty() ? ""
                                    : "has a signature that is too weak (" + algorithm +
                                          "). Have it issued with SHA-256 or longer.");
    }
}

TEST(IdentityUse, IsThatOfTheCollectionByItsOwnName) {
    const TestCertificate authority = makeAuthority();
    const auto lacking = [](const std::string& purpose) {
        return "has an extended key usage without " + purpose +
               ". Have it issued with it, or without an extended key usage.";
    };
    struct Row {
        const char* extension;
        const char* value;
        std::string server;
        std::string client;
    };
    const std::string noServerBit =
        "has a key usage without digitalSignature, keyEncipherment or keyAgreement. Have it issued "
        "with one of these, or without a key usage.";
    const std::string noClientBit =
        "has a key usage without digitalSignature or keyAgreement. Have it issued with one of "
        "these, or without a key usage.";
    for (const Row& row : std::initializer_list<Row>{
             {"nsComment", "neither", "", ""},
             {"extendedKeyUsage", "serverAuth", "", lacking("clientAuth")},
             {"extendedKeyUsage", "clientAuth", lacking("serverAuth"), ""},
             {"extendedKeyUsage", "clientAuth,serverAuth", "", ""},
             {"extendedKeyUsage", "anyExtendedKeyUsage", lacking("serverAuth"),
              lacking("clientAuth")},
             {"extendedKeyUsage", "1.2.3.4", lacking("serverAuth"), lacking("clientAuth")},
             {"keyUsage", "digitalSignature", "", ""},
             {"keyUsage", "keyAgreement", "", ""},
             {"keyUsage", "keyEncipherment", "", noClientBit},
             {"keyUsage", "cRLSign", noServerBit, noClientBit},
             {"keyUsage", "critical,keyCertSign,nonRepudiation", noServerBit, noClientBit},
         }) {
        const TestCertificate certificate =
            makeSigned(authority, {.extensions = {{row.extension, row.value}}});
        EXPECT_EQ(useFaultOf(certificate, CollectionKind::SERVER), row.server) << row.value;
        EXPECT_EQ(useFaultOf(certificate, CollectionKind::CLIENT), row.client) << row.value;
    }
}

TEST(IdentityUse, IsRefusedToAnAuthorityUnlessItIsSelfSigned) {
    EXPECT_EQ(useFaultOf(makeSigned(makeAuthority(), {.ca = true}), CollectionKind::SERVER),
              "is that of a certification authority. Send one with basicConstraints CA:FALSE.");
    EXPECT_EQ(useFaultOf(makeSelfSigned({.ca = true}), CollectionKind::SERVER), "");
}

// ---- chains, without a configured root ----

using Admission = CertificateBackend;

TEST_F(Admission, JudgesEveryCertificateOfTheChainWithoutARoot) {
    const TestCertificate root = makeAuthority("Root");
    const auto middle = [&](CertificateOptions options) {
        options.subject = {{"CN", "Middle"}};
        return makeSigned(root, options);
    };
    const auto below = [&](const TestCertificate& issuer, const CertificateOptions& options = {}) {
        return textOf(makeSigned(issuer, options)) + issuer.certificate;
    };
    const std::string critical = "1.2.3.4";
    const std::string unknownExtension =
        "has a critical extension that is not known here. Have it issued without.";
    const std::string noAuthority =
        "is no certification authority, but another certificate is said "
        "to be issued by it. Send one that an authority issued.";
    const TestCertificate noSigner =
        middle({.ca = true, .extensions = {{"keyUsage", "critical,digitalSignature"}}});
    const TestCertificate narrow =
        makeSelfSigned({.subject = {{"CN", "Narrow"}},
                        .ca = true,
                        .extensions = {{"nameConstraints", "critical,permitted;DNS:example.org"}}});
    struct Row {
        const char* name;
        std::string text;
        std::string fault;
    };
    for (const Row& row : std::vector<Row>{
             {"a good chain", below(middle({.ca = true})) + root.certificate, ""},
             {"a partial chain", below(middle({.ca = true})), ""},
             {"a leaf alone", textOf(makeSigned(root)), ""},
             {"a leaf for CRLs",
              textOf(makeSigned(root, {.extensions = {{"keyUsage", "cRLSign"}}})),
              said(
                  0, "test.example",
                  "has a key usage without digitalSignature, keyEncipherment or keyAgreement. Have "
                  "it issued with one of these, or without a key usage.")},
             {"an issued authority as leaf", textOf(middle({.ca = true})),
              said(0, "Middle",
                   "is that of a certification authority. Send one with basicConstraints "
                   "CA:FALSE.")},
             {"a self-signed authority as leaf", textOf(makeSelfSigned({.ca = true})), ""},
             {"an unknown critical extension of a leaf",
              textOf(makeSigned(root, {.extensions = {{critical, "critical,DER:0500"}}})),
              said(0, "test.example", unknownExtension)},
             {"an unknown critical extension of an issuer",
              below(middle({.ca = true, .extensions = {{critical, "critical,DER:0500"}}})),
              said(1, "Middle", unknownExtension)},
             {"an unknown extension",
              textOf(makeSigned(root, {.extensions = {{critical, "DER:0500"}}})), ""},
             {"an issuer that is no authority", below(middle({})), said(1, "Middle", noAuthority)},
             {"an issuer whose key usage is no issuer's", below(noSigner),
              said(1, "Middle", noAuthority)},
             {"an expired issuer", below(middle({.notAfter = "20251231235959Z", .ca = true})),
              said(1, "Middle", "expired at 2025-12-31T23:59:59Z. Send one that is valid now.")},
             {"a weak issuer", below(middle({.ca = true, .key = KeyKind::RSA_1024})),
              said(1, "Middle", "has an RSA key of 1024 bits. Accepted are 2048 to 8192 bits.")},
             {"a name that an issuer does not permit",
              below(narrow, {.extensions = {{"subjectAltName", "DNS:example.com"}}}),
              said(0, "test.example",
                   "has a name that its issuers' name constraints do not permit. Have it issued "
                   "with another.")},
             {"a name that an issuer permits",
              below(narrow, {.subject = {{"O", "Example"}},
                            .extensions = {{"subjectAltName", "DNS:a.example.org"}}}),
              ""},
             {"an issuer for clients only",
              below(middle({.ca = true, .extensions = {{"extendedKeyUsage", "clientAuth"}}})),
              said(
                  1, "Middle",
                  "may not be used for this collection's purpose, by its key usage or extended key "
                  "usage. Send one that may.")},
         }) {
        EXPECT_EQ(refusalOf(row.text), row.fault) << row.name;
    }
}

TEST_F(Admission, BoundsPathLengths) {
    const TestCertificate top = makeSelfSigned({.subject = {{"CN", "Top"}}, .ca = true});
    const auto limited = changed(top.certificate, top.privateKey, [](X509* certificate) {
        const ExtensionHandle old(X509_delete_ext(
            certificate, X509_get_ext_by_NID(certificate, NID_basic_constraints, -1)));
        const ExtensionHandle bound(X509V3_EXT_conf_nid(nullptr, nullptr, NID_basic_constraints,
                                                        "critical,CA:TRUE,pathlen:0"));
        X509_add_ext(certificate, bound.get(), -1);
    });
    const TestCertificate middle = makeSigned(top, {.subject = {{"CN", "Middle"}}, .ca = true});
    EXPECT_EQ(refusalOf(textOf(makeSigned(top)) + limited), "");
    EXPECT_EQ(refusalOf(textOf(makeSigned(middle)) + middle.certificate + limited),
              said(2, "Top",
                   "allows fewer certificates below it. Send one that was issued within its path "
                   "length."));
}

TEST_F(Admission, ReadsNoMoreThanSixtyFourExtensions) {
    const auto withExtensions = [](int count) {
        CertificateOptions options;
        for (int i = 3; i < count; ++i) { // beside the three that each has
            options.extensions.emplace_back("1.2.3." + std::to_string(i), "DER:0500");
        }
        return textOf(makeSelfSigned(options));
    };
    EXPECT_EQ(refusalOf(withExtensions(64)), "");
    EXPECT_EQ(refusalOf(withExtensions(65)),
              said(0, "test.example", "has more than 64 extensions. Have it issued with fewer."));
}

TEST_F(Admission, BoundsTheComparisonsOfNames) {
    std::string constraints = "permitted;DNS:example";
    std::string names = "DNS:a.example";
    for (int i = 1; i < 300; ++i) {
        constraints += ",permitted;DNS:e" + std::to_string(i);
        names += ",DNS:a" + std::to_string(i) + ".example";
    }
    const TestCertificate issuer =
        makeSelfSigned({.ca = true, .extensions = {{"nameConstraints", constraints}}});
    const TestCertificate leaf =
        makeSigned(issuer, {.subject = {}, .extensions = {{"subjectAltName", names}}});
    EXPECT_EQ(refusalOf(textOf(leaf) + issuer.certificate),
              "The chain has too many alternative names and name constraints to compare. Send one "
              "with fewer.");
    EXPECT_EQ(refusalOf(textOf(leaf)), "");
}

TEST_F(Admission, AsksClientIdentitiesForTheClientsPurpose) {
    constexpr const char* CLIENTS = "/redfish/v1/UpdateService/ClientCertificates";
    const auto with = [](const char* purpose) {
        return textOf(makeSelfSigned({.extensions = {{"extendedKeyUsage", purpose}}}));
    };
    EXPECT_EQ(refusalOf(with("clientAuth"), "PEM", CLIENTS), "");
    EXPECT_EQ(
        refusalOf(with("serverAuth"), "PEM", CLIENTS),
        said(0, "test.example",
             "has an extended key usage without clientAuth. Have it issued with it, or without "
             "an extended key usage."));
    const TestCertificate root =
        makeSelfSigned({.subject = {{"CN", "Root"}},
                        .ca = true,
                        .extensions = {{"extendedKeyUsage", "serverAuth"}}});
    EXPECT_EQ(
        refusalOf(textOf(makeSigned(root)) + root.certificate, "PEMchain", CLIENTS),
        said(1, "Root",
             "may not be used for this collection's purpose, by its key usage or extended key "
             "usage. Send one that may."));
}

TEST_F(Admission, OfTrustAsksForNoPurposeButForSoundCertificates) {
    const TestCertificate root = makeAuthority("Root");
    struct Row {
        const char* name;
        std::string text;
        std::string fault;
    };
    for (const Row& row : std::vector<Row>{
             {"a root", root.certificate, ""},
             {"an issued authority", makeSigned(root, {.ca = true}).certificate, ""},
             {"a client's certificate",
              makeSelfSigned({.extensions = {{"extendedKeyUsage", "clientAuth"}}}).certificate, ""},
             {"a leaf for CRLs",
              makeSigned(root, {.extensions = {{"keyUsage", "cRLSign"}}}).certificate, ""},
             {"a certificate and its issuer", makeSigned(root).certificate + root.certificate, ""},
             {"an unknown critical extension",
              makeSelfSigned({.extensions = {{"1.2.3.4", "critical,DER:0500"}}}).certificate,
              said(0, "test.example",
                   "has a critical extension that is not known here. Have it issued without.")},
             {"an expired root",
              makeSelfSigned({.notAfter = "20260531235959Z", .ca = true}).certificate,
              said(0, "test.example",
                   "expired at 2026-05-31T23:59:59Z. Send one that is valid now.")},
         }) {
        EXPECT_EQ(refusalOf(row.text, "PEMchain", TRUSTED), row.fault) << row.name;
    }
}
