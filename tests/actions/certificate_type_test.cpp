// Recognising certificate resources, against the pattern that says what a certificate is.

#include "actions/certificate_type.h"
#include "core/protocol/redfish_names.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>
#include <string>
#include <vector>

namespace {

TEST(CertificateType, IsOfAnyVersionWithAnyCharacterForEachDot) {
    for (const std::string type :
         {R"("#Certificate.v1_2_2.Certificate")", R"("#Certificate.v1_0_0.Certificate")",
          R"("#Certificate.v10_200_3000.Certificate")", R"("#Certificatexv1_2_2yCertificate")",
          R"("#Certificate.v1_2_23Certificate")", R"("#Certificate"v1_2_2"Certificate")"}) {
        EXPECT_TRUE(isCertificateType(type)) << type;
    }
}

TEST(CertificateType, IsNothingElse) {
    for (const std::string type :
         {"",
          "\"",
          "\"\"",
          "#Certificate.v1_2_2.Certificate",
          R"("#Certificate.Certificate")",
          R"("#CertificateCollection.CertificateCollection")",
          R"("#Certificate.v1_2.Certificate")",
          R"("#Certificate.v1_2_2Certificate")",
          R"("#Certificatev1_2_2.Certificate")",
          R"("#Certificate.v_2_2.Certificate")",
          R"("#Certificate.v1__2.Certificate")",
          R"("#Certificate.v1_2_.Certificate")",
          R"("#Certificate.V1_2_2.Certificate")",
          R"("#certificate.v1_2_2.Certificate")",
          R"("#Certificate.v1_2_2.certificate")",
          R"( "#Certificate.v1_2_2.Certificate")",
          R"("#Certificate.v1_2_2.Certificate" )",
          "\"#Certificate\nv1_2_2.Certificate\"",
          R"("#Certificate.v1_2_2.Certificate""#Certificate.v1_2_2.Certificate")",
          R"("#Certificate.v1_2_2_2.Certificate")",
          "\"#Certificate.v1_2_2\rCertificate\"",
          R"("#Certificate.v1_-2_2.Certificate")"}) {
        EXPECT_FALSE(isCertificateType(type)) << type;
    }
}

// A text that is a certificate's type but for a few characters taken out, put in or exchanged.
std::string mutated(std::string text, std::mt19937& random) {
    static const std::string CHARACTERS("\"#Certificate.v0129__..\n\r \0x", 27);
    const auto pick = [&random](std::size_t size) { return random() % size; };
    for (std::size_t changes = pick(4); changes > 0; --changes) {
        const char character = CHARACTERS[pick(CHARACTERS.size())];
        const std::size_t place = pick(text.size() + 1);
        switch (pick(3)) {
        case 0:
            text.insert(place, 1, character);
            break;
        case 1:
            text.erase(std::min(place, text.size() - 1), 1);
            break;
        default:
            text[std::min(place, text.size() - 1)] = character;
        }
    }
    return text;
}

TEST(CertificateType, AgreesWithThePattern) {
    const std::regex pattern(CERTIFICATE_ODATA_TYPE_PATTERN);
    const std::vector<std::string> seeds = {R"("#Certificate.v1_2_2.Certificate")",
                                            R"("#Certificate.v1_22_333.Certificate")",
                                            R"("#Certificate9v9_9_99Certificate")"};
    constexpr unsigned SEED = 20240517;
    std::mt19937 random(SEED);
    int accepted = 0;
    int refused = 0;
    for (int i = 0; i < 60000; ++i) {
        const std::string text = mutated(seeds[random() % seeds.size()], random);
        const bool matches = std::regex_match(text, pattern);
        ASSERT_EQ(isCertificateType(text), matches)
            << testing::PrintToString(text) << " seed " << SEED;
        (matches ? accepted : refused) += 1;
    }
    EXPECT_GT(accepted, 5000);
    EXPECT_GT(refused, 5000);
}

TEST(CertificateType, OfAnyLengthIsDecided) {
    const std::string digits(10000000, '1');
    EXPECT_TRUE(isCertificateType("\"#Certificate.v" + digits + "_2_2.Certificate\""));
    EXPECT_FALSE(isCertificateType("\"#Certificate.v" + digits));
}

} // namespace
