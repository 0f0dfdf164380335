#pragma once

// Textual encodings (RFC 7468): the "-----BEGIN ...-----" blocks of a text.

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

// Takes the blocks out of the text; none when it has none. What stands before, between and after
// them is explanatory text and skipped, unless it looks like a block's first or last line. Inside a
// block stands base64 and white space alone. Returns why the text is refused, in words that hold
// nothing of it; blocks then holds those before the fault.
[[nodiscard]] Fault splitPemBlocks(std::string_view text, std::vector<PemBlock>& blocks);

// Decodes base64 with its padding (RFC 4648, 4), white space left out. False when it is anything
// else, or nothing at all.
[[nodiscard]] bool decodeBase64(std::string_view text, SecretBytes& bytes);

// The text without the byte order mark that some editors begin UTF-8 files with.
[[nodiscard]] std::string_view withoutByteOrderMark(std::string_view text);
