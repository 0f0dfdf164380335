#include "bench/documents.h"

#include "core/protocol/certificate_defaults.h"
#include "tests/support/empty_backend/example_values.h"

#include <nlohmann/json.hpp>

nlohmann::json certificateResource(const std::string& uri) {
    nlohmann::json resource = {
        {"@odata.id", uri},
        {"@odata.etag", "\"1732180000\""},
        {"Id", uri.substr(uri.find_last_of('/') + 1)},
        {"CertificateType", "PEM"},
        {"CertificateString", exampleCertificateText()},
        {"Issuer", exampleIdentifier()},
        {"Subject", exampleIdentifier()},
        {"KeyUsage", {"DigitalSignature", "KeyEncipherment", "ServerAuthentication"}},
        {"ValidNotBefore", "2026-01-01T00:00:00Z"},
        {"ValidNotAfter", "2028-01-01T00:00:00Z"},
    };
    for (const auto& [property, value] : CERTIFICATE_DEFAULTS) {
        resource[property] = value;
    }
    return resource;
}

nlohmann::json scalarArray(std::size_t elements) {
    nlohmann::json array = nlohmann::json::array();
    for (std::size_t i = 0; i < elements; ++i) {
        if (i % 3 == 0) {
            array.push_back(i);
        } else if (i % 3 == 1) {
            array.push_back("element number " + std::to_string(i));
        } else {
            array.push_back(i % 2 == 0);
        }
    }
    return array;
}

nlohmann::json objectArray(std::size_t elements) {
    nlohmann::json array = nlohmann::json::array();
    for (std::size_t i = 0; i < elements; ++i) {
        array.push_back({{"Name", "element number " + std::to_string(i)},
                         {"Reading", static_cast<double>(i) + 0.25},
                         {"Enabled", true}});
    }
    return array;
}

nlohmann::json nestedObjects(std::size_t depth) {
    nlohmann::json document = {{"Level", depth}};
    for (std::size_t level = depth - 1; level > 0; --level) {
        nlohmann::json outer = {{"Level", level}};
        outer["n"] = std::move(document);
        document = std::move(outer);
    }
    return document;
}

Commands shortKeyChain(const std::string& uri, std::size_t depth) {
    Commands commands;
    std::string key = uri;
    for (std::size_t level = 1; level <= depth; ++level) {
        commands.push_back({"HSET", key, "Level", std::to_string(level)});
        if (level < depth) {
            std::string below = "&&" + uri + "/" + std::to_string(level);
            commands.push_back({"HSET", key, "&&Object n " + below, ""});
            key = std::move(below);
        }
    }
    return commands;
}
