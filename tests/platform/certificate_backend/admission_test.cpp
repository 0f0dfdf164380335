// The checks of a certificate, each by its name and with its exact phrase.

#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/key_pair.h"
#include "tests/platform/certificate_backend/backend_fixture.h"
#include "tests/support/certificates.h"

#include <gtest/gtest.h>
#include <openssl/core_names.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>

namespace {

constexpr BoardClock CLOCK = {NOW, BUILD_DATE};
constexpr BoardClock UNSET_CLOCK = {0, BUILD_DATE};

std::string validityOf(const std::string& notBefore, const std::string& notAfter,
                       const BoardClock& clock) {
    CertificateOptions options;
    options.notBefore = notBefore;
    options.notAfter = notAfter;
    return validityFault(parseCertificate(makeSelfSigned(options).certificate).get(), clock)
        .value_or("");
}

// A certificate that shows an RSA public key of that many bits. Nobody knows its factors: the
// signature is made with another key.
CertificateHandle withRsaBits(int bits) {
    const std::unique_ptr<BIGNUM, OpenSSLRelease<BN_free>> modulus(BN_new());
    const std::unique_ptr<BIGNUM, OpenSSLRelease<BN_free>> exponent(BN_new());
    BN_rand(modulus.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ODD);
    BN_set_word(exponent.get(), 65537);
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
    const KeyHandle owner(key);

    CertificateHandle certificate = parseCertificate(makeSelfSigned().certificate);
    const KeyHandle signer = makeEcKey("P-256");
    X509_set_pubkey(certificate.get(), key);
    X509_sign(certificate.get(), signer.get(), EVP_sha256());
    return certificate;
}

std::string keyFaultOf(const std::string& newKeyArguments) {
    TempDirectory files;
    const std::string certificate = files.file("certificate.pem");
    runCommand("openssl req -x509 -nodes -subj /CN=test -keyout " + files.file("key.pem") +
               " -out " + certificate + " " + newKeyArguments);
    return keyFault(parseCertificate(readFile(certificate)).get()).value_or("");
}

std::string signatureFaultOf(const std::string& digest) {
    TempDirectory files;
    const std::string certificate = files.file("certificate.pem");
    runCommand("openssl req -x509 -nodes -newkey rsa:2048 -subj /CN=test -keyout " +
               files.file("key.pem") + " -out " + certificate + " " + digest);
    return signatureFault(parseCertificate(readFile(certificate)).get()).value_or("");
}

std::string useFaultOf(bool ca, const std::string& extendedKeyUsage) {
    CertificateOptions options;
    options.ca = ca;
    if (!extendedKeyUsage.empty()) {
        options.extensions = {{"extendedKeyUsage", extendedKeyUsage}};
    }
    return serverUseFault(parseCertificate(makeSigned(makeAuthority(), options).certificate).get())
        .value_or("");
}

// An authority whose root stands in a file, and what it issues.
class RootCa : public testing::Test {
protected:
    RootCa() {
        writeFile(rootFile, root.certificate);
        CertificateOptions options;
        options.ca = true;
        options.subject = {{"CN", "Middle"}};
        middle = makeSigned(root, options);
    }

    [[nodiscard]] std::string faultOf(const std::string& text,
                                      const BoardClock& clock = CLOCK) const {
        ChainAndKey read;
        if (const Fault fault = readCertificateText(text, CertificateType::CHAIN, read)) {
            return *fault;
        }
        return admissionFault(read, CollectionKind::IDENTITY, rootFile, clock).value_or("");
    }

    TempDirectory files;
    std::string rootFile = files.file("root.pem");
    TestCertificate root = makeAuthority("Root");
    TestCertificate middle;
};

std::string untrusted(const std::string& reason) {
    return "the certificate does not lead to a trusted root: " + reason;
}

} // namespace

TEST(Validity, HoldsFromTheFirstToTheLastSecond) {
    EXPECT_EQ(validityOf("20260601000000Z", "20260601000000Z", CLOCK), "");
    EXPECT_EQ(validityOf("20200101000000Z", "20491231235959Z", CLOCK), "");
    EXPECT_EQ(validityOf("20200101000000Z", "99991231235959Z", CLOCK), "");
}

TEST(Validity, RefusesAnExpiredCertificate) {
    EXPECT_EQ(validityOf("20200101000000Z", "20260531235959Z", CLOCK),
              "the certificate expired at 2026-05-31T23:59:59Z");
    EXPECT_EQ(validityOf("19600101000000Z", "19610101000000Z", CLOCK),
              "the certificate expired at 1961-01-01T00:00:00Z");
}

TEST(Validity, RefusesAStartInTheFuture) {
    EXPECT_EQ(validityOf("20260601000001Z", "20491231235959Z", CLOCK),
              "the certificate is not valid before 2026-06-01T00:00:01Z");
    EXPECT_EQ(validityOf("20770101000000Z", "20780101000000Z", CLOCK),
              "the certificate is not valid before 2077-01-01T00:00:00Z");
}

TEST(Validity, AcceptsAStartInTheFutureWhileTheClockIsPlainlyUnset) {
    EXPECT_EQ(validityOf("20260601000001Z", "20491231235959Z", UNSET_CLOCK), "");
    EXPECT_EQ(validityOf("20260601000001Z", "20491231235959Z", {BUILD_DATE - 1, BUILD_DATE}), "");
    EXPECT_EQ(validityOf("20260601000001Z", "20491231235959Z", {BUILD_DATE, BUILD_DATE}),
              "the certificate is not valid before 2026-06-01T00:00:01Z");
}

TEST(Validity, RefusesWhatExpiredBeforeTheBuildEvenWhileTheClockIsUnset) {
    EXPECT_EQ(validityOf("20200101000000Z", "20251231235959Z", UNSET_CLOCK),
              "the certificate expired at 2025-12-31T23:59:59Z");
    EXPECT_EQ(validityOf("20200101000000Z", "20260101000000Z", UNSET_CLOCK), "");
}

TEST(KeyStrength, TakesRsaFrom2048To8192Bits) {
    EXPECT_EQ(keyFault(withRsaBits(2048).get()), std::nullopt);
    EXPECT_EQ(keyFault(withRsaBits(8192).get()), std::nullopt);
    EXPECT_EQ(keyFault(withRsaBits(2047).get()),
              "the certificate's RSA key has 2047 bits, not 2048 to 8192");
    EXPECT_EQ(keyFault(withRsaBits(8193).get()),
              "the certificate's RSA key has 8193 bits, not 2048 to 8192");
    EXPECT_EQ(keyFault(withRsaBits(1024).get()),
              "the certificate's RSA key has 1024 bits, not 2048 to 8192");
}

TEST(KeyStrength, TakesTheThreeNistCurves) {
    for (const char* curve : {"P-256", "P-384", "P-521"}) {
        EXPECT_EQ(keyFaultOf(std::string("-newkey ec -pkeyopt ec_paramgen_curve:") + curve), "");
    }
    for (const char* curve : {"secp256k1", "secp224r1", "brainpoolP256r1"}) {
        EXPECT_EQ(keyFaultOf(std::string("-newkey ec -pkeyopt ec_paramgen_curve:") + curve),
                  "the certificate's key is not on the curve P-256, P-384 or P-521")
            << curve;
    }
}

TEST(KeyStrength, TakesEd25519AndNoOtherKind) {
    EXPECT_EQ(keyFaultOf("-newkey ed25519"), "");
    EXPECT_EQ(keyFaultOf("-newkey ed448"),
              "the certificate's key is neither RSA nor P-256, P-384, P-521 or Ed25519");
}

TEST(KeyStrength, TakesRsaForProbabilisticSignaturesOnly) {
    EXPECT_EQ(keyFaultOf("-newkey rsa-pss -pkeyopt rsa_keygen_bits:2048"), "");
}

TEST(SignatureStrength, RefusesOldDigests) {
    EXPECT_EQ(signatureFaultOf("-sha256"), "");
    EXPECT_EQ(signatureFaultOf("-sha512"), "");
    EXPECT_EQ(signatureFaultOf("-sha1"),
              "the certificate's signature is too weak: sha1WithRSAEncryption");
    EXPECT_EQ(signatureFaultOf("-md5"),
              "the certificate's signature is too weak: md5WithRSAEncryption");
}

TEST(SignatureStrength, KnowsEd25519) {
    CertificateOptions options;
    options.key = KeyKind::ED25519;
    EXPECT_EQ(signatureFault(parseCertificate(makeSelfSigned(options).certificate).get()),
              std::nullopt);
}

TEST(ServerUse, AsksForServerAuthenticationWhereAnExtendedKeyUsageIs) {
    EXPECT_EQ(useFaultOf(false, ""), "");
    EXPECT_EQ(useFaultOf(false, "serverAuth"), "");
    EXPECT_EQ(useFaultOf(false, "clientAuth,serverAuth"), "");
    EXPECT_EQ(useFaultOf(false, "anyExtendedKeyUsage"), "");
    EXPECT_EQ(useFaultOf(false, "clientAuth"),
              "the certificate's extended key usage lacks server authentication");
    EXPECT_EQ(useFaultOf(false, "1.2.3.4"),
              "the certificate's extended key usage lacks server authentication");
}

TEST(ServerUse, RefusesAnAuthorityThatAnotherOneIssued) {
    EXPECT_EQ(useFaultOf(true, ""), "the certificate is that of a certification authority");
}

TEST(ServerUse, AcceptsASelfSignedCertificateEvenWhenItCallsItselfAnAuthority) {
    EXPECT_EQ(serverUseFault(parseCertificate(makeAuthority().certificate).get()), std::nullopt);
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

TEST(KeyPairs, WithADamagedPrivateHalfAreFound) {
    const KeyHandle good = parsePrivateKey(makePrivateKey(KeyKind::RSA_2048));
    // The right modulus and exponent, and a private exponent that is not theirs.
    BIGNUM* modulus = nullptr;
    BIGNUM* exponent = nullptr;
    EVP_PKEY_get_bn_param(good.get(), OSSL_PKEY_PARAM_RSA_N, &modulus);
    EVP_PKEY_get_bn_param(good.get(), OSSL_PKEY_PARAM_RSA_E, &exponent);
    const std::unique_ptr<BIGNUM, OpenSSLRelease<BN_free>> n(modulus);
    const std::unique_ptr<BIGNUM, OpenSSLRelease<BN_free>> e(exponent);
    const std::unique_ptr<OSSL_PARAM_BLD, OpenSSLRelease<OSSL_PARAM_BLD_free>> builder(
        OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, n.get());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, e.get());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_D, e.get());
    const std::unique_ptr<OSSL_PARAM, OpenSSLRelease<OSSL_PARAM_free>> parameters(
        OSSL_PARAM_BLD_to_param(builder.get()));
    const KeyContextHandle context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* damaged = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    ASSERT_EQ(EVP_PKEY_fromdata(context.get(), &damaged, EVP_PKEY_KEYPAIR, parameters.get()), 1);
    const KeyHandle owner(damaged);
    EXPECT_EQ(EVP_PKEY_eq(damaged, good.get()), 1);
    EXPECT_FALSE(keysBelongTogether(damaged, good.get()));
}

TEST_F(RootCa, AcceptsWhatTheRootIssued) {
    EXPECT_EQ(faultOf(makeSigned(root).certificate), "");
    EXPECT_EQ(faultOf(makeSigned(middle).certificate + middle.certificate), "");
    EXPECT_EQ(faultOf(makeSigned(middle).certificate + middle.certificate + root.certificate), "");
}

TEST_F(RootCa, AcceptsTheRootsOfAFileWithSeveral) {
    writeFile(rootFile, makeAuthority("Other").certificate + root.certificate);
    EXPECT_EQ(faultOf(makeSigned(root).certificate), "");
}

TEST_F(RootCa, RefusesAStranger) {
    EXPECT_EQ(faultOf(makeSigned(makeAuthority("Stranger")).certificate),
              untrusted("unable to get local issuer certificate"));
    EXPECT_EQ(faultOf(makeSelfSigned().certificate), untrusted("self-signed certificate"));
    const TestCertificate impostor = makeAuthority("Root");
    EXPECT_EQ(faultOf(makeSigned(impostor).certificate + impostor.certificate),
              untrusted("self-signed certificate in certificate chain"));
}

TEST_F(RootCa, RefusesAChainWithAGap) {
    EXPECT_EQ(faultOf(makeSigned(middle).certificate),
              untrusted("unable to get local issuer certificate"));
}

TEST_F(RootCa, DoesNotTakeAnIntermediateForARoot) {
    writeFile(rootFile, middle.certificate);
    EXPECT_EQ(faultOf(makeSigned(middle).certificate),
              untrusted("unable to get issuer certificate"));
}

TEST_F(RootCa, RefusesAnIssuerThatIsNoAuthority) {
    const TestCertificate leaf = makeSigned(root);
    CertificateOptions options;
    options.subject = {{"CN", "Below a leaf"}};
    EXPECT_EQ(faultOf(makeSigned(leaf, options).certificate + leaf.certificate),
              untrusted("invalid CA certificate"));
}

TEST_F(RootCa, AcceptsASelfSignedCertificateThatIsItselfTrusted) {
    const TestCertificate own = makeSelfSigned();
    writeFile(rootFile, own.certificate);
    EXPECT_EQ(faultOf(own.certificate), "");
}

TEST_F(RootCa, FollowsTheChainWhileTheClockIsUnset) {
    EXPECT_EQ(faultOf(makeSigned(middle).certificate + middle.certificate, UNSET_CLOCK), "");
    EXPECT_EQ(faultOf(makeSelfSigned().certificate, UNSET_CLOCK),
              untrusted("self-signed certificate"));
    CertificateOptions options;
    options.notBefore = "20480101000000Z";
    options.subject = {{"CN", "Root of 2048"}};
    options.ca = true;
    const TestCertificate young = makeSelfSigned(options);
    writeFile(rootFile, young.certificate);
    EXPECT_EQ(faultOf(makeSigned(young).certificate, UNSET_CLOCK), "");
    EXPECT_EQ(faultOf(makeSigned(young).certificate), untrusted("certificate is not yet valid"));
}

TEST_F(RootCa, RefusesAWeakRoot) {
    CertificateOptions options;
    options.ca = true;
    options.subject = {{"CN", "Weak root"}};
    options.key = KeyKind::RSA_1024;
    const TestCertificate weak = makeSelfSigned(options);
    writeFile(rootFile, weak.certificate);
    EXPECT_EQ(faultOf(makeSigned(weak).certificate), untrusted("CA certificate key too weak"));
}

TEST_F(RootCa, RefusesAnExpiredRoot) {
    CertificateOptions options;
    options.ca = true;
    options.notAfter = "20251231235959Z";
    const TestCertificate expired = makeSelfSigned(options);
    writeFile(rootFile, expired.certificate);
    options = {};
    options.subject = {{"CN", "leaf"}};
    EXPECT_EQ(faultOf(makeSigned(expired, options).certificate),
              untrusted("certificate has expired"));
}

TEST_F(RootCa, ThatCannotBeReadIsAFaultOfTheMachine) {
    ChainAndKey text;
    ASSERT_EQ(readCertificateText(makeSigned(root).certificate, CertificateType::SINGLE, text),
              std::nullopt);
    for (const std::string& content : {std::string(), std::string("not a certificate")}) {
        writeFile(rootFile, content);
        EXPECT_THROW(
            static_cast<void>(admissionFault(text, CollectionKind::IDENTITY, rootFile, CLOCK)),
            std::runtime_error);
    }
    EXPECT_THROW(static_cast<void>(admissionFault(text, CollectionKind::IDENTITY,
                                                  files.file("missing.pem"), CLOCK)),
                 std::runtime_error);
}

TEST_F(RootCa, IsNotAskedAboutACollectionOfTrust) {
    ChainAndKey text;
    ASSERT_EQ(
        readCertificateText(makeAuthority("Stranger").certificate, CertificateType::SINGLE, text),
        std::nullopt);
    EXPECT_EQ(admissionFault(text, CollectionKind::TRUST, rootFile, CLOCK), std::nullopt);
}

TEST_F(RootCa, ChecksDatesAndKeysOfTheWholeText) {
    CertificateOptions options;
    options.ca = true;
    options.subject = {{"CN", "Expired"}};
    options.notAfter = "20251231235959Z";
    const TestCertificate expired = makeSigned(root, options);
    EXPECT_EQ(faultOf(makeSigned(expired).certificate + expired.certificate),
              "the certificate expired at 2025-12-31T23:59:59Z");
    options.subject = {{"CN", "Weak"}};
    options.notAfter = "20491231235959Z";
    options.key = KeyKind::RSA_1024;
    const TestCertificate weak = makeSigned(root, options);
    EXPECT_EQ(faultOf(makeSigned(weak).certificate + weak.certificate),
              "the certificate's RSA key has 1024 bits, not 2048 to 8192");
}
