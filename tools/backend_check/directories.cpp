#include "tools/backend_check/directories.h"

#include "tools/backend_check/material.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace {

namespace fs = std::filesystem;

constexpr unsigned FOREIGN_READS = 044;
constexpr unsigned FOREIGN_PASSAGE = 011;

// Files come and go while the folders are walked; what is gone is left out.
std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code failed;
    fs::recursive_directory_iterator entry(folder, failed);
    while (!failed && entry != fs::recursive_directory_iterator()) {
        std::error_code gone;
        if (entry->is_regular_file(gone)) {
            files.push_back(entry->path().string());
        }
        entry.increment(failed);
    }
    return files;
}

std::string readAll(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

unsigned modeOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode : 0;
}

bool isBarred(const std::string& folder) {
    return (modeOf(folder) & FOREIGN_PASSAGE) == 0;
}

} // namespace

DiskState diskState(const std::vector<std::string>& folders) {
    DiskState state;
    for (const std::string& folder : folders) {
        for (const std::string& file : filesBelow(folder)) {
            struct stat status = {};
            if (stat(file.c_str(), &status) == 0) {
                state[file] = std::to_string(status.st_size) + " " +
                              std::to_string(status.st_mtim.tv_sec) + "." +
                              std::to_string(status.st_mtim.tv_nsec);
            }
        }
    }
    return state;
}

std::vector<std::string> changedFiles(const DiskState& before, const DiskState& after) {
    std::vector<std::string> changed;
    for (const auto& [file, state] : after) {
        const auto found = before.find(file);
        if (found == before.end() || found->second != state) {
            changed.push_back(file);
        }
    }
    return changed;
}

std::vector<std::string> filesWithKey(const std::vector<std::string>& folders,
                                      const std::string& privateKey) {
    std::vector<std::string> found;
    for (const std::string& folder : folders) {
        for (const std::string& file : filesBelow(folder)) {
            if (holdsKey(readAll(file), privateKey)) {
                found.push_back(file);
            }
        }
    }
    return found;
}

bool isOwnersAlone(const std::string& file, const std::vector<std::string>& folders) {
    if ((modeOf(file) & FOREIGN_READS) == 0) {
        return true;
    }
    for (const std::string& folder : folders) {
        if (file.starts_with(folder + "/") && isBarred(folder)) {
            return true;
        }
    }
    return isBarred(fs::path(file).parent_path().string());
}
