#pragma once

// The command line of certificatectl as a whole.

#include "frontend/ctl/commands.h"

#include <CLI/CLI.hpp>

// Defines program and commands in the empty app. A command line that is read then fills the common
// options and chooses the command; both must outlive the app.
void defineProgram(CLI::App& app, CommonOptions& common, Command& chosen);
