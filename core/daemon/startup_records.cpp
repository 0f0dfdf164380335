#include "core/daemon/startup_records.h"

#include "core/logger.h"
#include "core/protocol/channels.h"
#include "core/protocol/fields.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/shared_records.h"
#include "core/redis_commands.h"

#include <array>

namespace {

// A request queue holds the name of the channel on which its requests are announced.
struct ChannelLink {
    const char* queue;
    const char* channel;
    const char* loaded;
};

constexpr std::array<ChannelLink, 3> CHANNEL_LINKS = {{
    {CREATE_QUEUE, CREATE_CHANNEL,
     ">>> skeleton certificate service loaded create channel successfully."},
    {DELETE_QUEUE, DELETE_CHANNEL,
     ">>> skeleton certificate service loaded delete channel successfully."},
    {ACTION_QUEUE, ACTION_CHANNEL,
     ">>> skeleton certificate service loaded action channel successfully."},
}};

using QueueLengths = std::array<int, CHANNEL_LINKS.size()>;

// All queues are asked before any is judged.
bool readQueueLengths(redisContext* context, QueueLengths& lengths) {
    bool readable = true;
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        lengths[i] = redisLLen(context, CHANNEL_LINKS[i].queue);
        readable = readable && lengths[i] >= 0;
    }
    return readable;
}

void initServiceProperties(redisContext* context) {
    for (const ServiceInitRow& row : SERVICE_INIT_TABLE) {
        if (redisHSet(context, row.key, row.field, row.value) == 0) {
            gLogger->error("Init property failed.");
        }
    }
}

bool pushChannelLinks(redisContext* context, const QueueLengths& lengths) {
    if (lengths.front() == 0) {
        // An empty creation queue means that the service has not been set up yet.
        initServiceProperties(context);
    }
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        const ChannelLink& link = CHANNEL_LINKS[i];
        if (lengths[i] != 0) {
            continue;
        }
        if (redisLPush(context, link.queue, link.channel) == 0) {
            return false;
        }
        gLogger->debug("%s", link.loaded);
    }
    return true;
}

} // namespace

bool writeStartupRecords(redisContext* context) {
    QueueLengths lengths{};
    if (!readQueueLengths(context, lengths)) {
        gLogger->error("Failed to access Redis.");
        return false;
    }
    if (!pushChannelLinks(context, lengths)) {
        gLogger->error("Add channel link failed.");
        return false;
    }
    initAsyncSupport(context);
    return true;
}

void initAsyncSupport(redisContext* context) {
    if (redisHSet(context, GENERATE_CSR_ACTION_KEY, ASYNC_FIELD, HIDE_PAYLOAD) == 0) {
        gLogger->error("Init %s to support Async failed.", GENERATE_CSR_ACTION_URI);
    }
}
