// Cipher texts. Properties:
// - A text that was encrypted with the key is recovered, in upper-case digits too.
// - With one digit changed, cut short or followed by more, under another key, or made of any other
//   bytes, it gives an empty text.

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "platform/data_decryption.h"
#include "platform/data_decryption/encrypt.h"
#include "tests/support/temp_files.h"

#include <algorithm>
#include <string>

namespace {

constexpr const char* KEY_FILE = "/tmp/fuzz.key";
constexpr const char* OTHER_KEY_FILE = "/tmp/fuzz-other.key";
constexpr std::size_t KEY_BYTES = 32;

std::string decrypted(const std::string& text) {
    return decryptHexString(text, KEY_FILE);
}

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 32) : c; });
    return text;
}

void checkDamage(Input& input, std::string cipher) {
    const std::size_t position = (input.choose(256) * 256 + input.choose(256)) % cipher.size();
    switch (input.choose(4)) {
    case 0:
        cipher[position] = static_cast<char>(cipher[position] == '0' ? '1' : '0');
        break;
    case 1:
        cipher.resize(position);
        break;
    case 2:
        cipher.insert(position, input.text(4) + "0");
        break;
    default:
        cipher[position] = static_cast<char>('g' + input.choose(20));
        break;
    }
    requireSame(decrypted(cipher), "", "a damaged text is not decrypted");
}

void checkRoundTrip(Input& input) {
    const std::string plain = input.text(400);
    const std::string cipher = encryptHexString(plain, KEY_FILE);
    require(cipher.empty() == plain.empty(), "every text but an empty one is encrypted");
    if (cipher.empty()) {
        return;
    }
    requireSame(decrypted(cipher), plain, "an encrypted text is recovered");
    requireSame(decrypted(upperCase(cipher)), plain, "upper-case digits are recovered");
    requireSame(decryptHexString(cipher, OTHER_KEY_FILE), "", "another key decrypts nothing");
    checkDamage(input, cipher);
}

void checkKeyFile(Input& input) {
    const std::string key = input.text(KEY_BYTES * 2);
    writeFile(OTHER_KEY_FILE, key);
    const std::string cipher = encryptHexString("text", OTHER_KEY_FILE);
    require(cipher.empty() == (key.size() != KEY_BYTES), "a key has 32 bytes");
    writeFile(OTHER_KEY_FILE, std::string(KEY_BYTES, 'o'));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    writeFile(KEY_FILE, std::string(KEY_BYTES, 'k'));
    writeFile(OTHER_KEY_FILE, std::string(KEY_BYTES, 'o'));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    switch (input.choose(4)) {
    case 0:
        checkKeyFile(input);
        break;
    case 1:
        // No input finds a tag of 128 bits.
        requireSame(decrypted(input.rest()), "", "a text that was not encrypted with the key");
        break;
    default:
        checkRoundTrip(input);
        break;
    }
    return 0;
}
