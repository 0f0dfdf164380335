#pragma once

// What a backend keeps on disk.

#include <map>
#include <string>
#include <vector>

// Of every regular file below the folders its size and time of change; of what cannot be read
// nothing.
using DiskState = std::map<std::string, std::string>;
[[nodiscard]] DiskState diskState(const std::vector<std::string>& folders);

// The files of after that are not in before, or are others than there.
[[nodiscard]] std::vector<std::string> changedFiles(const DiskState& before,
                                                    const DiskState& after);

// The files below the folders that hold the private key (PEM) in whatever form.
[[nodiscard]] std::vector<std::string> filesWithKey(const std::vector<std::string>& folders,
                                                    const std::string& privateKey);

// Whether nobody but the owner can read the file: by its own mode, by its folder's, or by that of
// the one of the folders that it is below.
[[nodiscard]] bool isOwnersAlone(const std::string& file, const std::vector<std::string>& folders);
