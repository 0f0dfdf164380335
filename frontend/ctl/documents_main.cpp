// certificatectl-documents: prints what is made from the definitions of certificatectl's commands.

#include "frontend/ctl/bash_completion.h"
#include "frontend/ctl/manual_page.h"
#include "frontend/ctl/program_definition.h"

#include <cstdio>
#include <exception>
#include <string_view>

namespace {

int printDocument(std::string_view name) {
    CommonOptions common;
    Command chosen;
    CLI::App app;
    defineProgram(app, common, chosen);
    const std::string text = name == "manual" ? manualPage(app) : bashCompletion(app);
    return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view name = argc == 2 ? argv[1] : "";
    if (name != "manual" && name != "completion") {
        (void)std::fputs("usage: certificatectl-documents manual|completion\n", stderr);
        return 2;
    }
    try {
        return printDocument(name);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "certificatectl-documents: %s\n", error.what());
        return 1;
    }
}
