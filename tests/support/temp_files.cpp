// Files and folders of a test, over std::filesystem and streams.

#include "tests/support/temp_files.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

TempDirectory::TempDirectory() : mPath("/tmp/test-XXXXXX") {
    if (mkdtemp(mPath.data()) == nullptr) {
        throw std::runtime_error("cannot make a folder below /tmp");
    }
}

TempDirectory::~TempDirectory() {
    std::error_code ignored; // the sandbox's /tmp goes away in any case
    std::filesystem::remove_all(mPath, ignored);
}

std::string TempDirectory::file(const std::string& name) const {
    return mPath + "/" + name;
}

void writeFile(const std::string& path, const std::string& content) {
    const auto parent = std::filesystem::path(path).parent_path();
    if (!parent.empty()) {
        std::filesystem::create_directories(parent);
    }
    std::ofstream file(path, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    content << file.rdbuf();
    return content.str();
}

std::string readFileIfAny(const std::string& path) {
    return fileExists(path) ? readFile(path) : std::string();
}

bool fileExists(const std::string& path) {
    return std::filesystem::exists(path);
}

unsigned fileMode(const std::string& path) {
    const auto status = std::filesystem::status(path);
    if (!std::filesystem::exists(status)) {
        throw std::runtime_error("no file " + path);
    }
    return static_cast<unsigned>(status.permissions() & std::filesystem::perms::mask);
}

std::vector<std::string> listDirectory(const std::string& path) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}
