#pragma once

// The files of the page, as they were when the program was built.

#include <span>
#include <string_view>

struct PageFile {
    std::string_view name; // "style.css"
    std::string_view text;
};

[[nodiscard]] std::span<const PageFile> pageFiles();
