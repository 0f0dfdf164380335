// OpenSSL's own reader is not used: it skips blocks that it does not understand, and its buffers
// are not wiped.

#include "platform/certificate_backend/pem_blocks.h"

#include <openssl/evp.h>

#include <algorithm>

namespace {

constexpr std::string_view BOUNDARY = "-----BEGIN"; // also of a line that is spoilt
constexpr std::string_view BEGIN = "-----BEGIN ";
constexpr std::string_view CLOSING = "-----END";
constexpr std::string_view END = "-----END ";
constexpr std::string_view DASHES = "-----";
constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";
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
        return "The text holds a line that begins like a PEM block but is none. Send each block "
               "with its whole first line.";
    }
    if (!takeBody(text, block.label, body)) {
        return "A PEM block of the text has no end. Send each block with its last line.";
    }
    skipBlanks(body);
    block.encrypted = body.starts_with(ENCRYPTED_HEADER);
    if (!block.encrypted && !decodeBase64(body, block.content)) {
        return "A PEM block of the text is not correct base64. Send it as it was made.";
    }
    return std::nullopt;
}

// Takes what stands before the next block, or all when there is none.
Fault skipExplanation(std::string_view& text) {
    const std::size_t length = std::min(text.find(BOUNDARY), text.size());
    if (text.substr(0, length).find(CLOSING) != std::string_view::npos) {
        return "The text holds the last line of a PEM block that has no first one. Send each block "
               "whole.";
    }
    text.remove_prefix(length);
    return std::nullopt;
}

} // namespace

Fault splitPemBlocks(std::string_view text, std::vector<PemBlock>& blocks) {
    while (true) {
        if (Fault fault = skipExplanation(text)) {
            return fault;
        }
        if (text.empty()) {
            return std::nullopt;
        }
        PemBlock block;
        if (Fault fault = takeBlock(text, block)) {
            return fault;
        }
        blocks.push_back(std::move(block));
    }
}

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

std::string_view withoutByteOrderMark(std::string_view text) {
    text.remove_prefix(text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0);
    return text;
}
