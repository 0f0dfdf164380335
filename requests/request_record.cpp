#include "requests/request_record.h"

#include <nlohmann/json.hpp>

std::string stringMember(nlohmann::json& record, const std::string& name) {
    return record[name].get<std::string>();
}
