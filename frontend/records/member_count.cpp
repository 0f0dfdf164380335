#include "frontend/records/member_count.h"

#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/records/timestamps.h"

#include <nlohmann/json.hpp>

namespace {

constexpr const char* SCRIPT = R"(
return redis.call('HSET', KEYS[1], ARGV[1], redis.call('LLEN', KEYS[2]), ARGV[2], ARGV[3])
)";

} // namespace

void refreshMemberCount(redisContext* context, const std::string& collectionUri) {
    (void)runCommand(context,
                     {"EVAL", SCRIPT, "2", collectionUri, memberListKey(collectionUri),
                      MEMBERS_ODATA_COUNT, ODATA_ETAG, nlohmann::json(entityTag()).dump()});
}
