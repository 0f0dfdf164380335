// Names, key usage and dates.

#include "platform/x509/certificate_chain.h"
#include "platform/x509/dates.h"
#include "platform/x509/key_usage.h"
#include "platform/x509/names.h"
#include "tests/support/certificates.h"

#include <gtest/gtest.h>

namespace {

using Parts = std::vector<std::pair<std::string, std::string>>;

CertificateHandle madeWith(const CertificateOptions& options) {
    CertificateChain chain = readCertificates(makeSelfSigned(options).certificate);
    return std::move(chain.at(0));
}

Parts partsOf(const X509_NAME* name) {
    Parts parts;
    for (const NamePart& part : namePartsOf(name)) {
        parts.emplace_back(part.property, part.value.value_or("(nothing)"));
    }
    return parts;
}

Parts subjectParts(const std::vector<std::pair<std::string, std::string>>& subject) {
    return partsOf(X509_get_subject_name(madeWith({.subject = subject}).get()));
}

} // namespace

TEST(NameParts, HaveRedfishNamesAndAFixedOrder) {
    EXPECT_EQ(subjectParts({{"emailAddress", "a@b"},
                            {"C", "DE"},
                            {"ST", "Bayern"},
                            {"L", "M\xc3\xbcnchen"},
                            {"O", "Example, Ltd."},
                            {"OU", "Boards"},
                            {"OU", "Second"},
                            {"CN", "bmc"}}),
              (Parts{{"CommonName", "bmc"},
                     {"Organization", "Example, Ltd."},
                     {"OrganizationalUnit", "Second"},
                     {"City", "M\xc3\xbcnchen"},
                     {"State", "Bayern"},
                     {"Country", "DE"},
                     {"Email", "a@b"}}));
    EXPECT_EQ(subjectParts({}), Parts{});
}

TEST(NameParts, HoldWhatStandsInTheCertificate) {
    EXPECT_EQ(subjectParts({{"CN", "a\nb"}}), (Parts{{"CommonName", "a\nb"}}));
    EXPECT_EQ(subjectParts({{"CN", "a\xe2\x80\xae"
                                   "b"}}),
              (Parts{{"CommonName", "a\\E2\\80\\AEb"}}));
}

TEST(WholeName, BeginsWithTheMostSpecificPartAndIsEscaped) {
    const auto nameOf = [](const std::vector<std::pair<std::string, std::string>>& subject) {
        return wholeName(X509_get_subject_name(madeWith({.subject = subject}).get()));
    };
    EXPECT_EQ(nameOf({{"L", "M\xc3\xbcnchen"},
                      {"O", "Example, Ltd."},
                      {"OU", "a\xe2\x80\xae"},
                      {"OU", "b"},
                      {"CN", "a\nb"}}),
              "CN=a\\0Ab,OU=b,OU=a\\E2\\80\\AE,O=Example\\, Ltd.,L=M\xc3\xbcnchen");
    EXPECT_EQ(nameOf({}), "");
}

TEST(NameParts, AreEmptyWhenTheyAreNoText) {
    const NameHandle name(X509_NAME_new());
    const unsigned char text[] = {0xff, 0xfe};
    ASSERT_EQ(
        X509_NAME_add_entry_by_NID(name.get(), NID_commonName, V_ASN1_UTF8STRING, text, 2, -1, 0),
        1);
    EXPECT_EQ(partsOf(name.get()).at(0), Parts::value_type("CommonName", "(nothing)"));
}

TEST(KeyUsage, HasARedfishNameForEveryBitAndPurpose) {
    struct Row {
        const char* extension;
        const char* value;
        std::string name;
    };
    for (const Row& row : std::vector<Row>{
             {"keyUsage", "digitalSignature", "DigitalSignature"},
             {"keyUsage", "nonRepudiation", "NonRepudiation"},
             {"keyUsage", "keyEncipherment", "KeyEncipherment"},
             {"keyUsage", "dataEncipherment", "DataEncipherment"},
             {"keyUsage", "keyAgreement", "KeyAgreement"},
             {"keyUsage", "keyCertSign", "KeyCertSign"},
             {"keyUsage", "cRLSign", "CRLSigning"},
             {"keyUsage", "encipherOnly", "EncipherOnly"},
             {"keyUsage", "decipherOnly", "DecipherOnly"},
             {"extendedKeyUsage", "serverAuth", "ServerAuthentication"},
             {"extendedKeyUsage", "clientAuth", "ClientAuthentication"},
             {"extendedKeyUsage", "codeSigning", "CodeSigning"},
             {"extendedKeyUsage", "emailProtection", "EmailProtection"},
             {"extendedKeyUsage", "timeStamping", "Timestamping"},
             {"extendedKeyUsage", "OCSPSigning", "OCSPSigning"},
         }) {
        const CertificateHandle certificate =
            madeWith({.extensions = {{row.extension, row.value}}});
        EXPECT_EQ(keyUsageOf(certificate.get()), std::vector<std::string>{row.name});
        const std::optional<KeyUsageValue> usage = keyUsageNamed(row.name);
        ASSERT_TRUE(usage.has_value()) << row.name;
        EXPECT_EQ(usage->name, row.name);
        EXPECT_NE(usage->bit >= 0, usage->purpose != 0) << row.name;
    }
    EXPECT_EQ(keyUsageNamed("digitalSignature"), std::nullopt);
    EXPECT_TRUE(keyUsageOf(madeWith({}).get()).empty());
}

TEST(Dates, AreShownInUtc) {
    const CertificateHandle certificate =
        madeWith({.notBefore = "19600102030405Z", .notAfter = "99991231235959Z"});
    EXPECT_EQ(isoTime(utcTime(X509_get0_notBefore(certificate.get())).value()),
              "1960-01-02T03:04:05Z");
    EXPECT_EQ(isoTime(utcTime(X509_get0_notAfter(certificate.get())).value()),
              "9999-12-31T23:59:59Z");
    std::tm early{};
    early.tm_year = 42 - 1900;
    early.tm_mday = 1;
    EXPECT_EQ(isoTime(early), "0042-01-01T00:00:00Z");
}

TEST(Dates, AreNothingWhenTheyCannotBeRead) {
    const CertificateHandle certificate = madeWith({});
    ASN1_TIME* time = X509_getm_notAfter(certificate.get());
    ASSERT_EQ(ASN1_STRING_set(time, "yesterday", -1), 1);
    EXPECT_EQ(utcTime(time).has_value(), false);
}

TEST(Dates, AreReadWithTheirZone) {
    for (const auto& [text, moment] : std::vector<std::pair<std::string, std::string>>{
             {"2026-01-31T23:59:59Z", "2026-01-31T23:59:59Z"},
             {"2026-01-31T23:59:59+00:00", "2026-01-31T23:59:59Z"},
             {"2026-01-31T23:59:59+01:30", "2026-01-31T22:29:59Z"},
             {"2026-01-31T23:59:59-05:00", "2026-02-01T04:59:59Z"},
             {"1960-01-02T03:04:05Z", "1960-01-02T03:04:05Z"},
             {"9999-12-31T23:59:59Z", "9999-12-31T23:59:59Z"},
         }) {
        ASSERT_TRUE(isoMoment(text).has_value()) << text;
        EXPECT_EQ(isoTime(*isoMoment(text)), moment) << text;
    }
}

TEST(Dates, OfAnotherFormAreNone) {
    for (const char* text : {"", "Z", "2026-01-31", "2026-01-31T23:59:59", "2026-01-31 23:59:59Z",
                             "2026-13-31T23:59:59Z", "2026-01-31T23:59:5 Z", " 026-01-31T23:59:59Z",
                             "2026-01-31T23:59:59.5Z", "2026-01-31T23:59:59+01:0x",
                             "2026-01-31T23:59:59Z+00:00", "Jan 31 23:59:59 2026 GMT"}) {
        EXPECT_FALSE(isoMoment(text).has_value()) << text;
    }
}
