#include "platform/x509/certificate_chain.h"
#include "tests/support/certificates.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* BROKEN = "-----BEGIN CERTIFICATE-----\nAAEC\n-----END CERTIFICATE-----\n";
// PKCS #7 content of type "data": an object identifier and nothing else.
constexpr const char* PLAIN_DATA =
    "-----BEGIN PKCS7-----\nMAsGCSqGSIb3DQEHAQ==\n-----END PKCS7-----\n";

} // namespace

class Chain : public testing::Test {
protected:
    // The text's certificates, put in order as far as they can be, as one text.
    [[nodiscard]] std::string ordered(const std::string& text, IssuerTest isIssuer,
                                      bool complete) const {
        CertificateChain chain = readCertificates(text);
        EXPECT_EQ(orderChain(chain, isIssuer), complete);
        return pemText(chain);
    }

    const TestCertificate root = makeAuthority("Root");
    const TestCertificate middle = makeSigned(root, {.subject = {{"CN", "Middle"}}, .ca = true});
    const TestCertificate leaf = makeSigned(middle);
    const std::string whole = leaf.certificate + middle.certificate + root.certificate;
};

TEST_F(Chain, IsReadFromAmongOtherText) {
    const std::string text = "a note\n" + leaf.certificate + leaf.privateKey + middle.certificate +
                             "subject=CN\n" + root.certificate;
    EXPECT_EQ(pemText(readCertificates(text)), whole);
}

TEST_F(Chain, IsReadUpToWhatCannotBeDecoded) {
    EXPECT_EQ(pemText(readCertificates(leaf.certificate + BROKEN + root.certificate)),
              leaf.certificate);
    for (const char* text : {"", "hello", BROKEN}) {
        EXPECT_TRUE(readCertificates(text).empty()) << text;
    }
}

TEST_F(Chain, IsReadFromSignedDataAndNoOtherContent) {
    const std::string text = makePkcs7({leaf.certificate, middle.certificate, root.certificate});
    const SignedDataHandle data = readSignedData("a note\n" + text);
    ASSERT_TRUE(data && isSignedData(data.get()));
    EXPECT_EQ(pemText(certificatesOf(data.get())), whole);
    EXPECT_EQ(pemText(data), text);
    const SignedDataHandle plain = readSignedData(PLAIN_DATA);
    ASSERT_NE(plain, nullptr);
    EXPECT_FALSE(isSignedData(plain.get()));
    EXPECT_TRUE(certificatesOf(plain.get()).empty());
    EXPECT_EQ(readSignedData(whole), nullptr);
}

TEST_F(Chain, BeginsWithTheOneThatIssuedNoOther) {
    for (const std::string& text : {whole, root.certificate + middle.certificate + leaf.certificate,
                                    middle.certificate + root.certificate + leaf.certificate,
                                    middle.certificate + leaf.certificate + root.certificate}) {
        EXPECT_EQ(ordered(text, hasIssuerName, true), whole);
        EXPECT_EQ(ordered(text, hasIssuerSignature, true), whole);
    }
    EXPECT_EQ(ordered(root.certificate, hasIssuerSignature, true), root.certificate);
}

TEST_F(Chain, LeavesInItsPlaceWhatDoesNotBelongToIt) {
    const std::string stranger = makeAuthority("Stranger").certificate;
    const std::string text = leaf.certificate + stranger + root.certificate + middle.certificate;
    EXPECT_EQ(ordered(text, hasIssuerName, false),
              leaf.certificate + middle.certificate + root.certificate + stranger);
    const std::string other = makeSigned(root, {.subject = {{"CN", "Other"}}}).certificate;
    EXPECT_EQ(ordered(leaf.certificate + other + stranger + root.certificate, hasIssuerName, false),
              leaf.certificate + other + root.certificate + stranger);
}

TEST_F(Chain, TellsSameNamesApartByTheirSignatures) {
    const std::string impostor =
        makeSigned(root, {.subject = {{"CN", "Middle"}}, .ca = true}).certificate;
    const std::string text = leaf.certificate + impostor;
    EXPECT_EQ(ordered(text, hasIssuerName, true), text);
    EXPECT_EQ(ordered(text, hasIssuerSignature, false), text);
    EXPECT_EQ(ordered(text + middle.certificate, hasIssuerSignature, false),
              leaf.certificate + middle.certificate + impostor);
}
