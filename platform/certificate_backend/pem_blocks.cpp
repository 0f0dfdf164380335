// OpenSSL's own reader is not used: it skips whatever stands between blocks, and its buffers are
// not wiped.

#include "platform/certificate_backend/pem_blocks.h"

#include <openssl/evp.h>

#include <algorithm>

namespace {

constexpr std::string_view BEGIN = "-----BEGIN ";
constexpr std::string_view END = "-----END ";
constexpr std::string_view DASHES = "-----";
constexpr std::string_view BLANKS = " \t\r\n";
constexpr std::string_view ENCRYPTED_HEADER = "Proc-Type: 4,ENCRYPTED";
constexpr std::size_t LONGEST_LABEL = 40;

bool isBase64(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/';
}

bool isLabelCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ' ' || c == '#';
}

void skipBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(BLANKS), text.size()));
}

SecretText withoutBlanks(std::string_view text) {
    SecretText kept;
    kept.reserve(text.size());
    std::copy_if(text.begin(), text.end(), std::back_inserter(kept),
                 [](char c) { return BLANKS.find(c) == std::string_view::npos; });
    return kept;
}

// False when the text is not base64 with its padding, or nothing at all.
bool decodeBase64(std::string_view text, SecretBytes& bytes) {
    const SecretText digits = withoutBlanks(text);
    const std::size_t padding =
        digits.size() - std::min(digits.find_last_not_of('=') + 1, digits.size());
    const bool clean =
        std::all_of(digits.begin(), digits.end() - static_cast<std::ptrdiff_t>(padding), isBase64);
    if (digits.empty() || digits.size() % 4 != 0 || padding > 2 || !clean) {
        return false;
    }
    bytes.resize(digits.size() / 4 * 3);
    const auto* input = reinterpret_cast<const unsigned char*>(digits.data());
    if (EVP_DecodeBlock(bytes.data(), input, static_cast<int>(digits.size())) < 0) {
        return false;
    }
    bytes.resize(bytes.size() - padding);
    return true;
}

// Takes the opening line from the text; false when it is none.
bool takeLabel(std::string_view& text, std::string& label) {
    if (!text.starts_with(BEGIN)) {
        return false;
    }
    text.remove_prefix(BEGIN.size());
    const std::size_t end = text.find(DASHES);
    if (end == std::string_view::npos || end == 0 || end > LONGEST_LABEL) {
        return false;
    }
    label = text.substr(0, end);
    text.remove_prefix(end + DASHES.size());
    return std::all_of(label.begin(), label.end(), isLabelCharacter);
}

// Takes body and closing line from the text; false when the block is not closed.
bool takeBody(std::string_view& text, const std::string& label, std::string_view& body) {
    const std::string closing = std::string(END) + label + std::string(DASHES);
    const std::size_t end = text.find(DASHES);
    if (end == std::string_view::npos || !text.substr(end).starts_with(closing)) {
        return false;
    }
    body = text.substr(0, end);
    text.remove_prefix(end + closing.size());
    return true;
}

Fault takeBlock(std::string_view& text, PemBlock& block) {
    std::string_view body;
    if (!takeLabel(text, block.label)) {
        return "the text holds something that is not a PEM block";
    }
    if (!takeBody(text, block.label, body)) {
        return "a PEM block of the text has no end";
    }
    skipBlanks(body);
    block.encrypted = body.starts_with(ENCRYPTED_HEADER);
    if (!block.encrypted && !decodeBase64(body, block.content)) {
        return "a PEM block of the text is not correct base64";
    }
    return std::nullopt;
}

} // namespace

Fault splitPemBlocks(std::string_view text, std::vector<PemBlock>& blocks) {
    skipBlanks(text);
    while (!text.empty()) {
        PemBlock block;
        if (Fault fault = takeBlock(text, block)) {
            return fault;
        }
        blocks.push_back(std::move(block));
        skipBlanks(text);
    }
    return std::nullopt;
}
