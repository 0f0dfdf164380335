// A certificate as the newest schema version shows it.

#include "frontend/records/certificate_properties.h"
#include "frontend/web/service/certificate_view.h"
#include "platform/x509/dates.h"
#include "tests/support/certificates.h"
#include "tests/web/redfish_schema.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::IsEmpty;
using testing::MatchesRegex;

const std::string URI = "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates/1";

constexpr std::time_t LONG_BEFORE_THE_END = 1800000000; // in 2027

// As Redis holds a certificate with this text.
json storedFor(const std::string& text) {
    json stored = certificateProperties(text);
    stored["@odata.id"] = URI;
    stored["@odata.type"] = "#Certificate.v1_2_2.Certificate";
    stored["@odata.etag"] = "\"1700000000000\"";
    stored["Id"] = "1";
    stored["Name"] = "HTTPS Certificate";
    stored["CertificateType"] = "PEM";
    stored["&&CertPrivateKey"] = "/keys/1";
    return stored;
}

json viewOf(const json& stored, std::time_t now = LONG_BEFORE_THE_END) {
    return certificateView(stored, URI, now);
}

CertificateOptions detailedOptions() {
    CertificateOptions options;
    options.subject = {{"DC", "example"},    {"DC", "boards"}, {"O", "Example, Ltd."},
                       {"OU", "first"},      {"OU", "second"}, {"CN", "other.example"},
                       {"CN", "bmc.example"}};
    options.notAfter = "20391231235959Z";
    options.extensions = {{"keyUsage", "digitalSignature"},
                          {"subjectAltName", "DNS:bmc.example,IP:10.0.0.1"}};
    return options;
}

} // namespace

TEST(CertificateView, HasWhatIsStoredAndWhatTheCertificateItselfSays) {
    const TestCertificate certificate = makeSigned(makeAuthority("Root"), detailedOptions());
    const json stored = storedFor(certificate.certificate);
    json view = viewOf(stored);
    EXPECT_THAT(schemaFaults(view), IsEmpty());
    EXPECT_EQ(view["@odata.type"], "#Certificate.v1_11_0.Certificate");
    const json subject = {{"CommonName", "bmc.example"},
                          {"AdditionalCommonNames", {"other.example"}},
                          {"Organization", "Example, Ltd."},
                          {"OrganizationalUnit", "second"},
                          {"AdditionalOrganizationalUnits", {"first"}},
                          {"DomainComponents", {"example", "boards"}},
                          {"AlternativeNames", {"bmc.example", "10.0.0.1"}},
                          {"DisplayString", "DC=example, DC=boards, O=Example\\, Ltd., OU=first, "
                                            "OU=second, CN=other.example, CN=bmc.example"},
                          {"Email", nullptr}};
    EXPECT_EQ(view["Subject"], subject);
    const json issuer = {{"CommonName", "Root"}, {"DisplayString", "CN=Root"}, {"Email", nullptr}};
    EXPECT_EQ(view["Issuer"], issuer);
    EXPECT_THAT(view["SerialNumber"], MatchesRegex("[0-9a-f]{2}(:[0-9a-f]{2})*"));
    EXPECT_THAT(view["Fingerprint"], MatchesRegex("[0-9A-F]{2}(:[0-9A-F]{2}){31}"));
    EXPECT_EQ(view["FingerprintHashAlgorithm"], "TPM_ALG_SHA256");
    EXPECT_EQ(view["SignatureAlgorithm"], "ecdsa-with-SHA256");
    EXPECT_EQ(view["Status"]["Health"], "OK");
    for (const char* property : {"@odata.etag", "@odata.id", "CertificateString", "CertificateType",
                                 "Id", "KeyUsage", "Name", "ValidNotAfter", "ValidNotBefore"}) {
        EXPECT_EQ(view[property], stored[property]) << property;
    }
}

TEST(CertificateView, ShowsNothingOfTheServicesOwnAndNoPrivateKey) {
    const TestCertificate certificate = makeSelfSigned();
    json stored = storedFor(certificate.certificate);
    stored["CertificateString"] = certificate.certificate + certificate.privateKey;
    stored["Password"] = "secret";
    stored["Unknown"] = 1;
    const json view = viewOf(stored);
    EXPECT_EQ(view["CertificateString"], certificate.certificate);
    EXPECT_THAT(schemaFaults(view), IsEmpty());
    EXPECT_THAT(view.dump(), testing::Not(testing::ContainsRegex("&&|PRIVATE|secret|Unknown")));
}

TEST(CertificateView, OfAChainIsThatOfItsEnd) {
    const TestCertificate root = makeAuthority("Root");
    const TestCertificate leaf = makeSigned(root);
    for (const std::string& text :
         {leaf.certificate + root.certificate, makePkcs7({root.certificate, leaf.certificate})}) {
        const json view = viewOf(storedFor(text));
        EXPECT_EQ(view["Subject"]["DisplayString"], "CN=test.example");
        EXPECT_EQ(view["Fingerprint"], viewOf(storedFor(leaf.certificate))["Fingerprint"]);
        EXPECT_EQ(view["CertificateString"], text);
    }
}

TEST(CertificateView, OfATextThatCannotBeReadIsWhatIsStored) {
    for (const json& text : {json("nothing"), json(""), json(nullptr), json(7)}) {
        const json stored = {{"CertificateString", text},
                             {"ValidNotAfter", "2039-12-31T23:59:59Z"},
                             {"Subject", {{"CommonName", "bmc"}}}};
        const json expected = {{"@odata.id", URI},
                               {"@odata.type", "#Certificate.v1_11_0.Certificate"},
                               {"Id", "1"},
                               {"Name", "HTTPS Certificate"},
                               {"CertificateString", text},
                               {"Subject", {{"CommonName", "bmc"}}},
                               {"Status", {{"State", "Enabled"}, {"Health", "OK"}}},
                               {"ValidNotAfter", "2039-12-31T23:59:59Z"}};
        EXPECT_EQ(viewOf(stored), expected);
    }
}

TEST(CertificateView, HasDatesWithAZoneWhateverIsStored) {
    json stored = storedFor(makeSelfSigned(detailedOptions()).certificate);
    stored["ValidNotAfter"] = "Dec 31 23:59:59 2039 GMT";
    stored["ValidNotBefore"] = nullptr;
    const json view = viewOf(stored);
    EXPECT_EQ(view["ValidNotAfter"], "2039-12-31T23:59:59Z");
    EXPECT_EQ(view["ValidNotBefore"], "2020-01-01T00:00:00Z");
}

TEST(CertificateView, NearItsEndHasAConditionAndAnotherEntityTag) {
    const json stored = storedFor(makeSelfSigned(detailedOptions()).certificate);
    const std::time_t end = isoMoment("2039-12-31T23:59:59Z").value();
    struct Row {
        std::time_t now;
        const char* health;
        const char* tag;
    };
    for (const Row& row : {Row{LONG_BEFORE_THE_END, "OK", "\"1700000000000\""},
                           Row{end - 1, "Warning", "\"1700000000000-Warning\""},
                           Row{end + 1, "Critical", "\"1700000000000-Critical\""}}) {
        const json view = viewOf(stored, row.now);
        EXPECT_THAT(schemaFaults(view), IsEmpty());
        EXPECT_EQ(view["Status"]["Health"], row.health);
        EXPECT_EQ(view["@odata.etag"], row.tag);
    }
}

TEST(CertificateView, ShowsHostileNamesPrintable) {
    CertificateOptions options;
    options.subject = {{"CN", "a\xe2\x80\xaeg"}, {"CN", "x\r\nSet: 1"}, {"CN", "last"}};
    options.extensions = {{"subjectAltName", "DNS:good.example,DNS:\x1b[31m"}};
    const json view = viewOf(storedFor(makeSelfSigned(options).certificate));
    EXPECT_THAT(schemaFaults(view), IsEmpty());
    const json names = {"a\\E2\\80\\AEg", "x\\0D\\0ASet: 1"};
    EXPECT_EQ(view["Subject"]["AdditionalCommonNames"], names);
    const json alternativeNames = {"good.example", "DNS:\\1B[31m"};
    EXPECT_EQ(view["Subject"]["AlternativeNames"], alternativeNames);
}

TEST(SchemaFaults, AreFound) {
    const json good = viewOf(storedFor(makeSelfSigned().certificate));
    struct Row {
        const char* patch;
        std::string fault;
    };
    for (const Row& row : std::vector<Row>{
             {R"({"Name": null})", "Name: missing"},
             {R"({"Color": 1})", "Color: unknown"},
             {R"({"KeyUsage": "x"})", "KeyUsage: no array"},
             {R"({"KeyUsage": [1]})", "KeyUsage[0]: no text"},
             {R"({"Subject": {"City": 1}})", "Subject.City: no text"},
             {R"({"Status": {"Conditions": [{}]}})", "Status.Conditions[0].MessageArgs: missing"},
             {R"({"ValidNotAfter": "2039-12-31"})", "ValidNotAfter: no date"},
             {R"({"@odata.type": "#X.X"})", ": no schema X.X"},
         }) {
        json document = good;
        document.merge_patch(json::parse(row.patch));
        EXPECT_THAT(schemaFaults(document), testing::Contains(row.fault));
    }
}
