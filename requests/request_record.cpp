#include "requests/request_record.h"

#include <nlohmann/json.hpp>

std::string stringMember(nlohmann::json& record, const std::string& name) {
    return record[name].get<std::string>();
}

std::string parentUri(const std::string& uri) {
    return uri.substr(0, uri.find_last_of('/'));
}
