#include "frontend/web/service/installation_uuid.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <fstream>
#include <string_view>

namespace {

constexpr std::string_view PURPOSE = "certificateweb";

} // namespace

std::string uuidOf(const std::string& machineId) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    (void)HMAC(EVP_sha256(), machineId.data(), static_cast<int>(machineId.size()),
               reinterpret_cast<const unsigned char*>(PURPOSE.data()), PURPOSE.size(),
               digest.data(), nullptr);
    digest[6] = static_cast<unsigned char>((digest[6] & 0x0fU) | 0x80U); // the version
    digest[8] = static_cast<unsigned char>((digest[8] & 0x3fU) | 0x80U); // the variant
    std::string text;
    for (std::size_t i = 0; i < 16; ++i) {
        constexpr std::string_view DIGITS = "0123456789abcdef";
        text += i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "";
        text += {DIGITS[digest[i] >> 4U], DIGITS[digest[i] & 0x0fU]};
    }
    return text;
}

std::string installationUuid() {
    std::ifstream file("/etc/machine-id");
    std::string machineId;
    return std::getline(file, machineId) && !machineId.empty() ? uuidOf(machineId) : "";
}
