// Private keys: that they belong to a public key, and that their numbers are looked at before they
// are used.

#include "platform/certificate_backend/certificate_text.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/private_key.h"
#include "platform/x509/memory_text.h"
#include "tests/platform/certificate_backend/backend_fixture.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>

#include <array>
#include <map>

namespace {

using NumberHandle = std::unique_ptr<BIGNUM, OpenSSLRelease<BN_free>>;
using Numbers = std::map<std::string, NumberHandle>;

constexpr const char* DAMAGED = "The private key of the text is damaged: its numbers do not belong "
                                "together. Send the key as it was made.";

// In the order of an RSAPrivateKey (RFC 8017, A.1.2).
constexpr std::array RSA_NUMBERS = {
    OSSL_PKEY_PARAM_RSA_N,         OSSL_PKEY_PARAM_RSA_E,           OSSL_PKEY_PARAM_RSA_D,
    OSSL_PKEY_PARAM_RSA_FACTOR1,   OSSL_PKEY_PARAM_RSA_FACTOR2,     OSSL_PKEY_PARAM_RSA_EXPONENT1,
    OSSL_PKEY_PARAM_RSA_EXPONENT2, OSSL_PKEY_PARAM_RSA_COEFFICIENT1};

Numbers numbersOf(EVP_PKEY* key) {
    Numbers numbers;
    for (const char* name : RSA_NUMBERS) {
        BIGNUM* number = nullptr;
        EVP_PKEY_get_bn_param(key, name, &number);
        numbers[name] = NumberHandle(number);
    }
    return numbers;
}

// An RSA pair of any numbers.
KeyHandle pairOf(const Numbers& numbers) {
    const std::unique_ptr<OSSL_PARAM_BLD, OpenSSLRelease<OSSL_PARAM_BLD_free>> builder(
        OSSL_PARAM_BLD_new());
    for (const auto& [name, number] : numbers) {
        OSSL_PARAM_BLD_push_BN(builder.get(), name.c_str(), number.get());
    }
    const std::unique_ptr<OSSL_PARAM, OpenSSLRelease<OSSL_PARAM_free>> parameters(
        OSSL_PARAM_BLD_to_param(builder.get()));
    const KeyContextHandle context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* key = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEYPAIR, parameters.get());
    return KeyHandle(key);
}

std::string integerContent(const BIGNUM* number) {
    using IntegerHandle = std::unique_ptr<ASN1_INTEGER, OpenSSLRelease<ASN1_INTEGER_free>>;
    const IntegerHandle integer(BN_to_ASN1_INTEGER(number, nullptr));
    std::string content(static_cast<std::size_t>(i2d_ASN1_INTEGER(integer.get(), nullptr)), '\0');
    auto* next = reinterpret_cast<unsigned char*>(content.data());
    i2d_ASN1_INTEGER(integer.get(), &next);
    return content;
}

// A private key of any numbers as a text: OpenSSL writes none that it would not take.
std::string textOf(const Numbers& numbers) {
    std::string content = integerContent(NumberHandle(BN_new()).get()); // the version: two primes
    for (const char* name : RSA_NUMBERS) {
        content += integerContent(numbers.at(name).get());
    }
    std::array<unsigned char, 16> head{};
    unsigned char* next = head.data();
    ASN1_put_object(&next, 1, static_cast<int>(content.size()), V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL);
    content.insert(content.begin(), head.data(), next);
    const BioHandle memory = newMemory();
    PEM_write_bio(memory.get(), "RSA PRIVATE KEY", "",
                  reinterpret_cast<const unsigned char*>(content.data()),
                  static_cast<long>(content.size()));
    return std::string(writtenText(memory));
}

NumberHandle numberFrom(const char* decimal) {
    BIGNUM* number = nullptr;
    BN_dec2bn(&number, decimal);
    return NumberHandle(number);
}

// The same number plus so many.
NumberHandle shifted(const NumberHandle& number, BN_ULONG by) {
    NumberHandle sum(BN_dup(number.get()));
    BN_add_word(sum.get(), by);
    return sum;
}

NumberHandle widened(const NumberHandle& number, int bits) {
    NumberHandle sum(BN_dup(number.get()));
    BN_set_bit(sum.get(), bits);
    return sum;
}

} // namespace

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
    Numbers numbers = numbersOf(parsePrivateKey(makePrivateKey(KeyKind::RSA_2048)).get());
    const KeyHandle good = pairOf(numbers);
    numbers = [&] {
        Numbers damaged;
        damaged[OSSL_PKEY_PARAM_RSA_N] = std::move(numbers[OSSL_PKEY_PARAM_RSA_N]);
        damaged[OSSL_PKEY_PARAM_RSA_E] = NumberHandle(BN_dup(numbers[OSSL_PKEY_PARAM_RSA_E].get()));
        damaged[OSSL_PKEY_PARAM_RSA_D] = std::move(numbers[OSSL_PKEY_PARAM_RSA_E]);
        return damaged;
    }();
    const KeyHandle damaged = pairOf(numbers);
    ASSERT_NE(damaged, nullptr);
    EXPECT_EQ(EVP_PKEY_eq(damaged.get(), good.get()), 1);
    EXPECT_FALSE(keysBelongTogether(damaged.get(), good.get()));
}

TEST(KeyPairs, MayBeOfRsaPssWithADigestOfItsOwn) {
    TempDirectory files;
    runCommand("openssl genpkey -algorithm rsa-pss -pkeyopt rsa_keygen_bits:2048 -pkeyopt "
               "rsa_pss_keygen_md:sha512 -pkeyopt rsa_pss_keygen_mgf1_md:sha512 -out " +
               files.file("key.pem"));
    const KeyHandle key = readPrivateKey(readFile(files.file("key.pem")));
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(privateNumbersFault(key.get()), std::nullopt);
    EXPECT_TRUE(keysBelongTogether(key.get(), key.get()));
}

TEST(PrivateNumbers, AreSoundForEveryKindOfKey) {
    for (const KeyKind kind : {KeyKind::RSA_2048, KeyKind::RSA_4096, KeyKind::EC_P256,
                               KeyKind::EC_P384, KeyKind::EC_P521, KeyKind::ED25519}) {
        EXPECT_EQ(privateNumbersFault(parsePrivateKey(makePrivateKey(kind)).get()), std::nullopt);
    }
}

TEST(PrivateNumbers, OfRsaBelongTogetherAndAreNoLongerThanTheModulus) {
    const KeyHandle good = parsePrivateKey(makePrivateKey(KeyKind::RSA_2048));
    struct Row {
        const char* name;
        const char* number;
        std::function<NumberHandle(const NumberHandle&)> change;
        bool isInRange = false;
    };
    const auto zero = [](const NumberHandle& /*number*/) { return numberFrom("0"); };
    const auto long340000 = [](const NumberHandle& number) { return widened(number, 340000); };
    const auto plusTwo = [](const NumberHandle& number) { return shifted(number, 2); };
    for (const Row& row : std::initializer_list<Row>{
             {"d of 340,000 bits", OSSL_PKEY_PARAM_RSA_D, long340000},
             {"d = 0", OSSL_PKEY_PARAM_RSA_D, zero},
             {"d = n", OSSL_PKEY_PARAM_RSA_D,
              [&](const NumberHandle& /*number*/) {
                  return std::move(numbersOf(good.get())[OSSL_PKEY_PARAM_RSA_N]);
              }},
             {"p + 2", OSSL_PKEY_PARAM_RSA_FACTOR1, plusTwo, true},
             {"q + 2", OSSL_PKEY_PARAM_RSA_FACTOR2, plusTwo, true},
             {"d mod p-1, plus 2", OSSL_PKEY_PARAM_RSA_EXPONENT1, plusTwo, true},
             {"d mod q-1, plus 2", OSSL_PKEY_PARAM_RSA_EXPONENT2, plusTwo, true},
             {"1/q mod p, plus 2", OSSL_PKEY_PARAM_RSA_COEFFICIENT1, plusTwo, true},
             {"d + 2", OSSL_PKEY_PARAM_RSA_D, plusTwo, true},
             {"p of 340,000 bits", OSSL_PKEY_PARAM_RSA_FACTOR1, long340000},
             {"q of 340,000 bits", OSSL_PKEY_PARAM_RSA_FACTOR2, long340000},
             {"d mod p-1 of 340,000 bits", OSSL_PKEY_PARAM_RSA_EXPONENT1, long340000},
             {"d mod q-1 of 340,000 bits", OSSL_PKEY_PARAM_RSA_EXPONENT2, long340000},
             {"1/q mod p of 340,000 bits", OSSL_PKEY_PARAM_RSA_COEFFICIENT1, long340000},
             {"1/q mod p = 0", OSSL_PKEY_PARAM_RSA_COEFFICIENT1, zero},
         }) {
        Numbers numbers = numbersOf(good.get());
        numbers[row.number] = row.change(numbers[row.number]);
        const KeyHandle key = readPrivateKey(textOf(numbers));
        ASSERT_NE(key, nullptr) << row.name;
        EXPECT_EQ(privateNumbersFault(key.get()), DAMAGED) << row.name;
        EXPECT_EQ(privateRangeFault(key.get()), row.isInRange ? std::nullopt : Fault(DAMAGED))
            << row.name;
    }
}

TEST(PrivateNumbers, OfRsaAreTwoPrimes) {
    TempDirectory files;
    runCommand("openssl genrsa -primes 3 -out " + files.file("key.pem") + " 2048");
    const KeyHandle key = readPrivateKey(readFile(files.file("key.pem")));
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(privateNumbersFault(key.get()), DAMAGED);
}

using PrivateNumbersOfAText = CertificateBackend;

TEST_F(PrivateNumbersOfAText, AreLookedAtInACreation) {
    const TestCertificate made = makeSelfSigned({.key = KeyKind::RSA_2048});
    Numbers numbers = numbersOf(parsePrivateKey(made.privateKey).get());
    numbers[OSSL_PKEY_PARAM_RSA_D] = widened(numbers[OSSL_PKEY_PARAM_RSA_D], 100000);
    EXPECT_EQ(refusalOf(textOf(numbers) + made.certificate), DAMAGED);
    EXPECT_EQ(refusalOf(textOf(numbers) + makeSelfSigned().certificate), DAMAGED);
}
