// File names: twenty digits, "-", the digest in hexadecimal, ".pem". Their order is their age.

#include "platform/certificate_backend/request_keys.h"

#include "platform/certificate_backend/certificate_text.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/posix/atomic_file.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>
#include <vector>

namespace {

constexpr std::size_t MOST_KEYS = 64;
constexpr std::size_t NUMBER_DIGITS = 20;
constexpr std::size_t DIGEST_DIGITS = 64;
constexpr const char* ENDING = ".pem";
constexpr std::size_t NAME_LENGTH = NUMBER_DIGITS + 1 + DIGEST_DIGITS + 4;

bool isKeyFile(const std::string& name) {
    return name.size() == NAME_LENGTH && name.ends_with(ENDING) && name[NUMBER_DIGITS] == '-' &&
           std::all_of(name.begin(), name.begin() + NUMBER_DIGITS,
                       [](char c) { return c >= '0' && c <= '9'; });
}

std::vector<std::string> keyFiles(const LockedDirectory& directory) {
    std::vector<std::string> names = listFiles(directory.requests());
    std::erase_if(names, [](const std::string& name) { return !isKeyFile(name); });
    return names;
}

// The file that holds the key of that digest; empty when there is none.
std::string fileOfKey(const LockedDirectory& directory, EVP_PKEY* publicKey) {
    const std::vector<std::string> names = keyFiles(directory);
    if (names.empty()) {
        return {}; // the digest costs more than the look
    }
    const std::string ending = "-" + publicKeyDigest(publicKey) + ENDING;
    const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
        return name.ends_with(ending);
    });
    return found == names.end() ? std::string() : *found;
}

std::string numberAfter(const std::vector<std::string>& names) {
    const unsigned long long last =
        names.empty() ? 0 : std::stoull(names.back().substr(0, NUMBER_DIGITS));
    std::array<char, NUMBER_DIGITS + 1> digits{};
    static_cast<void>(std::snprintf(digits.data(), digits.size(), "%020llu", last + 1));
    return digits.data();
}

} // namespace

void keepRequestKey(const LockedDirectory& directory, EVP_PKEY* key, const std::string& digest) {
    const Directory& folder = directory.requests();
    const std::vector<std::string> older = keyFiles(directory);
    writeFileAtomically(folder, numberAfter(older) + "-" + digest + ENDING, privateKeyText(key));
    for (std::size_t i = 0; i + MOST_KEYS <= older.size(); ++i) {
        static_cast<void>(removeFile(folder, older[i])); // gone already is as good
    }
}

KeyHandle findRequestKey(const LockedDirectory& directory, EVP_PKEY* publicKey) {
    const std::string name = fileOfKey(directory, publicKey);
    const std::optional<SecretText> text =
        name.empty() ? std::nullopt : readFile(directory.requests(), name);
    if (!text) {
        return nullptr;
    }
    KeyHandle key = readPrivateKey(*text);
    if (!key || !keysBelongTogether(key.get(), publicKey)) {
        throw std::runtime_error("the key file " + name + " is damaged");
    }
    return key;
}

void dropRequestKey(const LockedDirectory& directory, EVP_PKEY* publicKey) {
    const std::string name = fileOfKey(directory, publicKey);
    if (!name.empty()) {
        static_cast<void>(removeFile(directory.requests(), name)); // gone already is as good
    }
}
