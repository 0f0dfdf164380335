// Which certificates of a text are installed: the choice of the first, its issuers, and what is
// dropped.

#include "tests/platform/certificate_backend/backend_fixture.h"

namespace {

// Root, intermediate and leaf, each issued by the one before.
struct ThreeLevels {
    TestCertificate root = makeAuthority("Root");
    TestCertificate middle = makeSigned(root, {.subject = {{"CN", "Middle"}}, .ca = true});
    TestCertificate leaf = makeSigned(middle, {.subject = {{"CN", "Leaf"}}});
};

// Another certificate for the authority's key and name.
TestCertificate crossSigned(const TestCertificate& authority, const TestCertificate& by,
                            const std::string& commonName, const std::string& notAfter) {
    return {certifyKey(authority.privateKey, by,
                       {.subject = {{"CN", commonName}}, .notAfter = notAfter, .ca = true}),
            authority.privateKey};
}

// The certificate without the extension that tells its issuer's key.
std::string withoutIdentifier(const std::string& certificate, const std::string& signingKey) {
    return changed(certificate, signingKey, [](X509* each) {
        const int index = X509_get_ext_by_NID(each, NID_authority_key_identifier, -1);
        const ExtensionHandle identifier(X509_delete_ext(each, index));
    });
}

constexpr const char* FUTURE = "20491231235959Z";
constexpr const char* PAST = "20250101000000Z";

} // namespace

using InstalledChain = CertificateBackend;

TEST_F(InstalledChain, IsTheSameInWhateverOrderItComes) {
    const ThreeLevels made;
    const std::string& root = made.root.certificate;
    const std::string& middle = made.middle.certificate;
    const std::string& leaf = made.leaf.certificate;
    const std::string& key = made.leaf.privateKey;
    for (const std::string& text :
         {leaf + middle + root + key, root + middle + key + leaf, key + middle + root + leaf}) {
        EXPECT_EQ(chainOf(text), leaf + middle + root);
    }
    EXPECT_EQ(chainOf(makePkcs7({root, leaf, middle}) + key, "PKCS7"),
              makePkcs7({leaf, middle, root}));
}

TEST_F(InstalledChain, IsWithoutWhatDoesNotBelongToIt) {
    const ThreeLevels made;
    const TestCertificate stranger = makeAuthority("Stranger");
    const std::string& middle = made.middle.certificate;
    const std::string& leaf = made.leaf.certificate;
    const std::string expiredRoot =
        makeSelfSigned({.subject = {{"CN", "Old"}}, .notAfter = PAST, .ca = true}).certificate;
    const TestCertificate weak = makeSelfSigned({.key = KeyKind::RSA_1024});
    for (const auto& [name, text, chain] :
         std::vector<std::tuple<const char*, std::string, std::string>>{
             {"another authority", leaf + middle + stranger.certificate, leaf + middle},
             {"a gap", leaf + made.root.certificate, leaf},
             {"an expired one", expiredRoot + leaf + middle, leaf + middle},
             {"a weak one", leaf + weak.certificate + middle, leaf + middle},
             {"the same twice", leaf + middle + leaf + middle, leaf + middle},
             {"another leaf", makeSigned(made.middle).certificate + leaf + middle, leaf + middle},
         }) {
        EXPECT_EQ(chainOf(text + made.leaf.privateKey), chain) << name;
    }
}

TEST_F(InstalledChain, TakesTheCrossSignedCertificateThatIsValidNow) {
    const TestCertificate older = makeAuthority("Older");
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate leaf = makeSigned(root);
    const std::string own = textOf(leaf);
    const std::string cross = crossSigned(root, older, "Root", FUTURE).certificate;
    const std::string expired = crossSigned(root, older, "Root", PAST).certificate;
    EXPECT_EQ(chainOf(own + root.certificate + cross), leaf.certificate + cross);
    EXPECT_EQ(chainOf(own + older.certificate + root.certificate + cross),
              leaf.certificate + cross + older.certificate);
    EXPECT_EQ(chainOf(own + expired + root.certificate), leaf.certificate + root.certificate);
    for (const TestCertificate& trusted : {root, older}) {
        trustOnly(trusted.certificate);
        EXPECT_EQ(chainOf(own + root.certificate + cross), leaf.certificate + cross);
    }
}

TEST_F(InstalledChain, IsFoundBySignaturesAmongIssuersOfOneName) {
    const TestCertificate one = makeAuthority("Root");
    const TestCertificate other = makeAuthority("Root");
    const TestCertificate made = makeSigned(one);
    const std::string leaf = withoutIdentifier(made.certificate, one.privateKey);
    for (const std::string& issuers :
         {one.certificate + other.certificate, other.certificate + one.certificate}) {
        EXPECT_EQ(chainOf(leaf + issuers + made.privateKey), leaf + one.certificate);
    }
    // No more than two are tried.
    const std::string third = makeAuthority("Root").certificate;
    EXPECT_EQ(refusalOf(leaf + other.certificate + third + one.certificate + made.privateKey),
              said(0, "test.example",
                   "is not signed by the issuer that follows it. Send the certificates of its real "
                   "issuers."));
}

TEST_F(InstalledChain, IsFaultyWithAnIssuerThatFitsButDidNotSign) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate made = makeSigned(root);
    const std::string unsignedFault = said(
        0, "test.example",
        "is not signed by the issuer that follows it. Send the certificates of its real issuers.");
    const std::string forged =
        withoutIdentifier(made.certificate, makeAuthority("Other").privateKey);
    EXPECT_EQ(refusalOf(forged + root.certificate + made.privateKey), unsignedFault);
    EXPECT_EQ(refusalOf(forged + root.certificate, "PEMchain", TRUSTED), unsignedFault);
    // With another key identifier it does not fit, and is dropped.
    EXPECT_EQ(chainOf(textOf(made) + makeAuthority("Root").certificate), made.certificate);
}

TEST_F(InstalledChain, EndsWithAuthoritiesThatIssuedEachOther) {
    const TestCertificate one = makeAuthority("One");
    const TestCertificate two = makeAuthority("Two");
    const std::string oneByTwo = crossSigned(one, two, "One", FUTURE).certificate;
    const std::string twoByOne = crossSigned(two, one, "Two", FUTURE).certificate;
    const TestCertificate leaf = makeSigned(one);
    EXPECT_EQ(chainOf(textOf(leaf) + twoByOne + oneByTwo), leaf.certificate + oneByTwo + twoByOne);
}

TEST_F(InstalledChain, BeginsWithTheKeysCertificateElseTheRequestsElseTheFirst) {
    const TestCertificate root = makeAuthority("Root");
    const CSRResult request =
        generateCsr(surroundings, {IDENTITIES, 0, {}, {{"CommonName", "requested"}}});
    const std::string requested = signRequest(request.csr, root);
    const TestCertificate other = makeSigned(root, {.subject = {{"CN", "Other"}}});
    // A known request's certificate, wherever it stands.
    EXPECT_EQ(chainOf(root.certificate + other.certificate + requested),
              requested + root.certificate);
    // The text's key counts before it.
    const CSRResult second =
        generateCsr(surroundings, {IDENTITIES, 0, {}, {{"CommonName", "requested"}}});
    EXPECT_EQ(chainOf(signRequest(second.csr, root) + root.certificate + textOf(other)),
              other.certificate + root.certificate);
    // Otherwise the first, whose key nobody knows.
    EXPECT_EQ(refusalOf(other.certificate + root.certificate),
              said(0, "Other",
                   "has a private key that is not known here. Send it in the text, or have a "
                   "signing request made for this collection."));
    EXPECT_EQ(chainOf(root.certificate + other.certificate, "PEMchain", TRUSTED), root.certificate);
}

TEST_F(InstalledChain, BeginsWithTheRenewedCertificateInAReplacement) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate old = makeSelfSigned();
    ASSERT_EQ(create(textOf(old)).code, 200);
    const std::string renewed = certifyKey(old.privateKey, root);
    EXPECT_EQ(replace(root.certificate + renewed, "PEMchain").certificateString,
              renewed + root.certificate);
}

TEST_F(InstalledChain, IsAtMostSixteenLong) {
    TestCertificate issuer = makeAuthority("0");
    std::string issuers = issuer.certificate;
    for (int i = 1; i < 15; ++i) {
        issuer = makeSigned(issuer, {.subject = {{"CN", std::to_string(i)}}, .ca = true});
        issuers += issuer.certificate;
    }
    const std::string chain = chainOf(textOf(makeSigned(issuer)) + issuers);
    EXPECT_TRUE(chain.ends_with(
        issuers.substr(0, issuers.find("-----END")).append("-----END CERTIFICATE-----\n")));
}
