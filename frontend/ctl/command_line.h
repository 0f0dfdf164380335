#pragma once

// What the commands share in describing their options.

#include "frontend/ctl/certificate_file.h"
#include "frontend/ctl/commands.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

// A URI that must be given; blanks are refused, slashes at its end dropped.
void addUri(CLI::App& command, const std::string& name, std::string& uri, const std::string& help);

// FILE and --type.
void addCertificateSource(CLI::App& command, CertificateSource& source,
                          const std::string& fileHelp);

// Refuses what is no URI.
[[nodiscard]] const CLI::Validator& uriCheck();

// Refuses what is no number above 0 and up to a million.
[[nodiscard]] const CLI::Validator& positiveCheck();

// Refuses what is no number from 0 to a million.
[[nodiscard]] const CLI::Validator& daysCheck();

// Names the values that are offered for an option; other texts go to the service, which judges.
[[nodiscard]] CLI::Validator offeredValues(const std::vector<std::string>& values);

// Makes run, with these options, the chosen work when the command line names the command.
template <typename Options>
void chooseWhenNamed(CLI::App& command, Command& chosen, std::shared_ptr<Options> options,
                     void (*run)(const CommonOptions&, const Options&)) {
    command.callback([&chosen, options = std::move(options), run] {
        chosen = [options, run](const CommonOptions& common) { run(common, *options); };
    });
}
