#pragma once

// The manual page of certificatectl, made from the definitions of its commands.

#include <CLI/CLI.hpp>

#include <string>

// In the man macros of roff, ASCII only. The same definitions give the same bytes: the page bears
// the version and no date.
[[nodiscard]] std::string manualPage(const CLI::App& program);
