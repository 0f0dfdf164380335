// Properties taken from a certificate's text.

#include "frontend/records/certificate_properties.h"
#include "tests/support/certificates.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

CertificateOptions detailedOptions() {
    CertificateOptions options;
    options.subject = {{"C", "DE"},
                       {"ST", "Bavaria"},
                       {"L", "Munich"},
                       {"O", "Example"},
                       {"OU", "Boards"},
                       {"CN", "bmc.example"},
                       {"emailAddress", "bmc@example.com"}};
    options.notBefore = "20240102030405Z";
    options.notAfter = "20391231235959Z";
    options.extensions = {{"keyUsage", "critical,digitalSignature,keyEncipherment"},
                          {"extendedKeyUsage", "serverAuth,clientAuth"}};
    return options;
}

TEST(CertificateProperties, AreThoseOfTheRedfishSchema) {
    const TestCertificate authority = makeAuthority("Root");
    const TestCertificate certificate = makeSigned(authority, detailedOptions());
    const json expected = {
        {"CertificateString", certificate.certificate},
        {"Subject",
         {{"CommonName", "bmc.example"},
          {"Organization", "Example"},
          {"OrganizationalUnit", "Boards"},
          {"City", "Munich"},
          {"State", "Bavaria"},
          {"Country", "DE"},
          {"Email", "bmc@example.com"}}},
        {"Issuer", {{"CommonName", "Root"}, {"Email", nullptr}}},
        {"ValidNotBefore", "2024-01-02T03:04:05Z"},
        {"ValidNotAfter", "2039-12-31T23:59:59Z"},
        {"KeyUsage",
         {"DigitalSignature", "KeyEncipherment", "ServerAuthentication", "ClientAuthentication"}},
    };
    EXPECT_EQ(certificateProperties(certificate.certificate), expected);
}

TEST(CertificateProperties, HoldNoPrivateKey) {
    const TestCertificate certificate = makeSelfSigned();
    const json properties = certificateProperties(certificate.privateKey + certificate.certificate);
    EXPECT_EQ(properties["CertificateString"], certificate.certificate);
    EXPECT_EQ(properties["KeyUsage"], json::array());
}

TEST(CertificateProperties, OfAChainAreThoseOfItsEnd) {
    const TestCertificate root = makeAuthority("Root");
    CertificateOptions intermediateOptions;
    intermediateOptions.subject = {{"CN", "Middle"}};
    intermediateOptions.ca = true;
    const TestCertificate middle = makeSigned(root, intermediateOptions);
    const TestCertificate leaf = makeSigned(middle, detailedOptions());
    const std::string ordered = leaf.certificate + middle.certificate + root.certificate;
    for (const std::string& text :
         {ordered, root.certificate + middle.certificate + leaf.certificate,
          middle.certificate + root.certificate + leaf.certificate}) {
        const json properties = certificateProperties(text);
        EXPECT_EQ(properties["Subject"]["CommonName"], "bmc.example");
        EXPECT_EQ(properties["Issuer"]["CommonName"], "Middle");
        EXPECT_EQ(properties["CertificateString"], ordered);
    }
}

TEST(CertificateProperties, AreReadFromPkcs7) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate leaf = makeSigned(root, detailedOptions());
    const std::string text = makePkcs7({leaf.certificate, root.certificate});
    const json properties = certificateProperties(text);
    EXPECT_EQ(properties["Subject"]["CommonName"], "bmc.example");
    EXPECT_EQ(properties["CertificateString"], text);
}

TEST(CertificateProperties, AreNullForWhatIsNoCertificate) {
    for (const char* text :
         {"", "hello", "-----BEGIN CERTIFICATE-----\nTUlJ\n-----END CERTIFICATE-----\n"}) {
        EXPECT_TRUE(certificateProperties(text).is_null()) << text;
    }
}

TEST(CertificateProperties, ShowNamesAsUtf8) {
    CertificateOptions options;
    options.subject = {{"CN", "Gr\xc3\xbc\xc3\x9f\x65"}};
    const json properties = certificateProperties(makeSelfSigned(options).certificate);
    EXPECT_EQ(properties["Subject"]["CommonName"], "Grüße");
}

TEST(CertificateProperties, AreThoseOfTheCertificateThatTheKeyBelongsToAndItsIssuers) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate leaf = makeSigned(root);
    const std::string spare = makeAuthority("Spare").certificate;
    const json properties =
        certificateProperties(spare + root.certificate + leaf.certificate + leaf.privateKey);
    EXPECT_EQ(properties["Subject"]["CommonName"], "test.example");
    EXPECT_EQ(properties["CertificateString"], leaf.certificate + root.certificate);
}

} // namespace
