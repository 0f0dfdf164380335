// What is shown of a certificate beside its name parts: further parts, alternative names, marks.

#include "platform/x509/certificate_chain.h"
#include "platform/x509/certificate_marks.h"
#include "platform/x509/names.h"
#include "platform/x509/shown_alternative_names.h"
#include "tests/support/certificates.h"

#include <gtest/gtest.h>

#include <array>

using namespace std::string_view_literals;

namespace {

using Texts = std::vector<std::string>;
using Subject = std::vector<std::pair<std::string, std::string>>;

CertificateHandle madeWith(const CertificateOptions& options) {
    CertificateChain chain = readCertificates(makeSelfSigned(options).certificate);
    return std::move(chain.at(0));
}

CertificateHandle madeFor(const Subject& subject) {
    return madeWith({.subject = subject});
}

void addPart(X509_NAME* name, int attribute, int type, std::string_view bytes) {
    ASSERT_EQ(X509_NAME_add_entry_by_NID(name, attribute, type,
                                         reinterpret_cast<const unsigned char*>(bytes.data()),
                                         static_cast<int>(bytes.size()), -1, 0),
              1);
}

// A certificate whose subjectAltName holds these bytes as a name of that form.
CertificateHandle withAlternativeName(int form, std::string_view bytes) {
    CertificateHandle certificate = madeFor({});
    const GeneralNamesHandle names(GENERAL_NAMES_new());
    GENERAL_NAME* name = GENERAL_NAME_new();
    ASN1_STRING* value =
        ASN1_STRING_type_new(form == GEN_IPADD ? V_ASN1_OCTET_STRING : V_ASN1_IA5STRING);
    (void)ASN1_STRING_set(value, bytes.data(), static_cast<int>(bytes.size()));
    GENERAL_NAME_set0_value(name, form, value);
    (void)sk_GENERAL_NAME_push(names.get(), name);
    (void)X509_add1_ext_i2d(certificate.get(), NID_subject_alt_name, names.get(), 0,
                            X509V3_ADD_REPLACE);
    return certificate;
}

} // namespace

TEST(FurtherParts, AreThoseThatThePartsLeaveOutInTheCertificatesOrder) {
    const CertificateHandle certificate = madeFor({{"DC", "example"},
                                                   {"DC", "boards"},
                                                   {"OU", "first"},
                                                   {"CN", "one"},
                                                   {"CN", "two\n"},
                                                   {"OU", "last"},
                                                   {"CN", "three"}});
    const FurtherParts parts = furtherPartsOf(X509_get_subject_name(certificate.get()));
    EXPECT_EQ(parts.commonNames, (Texts{"one", "two\\0A"}));
    EXPECT_EQ(parts.organizationalUnits, Texts{"first"});
    EXPECT_EQ(parts.domainComponents, (Texts{"example", "boards"}));
}

TEST(FurtherParts, OfAPlainNameAreNone) {
    const CertificateHandle certificate = madeFor({{"O", "Example"}, {"CN", "bmc"}});
    const FurtherParts parts = furtherPartsOf(X509_get_subject_name(certificate.get()));
    EXPECT_TRUE(parts.commonNames.empty());
    EXPECT_TRUE(parts.organizationalUnits.empty());
    EXPECT_TRUE(parts.domainComponents.empty());
}

TEST(FurtherParts, AreLeftOutWhenTheyAreNoText) {
    const NameHandle name(X509_NAME_new());
    addPart(name.get(), NID_commonName, V_ASN1_UTF8STRING, "\xff\xfe");
    addPart(name.get(), NID_commonName, V_ASN1_UTF8STRING, "second");
    addPart(name.get(), NID_commonName, V_ASN1_UTF8STRING, "shown elsewhere");
    EXPECT_EQ(furtherPartsOf(name.get()).commonNames, Texts{"second"});
    EXPECT_EQ(displayedName(name.get()), "CN=\\FF\\FE, CN=second, CN=shown elsewhere");
}

TEST(DisplayedName, KeepsTheCertificatesOrderAndIsEscaped) {
    for (const auto& [subject, shown] : std::vector<std::pair<Subject, std::string>>{
             {{}, ""},
             {{{"C", "DE"}, {"O", "Example, Ltd."}, {"CN", "bmc.example"}},
              "C=DE, O=Example\\, Ltd., CN=bmc.example"},
             {{{"L", "M\xc3\xbcnchen"}, {"CN", "a\xe2\x80\xae"}, {"CN", "b\n, O=Evil"}},
              "L=M\xc3\xbcnchen, CN=a\\E2\\80\\AE, CN=b\\0A\\, O=Evil"},
         }) {
        EXPECT_EQ(displayedName(X509_get_subject_name(madeFor(subject).get())), shown);
    }
}

TEST(AlternativeNames, AreShownInTheirOrder) {
    const CertificateHandle certificate =
        madeWith({.extensions = {{"subjectAltName",
                                  "DNS:bmc.example,DNS:*.example,IP:10.0.0.1,IP:2001:db8::1,"
                                  "email:a@b.example,URI:https://a.example/x,RID:1.2.3,DNS:bmc"},
                                 {"issuerAltName", "DNS:ca.example"}}});
    EXPECT_EQ(alternativeNamesOf(certificate.get()),
              (Texts{"bmc.example", "*.example", "10.0.0.1", "2001:db8::1", "a@b.example",
                     "https://a.example/x", "bmc"}));
    EXPECT_EQ(issuerAlternativeNamesOf(certificate.get()), Texts{"ca.example"});
    EXPECT_TRUE(alternativeNamesOf(madeFor({}).get()).empty());
}

TEST(AlternativeNames, ThatLookLikeAnotherFormOrAreUnprintableAreMarkedAndEscaped) {
    struct Row {
        int form;
        std::string_view bytes;
        Texts shown;
    };
    for (const Row& row : std::vector<Row>{
             {GEN_DNS, "10.0.0.1", {"DNS:10.0.0.1"}},
             {GEN_DNS, "2001:db8::1", {"DNS:2001:db8::1"}},
             {GEN_DNS, "a@b.example", {"DNS:a@b.example"}},
             {GEN_DNS, "https://a.example", {"DNS:https://a.example"}},
             {GEN_DNS, "", {"DNS:"}},
             {GEN_DNS, ".", {"DNS:."}},
             {GEN_DNS, "good.example\0.evil"sv, {"DNS:good.example\\00.evil"}},
             {GEN_DNS, "\xe2\x80\xae\xff", {"DNS:\\E2\\80\\AE\\FF"}},
             {GEN_EMAIL, "host.example", {"email:host.example"}},
             {GEN_EMAIL, "a@b\r\nc", {"a@b\\0D\\0Ac"}},
             {GEN_EMAIL, "URI:a@b", {"email:URI:a@b"}},
             {GEN_URI, "urn:x:y", {"URI:urn:x:y"}},
             {GEN_URI, "DNS:a://b", {"URI:DNS:a://b"}},
             {GEN_URI, "://", {"URI:://"}},
             {GEN_IPADD, "\x0a\x00\x00"sv, {}},
             {GEN_IPADD, "\x0a\x00\x00\x01\xff\xff\xff\x00"sv, {}},
         }) {
        EXPECT_EQ(alternativeNamesOf(withAlternativeName(row.form, row.bytes).get()), row.shown);
    }
}

TEST(AlternativeNames, OfAHugeExtensionAreAllThere) {
    std::string names = "DNS:h0.example";
    for (int i = 1; i < 5000; ++i) {
        names += ",DNS:h" + std::to_string(i) + ".example";
    }
    const Texts shown =
        alternativeNamesOf(madeWith({.extensions = {{"subjectAltName", names}}}).get());
    ASSERT_EQ(shown.size(), 5000U);
    EXPECT_EQ(shown.back(), "h4999.example");
}

TEST(AlternativeNames, OfAnExtensionThatCannotBeReadAreNone) {
    EXPECT_TRUE(
        alternativeNamesOf(madeWith({.extensions = {{"2.5.29.17", "DER:30:03:82:05"}}}).get())
            .empty());
    EXPECT_TRUE(alternativeNamesOf(madeWith({.extensions = {{"subjectAltName", "DNS:a"},
                                                            {"subjectAltName", "DNS:b"}}})
                                       .get())
                    .empty());
}

TEST(SerialNumber, IsShownAsItsBytes) {
    const CertificateHandle certificate = madeFor({});
    ASN1_INTEGER* serial = X509_get_serialNumber(certificate.get());
    for (const auto& [number, shown] : std::vector<std::pair<long, std::string>>{
             {-255, "-ff"}, {0, "00"}, {10, "0a"}, {0x0a1b2c, "0a:1b:2c"}}) {
        ASSERT_EQ(ASN1_INTEGER_set(serial, number), 1);
        EXPECT_EQ(serialNumberOf(certificate.get()), shown);
    }
    const std::string huge(10000, '\x7f');
    ASSERT_EQ(ASN1_STRING_set(serial, huge.data(), static_cast<int>(huge.size())), 1);
    EXPECT_EQ(serialNumberOf(certificate.get()).size(), 3 * huge.size() - 1);
}

TEST(SignatureAlgorithm, HasItsName) {
    const auto algorithmOf = [](KeyKind key) {
        return signatureAlgorithmOf(madeWith({.key = key}).get());
    };
    EXPECT_EQ(algorithmOf(KeyKind::EC_P256), "ecdsa-with-SHA256");
    EXPECT_EQ(algorithmOf(KeyKind::RSA_2048), "sha256WithRSAEncryption");
    EXPECT_EQ(algorithmOf(KeyKind::ED25519), "ED25519");
}

TEST(Fingerprint, IsTheDigestOfTheWholeCertificate) {
    const CertificateHandle certificate = madeFor({});
    const std::string shown = fingerprintOf(certificate.get());
    unsigned char* der = nullptr;
    const int length = i2d_X509(certificate.get(), &der);
    ASSERT_GT(length, 0);
    std::array<unsigned char, 32> digest{};
    ASSERT_EQ(EVP_Digest(der, static_cast<std::size_t>(length), digest.data(), nullptr,
                         EVP_sha256(), nullptr),
              1);
    OPENSSL_free(der);
    std::array<char, 96> expected{};
    ASSERT_EQ(OPENSSL_buf2hexstr_ex(expected.data(), expected.size(), nullptr, digest.data(),
                                    digest.size(), ':'),
              1);
    EXPECT_EQ(shown, expected.data());
    EXPECT_NE(fingerprintOf(madeFor({}).get()), shown);
}
