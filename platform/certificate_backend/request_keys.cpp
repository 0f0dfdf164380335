// File names: twenty digits, "-", two digests in hexadecimal with "-" between them, ".pem". Their
// order is their age.

#include "platform/certificate_backend/request_keys.h"

#include "platform/certificate_backend/certificate_text.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/sha256.h"
#include "platform/posix/atomic_file.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t MOST_OF_A_COLLECTION = 16;
constexpr std::size_t MOST_KEYS = 256;
constexpr std::size_t NUMBER_DIGITS = 20;
constexpr std::size_t DIGEST_DIGITS = 64;
constexpr std::size_t ID_DIGITS = 16;
constexpr std::size_t DIGEST_PLACE = NUMBER_DIGITS + 1;
constexpr std::size_t COLLECTION_PLACE = DIGEST_PLACE + DIGEST_DIGITS + 1;
constexpr const char* ENDING = ".pem";
constexpr std::size_t NAME_LENGTH = COLLECTION_PLACE + DIGEST_DIGITS + 4;

using Names = std::vector<std::string>;

bool isKeyFile(const std::string& name) {
    return name.size() == NAME_LENGTH && name.ends_with(ENDING) && name[NUMBER_DIGITS] == '-' &&
           name[COLLECTION_PLACE - 1] == '-' &&
           std::all_of(name.begin(), name.begin() + NUMBER_DIGITS,
                       [](char c) { return c >= '0' && c <= '9'; });
}

std::string keyDigestIn(const std::string& name) {
    return name.substr(DIGEST_PLACE, DIGEST_DIGITS);
}

std::string collectionDigestIn(const std::string& name) {
    return name.substr(COLLECTION_PLACE, DIGEST_DIGITS);
}

// With or without a "/" at the end it is the same collection.
std::string collectionDigest(std::string_view uri) {
    while (uri.ends_with('/')) {
        uri.remove_suffix(1);
    }
    return sha256Hex(uri);
}

// Oldest first.
Names keyFiles(const LockedDirectory& directory) {
    Names names = listFiles(directory.requests());
    std::erase_if(names, [](const std::string& name) { return !isKeyFile(name); });
    return names;
}

// The file that holds the key; empty when there is none.
std::string fileOfKey(const LockedDirectory& directory, EVP_PKEY* publicKey) {
    const Names names = keyFiles(directory);
    if (names.empty()) {
        return {}; // the digest costs more than the look
    }
    const std::string digest = publicKeyDigest(publicKey);
    const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
        return keyDigestIn(name) == digest;
    });
    return found == names.end() ? std::string() : *found;
}

std::string numberAfter(const Names& names) {
    const unsigned long long last =
        names.empty() ? 0 : std::stoull(names.back().substr(0, NUMBER_DIGITS));
    std::array<char, NUMBER_DIGITS + 1> digits{};
    static_cast<void>(std::snprintf(digits.data(), digits.size(), "%020llu", last + 1));
    return digits.data();
}

void forget(const LockedDirectory& directory, const std::string& name) {
    static_cast<void>(removeFile(directory.requests(), name)); // gone already is as good
}

// The collection with the most keys.
std::string fullestCollection(const Names& names) {
    std::map<std::string, std::size_t> counts;
    for (const std::string& name : names) {
        ++counts[collectionDigestIn(name)];
    }
    return std::max_element(
               counts.begin(), counts.end(),
               [](const auto& one, const auto& other) { return one.second < other.second; })
        ->first;
}

void forgetOldestOf(const LockedDirectory& directory, const std::string& collection, Names& names) {
    const auto oldest = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
        return collectionDigestIn(name) == collection;
    });
    forget(directory, *oldest);
    names.erase(oldest);
}

void keepWithinBounds(const LockedDirectory& directory, const std::string& collection,
                      Names names) {
    const auto ofCollection = [&] {
        return static_cast<std::size_t>(
            std::count_if(names.begin(), names.end(), [&](const std::string& name) {
                return collectionDigestIn(name) == collection;
            }));
    };
    while (ofCollection() > MOST_OF_A_COLLECTION) {
        forgetOldestOf(directory, collection, names);
    }
    while (names.size() > MOST_KEYS) {
        forgetOldestOf(directory, fullestCollection(names), names);
    }
}

} // namespace

void keepRequestKey(const LockedDirectory& directory, const RequestNote& note, EVP_PKEY* key,
                    const std::string& digest) {
    const std::string collection = collectionDigest(note.collectionUri);
    Names names = keyFiles(directory);
    names.push_back(numberAfter(names) + "-" + digest + "-" + collection + ENDING);
    writeFileAtomically(directory.requests(), names.back(), requestFileText(note, key));
    keepWithinBounds(directory, collection, std::move(names));
}

KeyHandle findRequestKey(const LockedDirectory& directory, const std::string& collectionUri,
                         EVP_PKEY* publicKey) {
    const std::string name = fileOfKey(directory, publicKey);
    if (name.empty() || collectionDigestIn(name) != collectionDigest(collectionUri)) {
        return nullptr; // made for another collection
    }
    const std::optional<SecretText> text = readFile(directory.requests(), name);
    KeyHandle key = text ? readPrivateKey(*text) : nullptr;
    if (!key || !keysBelongTogether(key.get(), publicKey)) {
        throw std::runtime_error("the key file " + name + " is damaged");
    }
    return key;
}

bool isRequestedFor(const LockedDirectory& directory, const std::string& collectionUri,
                    EVP_PKEY* publicKey) {
    const std::string name = fileOfKey(directory, publicKey);
    return !name.empty() && collectionDigestIn(name) == collectionDigest(collectionUri);
}

std::optional<RequestNote> findRequestNote(const LockedDirectory& directory, EVP_PKEY* publicKey) {
    const std::string name = fileOfKey(directory, publicKey);
    const std::optional<SecretText> text =
        name.empty() ? std::nullopt : readFile(directory.requests(), name);
    return text ? std::optional(readRequestNote(*text)) : std::nullopt;
}

void dropRequestKey(const LockedDirectory& directory, EVP_PKEY* publicKey) {
    const std::string name = fileOfKey(directory, publicKey);
    if (!name.empty()) {
        forget(directory, name);
    }
}

std::vector<OutstandingRequest> listRequests(const LockedDirectory& directory) {
    std::vector<OutstandingRequest> requests;
    for (const std::string& name : keyFiles(directory)) {
        const std::optional<SecretText> text = readFile(directory.requests(), name);
        requests.push_back({keyDigestIn(name).substr(0, ID_DIGITS),
                            text ? readRequestNote(*text) : RequestNote()});
    }
    return requests;
}

bool removeRequest(const LockedDirectory& directory, const std::string& id) {
    const Names names = keyFiles(directory);
    const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
        return keyDigestIn(name).substr(0, ID_DIGITS) == id;
    });
    return found != names.end() && removeFile(directory.requests(), *found);
}
