#include "core/settings.h"

#include "core/protocol/files.h"
#include "platform/configuration.h"

std::string gRootCaFile;

namespace {

constexpr int LONGEST_VALUE = 128;

} // namespace

std::string readSetting(const std::string& key) {
    return getConfigValue(CONFIG_FILE, key, LONGEST_VALUE);
}
