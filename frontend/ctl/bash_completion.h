#pragma once

// The completion of certificatectl's command lines in bash, made from the definitions of its
// commands.

#include <CLI/CLI.hpp>

#include <string>

// A script for the shell to read. It completes commands, options, the values that are offered for
// an option, and files where a file is named. The same definitions give the same bytes.
[[nodiscard]] std::string bashCompletion(const CLI::App& program);
