#pragma once

// Files and folders of a test.

#include <string>
#include <vector>

// A new, empty folder below /tmp, removed with everything in it at the end of the scope.
class TempDirectory {
public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    [[nodiscard]] const std::string& path() const {
        return mPath;
    }

    // path() + "/" + name. Nothing is made.
    [[nodiscard]] std::string file(const std::string& name) const;

private:
    std::string mPath;
};

// Replaces the file's content by exactly these bytes, making the folders above it when missing.
// Throws std::runtime_error when that fails.
void writeFile(const std::string& path, const std::string& content);

// The file's bytes. Throws std::runtime_error when it cannot be read.
[[nodiscard]] std::string readFile(const std::string& path);

// The file's bytes, or an empty string when there is no such file.
[[nodiscard]] std::string readFileIfAny(const std::string& path);

[[nodiscard]] bool fileExists(const std::string& path);

// The file's permission bits, such as 0600. Throws std::runtime_error when there is no such file.
[[nodiscard]] unsigned fileMode(const std::string& path);

// The names in a folder, sorted, without "." and "..".
[[nodiscard]] std::vector<std::string> listDirectory(const std::string& path);

// The text's lines without their line ends. A last line without a line end counts.
[[nodiscard]] std::vector<std::string> splitLines(const std::string& text);
