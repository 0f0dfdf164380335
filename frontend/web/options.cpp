#include "frontend/web/options.h"

#include "frontend/records/seed_records.h"

#include <CLI/CLI.hpp>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

constexpr std::size_t DEFAULT_MAX_SESSIONS = 64;
constexpr unsigned HIGHEST_PORT = 65535;

// "127.0.0.1:8443" or "[::1]:8443". Throws CLI::ValidationError.
ServerAddress parseAddress(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    std::string host = text.substr(0, colon);
    const std::string port = colon == std::string::npos ? "" : text.substr(colon + 1);
    if (host.starts_with('[') && host.ends_with(']')) {
        host = host.substr(1, host.size() - 2);
    }
    const bool isNumber = !port.empty() && port.size() <= 5 &&
                          port.find_first_not_of("0123456789") == std::string::npos;
    if (host.empty() || !isNumber || std::strtoul(port.c_str(), nullptr, 10) > HIGHEST_PORT) {
        throw CLI::ValidationError("--listen", "\"" + text + "\" is no ADDRESS:PORT.");
    }
    return {host, static_cast<std::uint16_t>(std::strtoul(port.c_str(), nullptr, 10))};
}

// The first line of the file, which others must not be able to read. Throws CLI::ValidationError.
std::string readPassword(const std::string& file) {
    struct stat status {};
    std::ifstream stream(file);
    std::string password;
    if (!stream || stat(file.c_str(), &status) != 0) {
        throw CLI::ValidationError("--password-file", "\"" + file + "\" cannot be read.");
    }
    if ((status.st_mode & (S_IROTH | S_IWOTH)) != 0) {
        throw CLI::ValidationError("--password-file",
                                   "everybody may read or write \"" + file + "\"; chmod 600 it.");
    }
    std::getline(stream, password);
    if (password.empty()) {
        throw CLI::ValidationError("--password-file",
                                   "the first line of \"" + file + "\" is empty.");
    }
    return password;
}

struct Words {
    std::string listen = "127.0.0.1:8443";
    std::string user;
    std::string passwordFile;
    std::string certificatesUri = DEFAULT_COLLECTION_URI;
    std::size_t maxSessions = DEFAULT_MAX_SESSIONS;
};

constexpr const char* DESCRIPTION =
    "Serves Redfish over HTTPS: the certificates that CertificateService keeps in\n"
    "Redis, and a page for the browser.";

constexpr const char* FOOTER = "\nExample:\n"
                               "  certificateweb --listen 127.0.0.1:8443 --user admin \\\n"
                               "      --password-file /etc/certificateweb/password";

void describe(CLI::App& app, Words& words) {
    app.footer(FOOTER);
    app.get_formatter()->column_width(28);
    app.get_formatter()->label("REQUIRED", "");
    app.set_version_flag("--version", std::string("certificateweb ") + CERTIFICATEWEB_VERSION,
                         "print the version");
    app.add_option("--listen", words.listen,
                   "where to listen (127.0.0.1:8443); port 0: any free one")
        ->type_name("ADDRESS:PORT");
    app.add_option("--user", words.user, "the one user (required)")->type_name("NAME")->required();
    app.add_option("--password-file", words.passwordFile,
                   "its password: the first line of this file, which\n"
                   "others must not read (required)")
        ->type_name("FILE")
        ->required();
    app.add_option("--certificates", words.certificatesUri,
                   "the collection whose newest certificate the\n"
                   "listener shows (Manager 1's for HTTPS)")
        ->type_name("URI");
    app.add_option("--max-sessions", words.maxSessions, "sessions at a time, 1 to 10000 (64)")
        ->type_name("N")
        ->check(CLI::Range(1, 10000).description(""));
}

} // namespace

WebOptions readOptions(int count, char** words) {
    CLI::App app{DESCRIPTION, "certificateweb"};
    Words options;
    describe(app, options);
    try {
        app.parse(count, words);
        return {parseAddress(options.listen),
                {options.user, options.certificatesUri, options.maxSessions},
                readPassword(options.passwordFile)};
    } catch (const CLI::ParseError& error) {
        std::exit(app.exit(error)); // NOLINT(concurrency-mt-unsafe): no thread has been started
    }
}
