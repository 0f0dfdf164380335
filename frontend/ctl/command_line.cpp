#include "frontend/ctl/command_line.h"

namespace {

// A URI is a key of Redis records, in which a blank would end it.
std::string uriFault(const std::string& uri) {
    const bool hasBlank = uri.find_first_of(" \t\r\n") != std::string::npos;
    return uri.starts_with("/") && uri.size() > 1 && !hasBlank
               ? std::string()
               : "'" + uri + "' is no URI: it must begin with / and hold no blanks";
}

std::string withoutFinalSlash(std::string uri) {
    while (uri.size() > 1 && uri.ends_with('/')) {
        uri.pop_back();
    }
    return uri;
}

constexpr double LARGEST_NUMBER = 1e6;

// Below zero when the text is no number.
double numberIn(const std::string& text) {
    double number = 0;
    return CLI::detail::lexical_cast(text, number) ? number : -1;
}

} // namespace

void addUri(CLI::App& command, const std::string& name, std::string& uri, const std::string& help) {
    command.add_option(name, uri, help)->type_name("")->required()->transform(uriCheck());
}

void addCertificateSource(CLI::App& command, CertificateSource& source,
                          const std::string& fileHelp) {
    command.add_option("FILE", source.file, fileHelp)->type_name("")->required();
    command.add_option("--type", source.type, "certificate type (default: as the text looks)")
        ->type_name("NAME")
        ->check(offeredValues({"PEM", "PEMchain", "PKCS7"}));
}

CLI::Validator offeredValues(const std::vector<std::string>& values) {
    std::string list;
    for (const std::string& value : values) {
        list += (list.empty() ? "" : ",") + value;
    }
    return {[](const std::string& /*text*/) { return std::string(); }, "{" + list + "}"};
}

const CLI::Validator& uriCheck() {
    static const CLI::Validator check(
        [](std::string& uri) {
            uri = withoutFinalSlash(uri);
            return uriFault(uri);
        },
        "");
    return check;
}

const CLI::Validator& positiveCheck() {
    static const CLI::Validator check(
        [](const std::string& text) {
            const double number = numberIn(text);
            return number > 0 && number <= LARGEST_NUMBER
                       ? std::string()
                       : "'" + text + "' is no number above 0 and up to 1000000";
        },
        "");
    return check;
}

const CLI::Validator& daysCheck() {
    static const CLI::Validator check(
        [](const std::string& text) {
            const double number = numberIn(text);
            return number >= 0 && number <= LARGEST_NUMBER
                       ? std::string()
                       : "'" + text + "' is no number from 0 to 1000000";
        },
        "");
    return check;
}
