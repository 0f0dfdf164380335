#pragma once

#include <cstdio>
#include <memory>

struct FileCloser {
    void operator()(std::FILE* file) const {
        (void)std::fclose(file);
    }
};

// Owns a stream of the C library and closes it at the end of the scope. Null when it could not be
// opened.
using OpenFile = std::unique_ptr<std::FILE, FileCloser>;
