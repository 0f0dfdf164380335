#include "frontend/web/service/credentials.h"

#include "core/secret.h"

#include <openssl/evp.h>
#include <strings.h>

#include <string_view>

namespace {

constexpr std::string_view SCHEME = "Basic ";

// Far above any user and password.
constexpr std::size_t LONGEST_TEXT = 4096;

std::string decodedBase64(std::string_view text) {
    std::string decoded(text.size() / 4 * 3, '\0');
    const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(decoded.data()),
                                       reinterpret_cast<const unsigned char*>(text.data()),
                                       static_cast<int>(text.size()));
    // The padding decodes to zero bytes.
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    decoded.resize(length < 0 ? 0 : static_cast<std::size_t>(length) - padding);
    return decoded;
}

} // namespace

std::optional<BasicCredentials> basicCredentials(const HttpRequest& request) {
    const auto header = findHeader(request.headers, "Authorization");
    const bool isBasic = header && header->size() > SCHEME.size() &&
                         header->size() <= LONGEST_TEXT &&
                         strncasecmp(header->data(), SCHEME.data(), SCHEME.size()) == 0;
    const std::string_view text = isBasic ? header->substr(SCHEME.size()) : std::string_view();
    if (text.empty() || text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::string decoded = decodedBase64(text);
    const std::size_t colon = decoded.find(':');
    std::optional<BasicCredentials> credentials;
    if (colon != std::string::npos) {
        credentials = {decoded.substr(0, colon), decoded.substr(colon + 1)};
    }
    wipeText(decoded);
    return credentials;
}
