#pragma once

// Textual encodings (RFC 7468): a text cut into its "-----BEGIN ...-----" blocks.

#include "platform/posix/fault.h"
#include "platform/posix/secret_text.h"

#include <string>
#include <string_view>
#include <vector>

struct PemBlock {
    std::string label;      // "CERTIFICATE", "PRIVATE KEY", ...
    SecretBytes content;    // the decoded bytes; empty when encrypted
    bool encrypted = false; // a header says that the content is encrypted (RFC 1421)
};

// Takes the text apart. Strict: only white space between, before and after the blocks, only base64
// inside one. Returns why the text is refused, in words that hold nothing of it; blocks then holds
// those before the fault.
[[nodiscard]] Fault splitPemBlocks(std::string_view text, std::vector<PemBlock>& blocks);
