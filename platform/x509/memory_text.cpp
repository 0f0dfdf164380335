#include "platform/x509/memory_text.h"

#include <stdexcept>

namespace {

BioHandle orThrow(BIO* memory) {
    if (memory == nullptr) {
        throw std::runtime_error("no memory for a text");
    }
    return BioHandle(memory);
}

} // namespace

BioHandle newMemory() {
    return orThrow(BIO_new(BIO_s_mem()));
}

std::string_view writtenText(const BioHandle& memory) {
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &text);
    return text == nullptr ? std::string_view()
                           : std::string_view(text, static_cast<std::size_t>(length));
}

BioHandle readableText(std::string_view text) {
    const char* begin = text.empty() ? "" : text.data(); // OpenSSL takes no null pointer
    return orThrow(BIO_new_mem_buf(begin, static_cast<int>(text.size())));
}

int noPassphrase(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*user*/) {
    return 0;
}
