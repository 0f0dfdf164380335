#include "frontend/web/service/session_table.h"

std::optional<WebSession> SessionTable::use(const std::string& /*token*/) {
    return std::nullopt;
}
