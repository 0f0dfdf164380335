#pragma once

// Textual encodings (RFC 7468): a text cut into its "-----BEGIN ...-----" blocks.

#include "platform/certificate_backend/secret_text.h"

#include <string>
#include <string_view>
#include <vector>

struct PemBlock {
    std::string label;      // "CERTIFICATE", "PRIVATE KEY", ...
    SecretBytes content;    // the decoded bytes; empty when encrypted
    bool encrypted = false; // a header says that the content is encrypted (RFC 1421)
};

struct PemBlocks {
    std::vector<PemBlock> blocks;
    std::string fault; // why the text was not understood, for a message; empty when it was
};

// Takes the text apart. Strict: between, before and after the blocks stands only white space,
// inside a block only base64. The fault holds nothing of the text.
[[nodiscard]] PemBlocks splitPemBlocks(std::string_view text);
