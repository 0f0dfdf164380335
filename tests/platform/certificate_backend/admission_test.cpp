// The checks of a certificate, each by its name and with its exact words.

#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/key_pair.h"
#include "tests/platform/certificate_backend/backend_fixture.h"

#include <openssl/core_names.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>

namespace {

constexpr BoardClock CLOCK = {NOW, BUILD_DATE};
constexpr BoardClock UNSET_CLOCK = {0, BUILD_DATE};

using NumberHandle = std::unique_ptr<BIGNUM, OpenSSLRelease<BN_free>>;

NumberHandle numberOf(EVP_PKEY* key, const char* name) {
    BIGNUM* number = nullptr;
    EVP_PKEY_get_bn_param(key, name, &number);
    return NumberHandle(number);
}

// An RSA key of any numbers; with a private exponent, a key pair.
KeyHandle rsaKey(const NumberHandle& modulus, const NumberHandle& exponent,
                 const BIGNUM* privateExponent = nullptr) {
    const std::unique_ptr<OSSL_PARAM_BLD, OpenSSLRelease<OSSL_PARAM_BLD_free>> builder(
        OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, modulus.get());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, exponent.get());
    if (privateExponent != nullptr) {
        OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_D, privateExponent);
    }
    const std::unique_ptr<OSSL_PARAM, OpenSSLRelease<OSSL_PARAM_free>> parameters(
        OSSL_PARAM_BLD_to_param(builder.get()));
    const KeyContextHandle context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* key = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    EVP_PKEY_fromdata(context.get(), &key,
                      privateExponent == nullptr ? EVP_PKEY_PUBLIC_KEY : EVP_PKEY_KEYPAIR,
                      parameters.get());
    return KeyHandle(key);
}

// Of a certificate that shows an RSA public key of that many bits. Nobody knows its factors: the
// signature is made with another key.
std::string rsaFaultOf(int bits) {
    const NumberHandle modulus(BN_new());
    const NumberHandle exponent(BN_new());
    BN_rand(modulus.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ODD);
    BN_set_word(exponent.get(), 65537);
    const CertificateHandle certificate = parseCertificate(makeSelfSigned().certificate);
    const KeyHandle signer = makeEcKey("P-256");
    X509_set_pubkey(certificate.get(), rsaKey(modulus, exponent).get());
    X509_sign(certificate.get(), signer.get(), EVP_sha256());
    return keyFault(certificate.get()).value_or("");
}

// A certificate as the command makes it with these arguments.
CertificateHandle made(const std::string& arguments) {
    TempDirectory files;
    const std::string certificate = files.file("certificate.pem");
    runCommand("openssl req -x509 -nodes -subj /CN=test -keyout " + files.file("key.pem") +
               " -out " + certificate + " " + arguments);
    return parseCertificate(readFile(certificate));
}

std::string useFaultOf(const TestCertificate& certificate) {
    return serverUseFault(parseCertificate(certificate.certificate).get()).value_or("");
}

// An authority whose root stands in a file, and what it issues.
class RootCa : public testing::Test {
protected:
    RootCa() {
        writeFile(rootFile, root.certificate);
    }

    [[nodiscard]] std::string faultOf(const std::string& text, const BoardClock& clock = CLOCK,
                                      CollectionKind kind = CollectionKind::IDENTITY) const {
        ChainAndKey read;
        if (const Fault fault = readCertificateText(text, CertificateType::CHAIN, read)) {
            return *fault;
        }
        return admissionFault(read, kind, rootFile, clock).value_or("");
    }

    TempDirectory files;
    std::string rootFile = files.file("root.pem");
    TestCertificate root = makeAuthority("Root");
    TestCertificate middle = makeSigned(root, {.subject = {{"CN", "Middle"}}, .ca = true});
    TestCertificate leaf = makeSigned(middle);
};

std::string untrusted(const std::string& reason) {
    return "the certificate does not lead to a trusted root: " + reason;
}

} // namespace

TEST(Validity, HoldsFromTheFirstToTheLastSecondOfASetClock) {
    constexpr BoardClock JUST_UNSET = {BUILD_DATE - 1, BUILD_DATE};
    constexpr BoardClock JUST_SET = {BUILD_DATE, BUILD_DATE};
    struct Row {
        const char* notBefore;
        const char* notAfter;
        BoardClock clock;
        const char* fault;
    };
    for (const Row& row : std::initializer_list<Row>{
             {"20260601000000Z", "20260601000000Z", CLOCK, ""},
             {"20200101000000Z", "20491231235959Z", CLOCK, ""},
             {"20200101000000Z", "99991231235959Z", CLOCK, ""},
             {"20200101000000Z", "20260531235959Z", CLOCK, "expired at 2026-05-31T23:59:59Z"},
             {"19600101000000Z", "19610101000000Z", CLOCK, "expired at 1961-01-01T00:00:00Z"},
             {"20260601000001Z", "20491231235959Z", CLOCK,
              "is not valid before 2026-06-01T00:00:01Z"},
             {"20770101000000Z", "20780101000000Z", CLOCK,
              "is not valid before 2077-01-01T00:00:00Z"},
             {"20260601000001Z", "20491231235959Z", UNSET_CLOCK, ""},
             {"20260601000001Z", "20491231235959Z", JUST_UNSET, ""},
             {"20260601000001Z", "20491231235959Z", JUST_SET,
              "is not valid before 2026-06-01T00:00:01Z"},
             {"20200101000000Z", "20251231235959Z", UNSET_CLOCK, "expired at 2025-12-31T23:59:59Z"},
             {"20200101000000Z", "20260101000000Z", UNSET_CLOCK, ""},
         }) {
        const TestCertificate certificate =
            makeSelfSigned({.notBefore = row.notBefore, .notAfter = row.notAfter});
        const Fault fault =
            validityFault(parseCertificate(certificate.certificate).get(), row.clock);
        EXPECT_EQ(fault.value_or(""),
                  *row.fault == '\0' ? "" : std::string("the certificate ") + row.fault);
    }
}

TEST(KeyStrength, IsThatOfRsaFrom2048To8192Bits) {
    EXPECT_EQ(rsaFaultOf(2048), "");
    EXPECT_EQ(rsaFaultOf(8192), "");
    for (const int bits : {1024, 2047, 8193}) {
        EXPECT_EQ(rsaFaultOf(bits), "the certificate's RSA key has " + std::to_string(bits) +
                                        " bits, not 2048 to 8192");
    }
}

TEST(KeyStrength, IsThatOfThreeCurvesEd25519AndRsaForProbabilisticSignatures) {
    const std::string otherCurve =
        "the certificate's key is not on the curve P-256, P-384 or P-521";
    for (const auto& [kind, fault] : std::vector<std::pair<std::string, std::string>>{
             {"ec -pkeyopt ec_paramgen_curve:P-256", ""},
             {"ec -pkeyopt ec_paramgen_curve:P-384", ""},
             {"ec -pkeyopt ec_paramgen_curve:P-521", ""},
             {"ec -pkeyopt ec_paramgen_curve:secp256k1", otherCurve},
             {"ec -pkeyopt ec_paramgen_curve:secp224r1", otherCurve},
             {"ec -pkeyopt ec_paramgen_curve:brainpoolP256r1", otherCurve},
             {"ed25519", ""},
             {"ed448", "the certificate's key is neither RSA nor P-256, P-384, P-521 or Ed25519"},
             {"rsa-pss -pkeyopt rsa_keygen_bits:2048", ""},
         }) {
        EXPECT_EQ(keyFault(made("-newkey " + kind).get()).value_or(""), fault) << kind;
    }
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
                  algorithm.empty() ? "" : "the certificate's signature is too weak: " + algorithm);
    }
}

TEST(ServerUse, IsAskedForWhereAnExtendedKeyUsageIs) {
    const TestCertificate authority = makeAuthority();
    EXPECT_EQ(useFaultOf(makeSigned(authority)), "");
    const std::string lacking = "the certificate's extended key usage lacks server authentication";
    for (const auto& [usage, fault] : std::vector<std::pair<std::string, std::string>>{
             {"serverAuth", ""},
             {"clientAuth,serverAuth", ""},
             {"anyExtendedKeyUsage", ""},
             {"clientAuth", lacking},
             {"1.2.3.4", lacking},
         }) {
        EXPECT_EQ(useFaultOf(makeSigned(authority, {.extensions = {{"extendedKeyUsage", usage}}})),
                  fault)
            << usage;
    }
}

TEST(ServerUse, IsRefusedToAnAuthorityUnlessItIsSelfSigned) {
    EXPECT_EQ(useFaultOf(makeSigned(makeAuthority(), {.ca = true})),
              "the certificate is that of a certification authority");
    EXPECT_EQ(useFaultOf(makeAuthority()), "");
}

TEST(KeyPairs, BelongTogetherWhenASignatureIsVerified) {
    for (const KeyKind kind :
         {KeyKind::RSA_2048, KeyKind::EC_P256, KeyKind::EC_P521, KeyKind::ED25519}) {
        const KeyHandle one = parsePrivateKey(makePrivateKey(kind));
        const KeyHandle other = parsePrivateKey(makePrivateKey(kind));
        EXPECT_TRUE(keysBelongTogether(one.get(), one.get()));
        EXPECT_FALSE(keysBelongTogether(one.get(), other.get()));
    }
}

TEST(KeyPairs, DoNotBelongTogetherWhenThePrivateHalfIsDamaged) {
    const KeyHandle good = parsePrivateKey(makePrivateKey(KeyKind::RSA_2048));
    const NumberHandle modulus = numberOf(good.get(), OSSL_PKEY_PARAM_RSA_N);
    const NumberHandle exponent = numberOf(good.get(), OSSL_PKEY_PARAM_RSA_E);
    const KeyHandle damaged = rsaKey(modulus, exponent, exponent.get());
    ASSERT_NE(damaged, nullptr);
    EXPECT_EQ(EVP_PKEY_eq(damaged.get(), good.get()), 1);
    EXPECT_FALSE(keysBelongTogether(damaged.get(), good.get()));
}

TEST_F(RootCa, VouchesForWhatItIssued) {
    const std::string chain = leaf.certificate + middle.certificate;
    EXPECT_EQ(faultOf(makeSigned(root).certificate), "");
    EXPECT_EQ(faultOf(chain), "");
    EXPECT_EQ(faultOf(chain + root.certificate), "");
    EXPECT_EQ(faultOf(chain, UNSET_CLOCK), "");
    writeFile(rootFile, makeAuthority("Other").certificate + root.certificate);
    EXPECT_EQ(faultOf(chain), "");
}

TEST_F(RootCa, VouchesForNobodyElse) {
    const TestCertificate own = makeSelfSigned();
    const TestCertificate impostor = makeAuthority("Root");
    const std::string noIssuer = untrusted("unable to get local issuer certificate");
    EXPECT_EQ(faultOf(makeSigned(makeAuthority("Stranger")).certificate), noIssuer);
    EXPECT_EQ(faultOf(leaf.certificate), noIssuer); // the middle is missing
    EXPECT_EQ(faultOf(own.certificate), untrusted("self-signed certificate"));
    EXPECT_EQ(faultOf(own.certificate, UNSET_CLOCK), untrusted("self-signed certificate"));
    EXPECT_EQ(faultOf(makeSigned(impostor).certificate + impostor.certificate),
              untrusted("self-signed certificate in certificate chain"));
    writeFile(rootFile, own.certificate);
    EXPECT_EQ(faultOf(own.certificate), "");
    writeFile(rootFile, middle.certificate); // an intermediate is no root
    EXPECT_EQ(faultOf(leaf.certificate), untrusted("unable to get issuer certificate"));
}

TEST_F(RootCa, VouchesForNobodyBelowALeaf) {
    const TestCertificate first = makeSigned(root);
    const TestCertificate below = makeSigned(first, {.subject = {{"CN", "Below a leaf"}}});
    EXPECT_EQ(faultOf(below.certificate + first.certificate), untrusted("invalid CA certificate"));
}

TEST_F(RootCa, IsItselfJudgedByStrengthAndDates) {
    struct Row {
        CertificateOptions root;
        BoardClock clock;
        std::string fault;
    };
    for (const Row& row : std::vector<Row>{
             {{.subject = {{"CN", "Weak"}}, .ca = true, .key = KeyKind::RSA_1024},
              CLOCK,
              untrusted("CA certificate key too weak")},
             {{.subject = {{"CN", "Old"}}, .notAfter = "20251231235959Z", .ca = true},
              CLOCK,
              untrusted("certificate has expired")},
             {{.subject = {{"CN", "Young"}}, .notBefore = "20480101000000Z", .ca = true},
              CLOCK,
              untrusted("certificate is not yet valid")},
             {{.subject = {{"CN", "Young"}}, .notBefore = "20480101000000Z", .ca = true},
              UNSET_CLOCK,
              ""},
         }) {
        const TestCertificate other = makeSelfSigned(row.root);
        writeFile(rootFile, other.certificate);
        EXPECT_EQ(faultOf(makeSigned(other).certificate, row.clock), row.fault);
    }
}

TEST_F(RootCa, IsAFaultOfTheMachineWhenItCannotBeRead) {
    const std::string text = makeSigned(root).certificate;
    for (const char* content : {"", "not a certificate"}) {
        writeFile(rootFile, content);
        EXPECT_THROW(static_cast<void>(faultOf(text)), std::runtime_error);
    }
    rootFile = files.file("missing.pem");
    EXPECT_THROW(static_cast<void>(faultOf(text)), std::runtime_error);
}

TEST_F(RootCa, IsNotAskedAboutACollectionOfTrust) {
    EXPECT_EQ(faultOf(makeAuthority("Stranger").certificate, CLOCK, CollectionKind::TRUST), "");
}

TEST_F(RootCa, IsNotEnoughForAChainWithABadCertificate) {
    const TestCertificate expired =
        makeSigned(root, {.subject = {{"CN", "Old"}}, .notAfter = "20251231235959Z", .ca = true});
    EXPECT_EQ(faultOf(makeSigned(expired).certificate + expired.certificate),
              "the certificate expired at 2025-12-31T23:59:59Z");
    const TestCertificate weak =
        makeSigned(root, {.subject = {{"CN", "Weak"}}, .ca = true, .key = KeyKind::RSA_1024});
    EXPECT_EQ(faultOf(makeSigned(weak).certificate + weak.certificate),
              "the certificate's RSA key has 1024 bits, not 2048 to 8192");
}
