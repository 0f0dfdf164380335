#include "core/daemon/listeners.h"

#include "actions/certificate_action.h"
#include "core/logger.h"
#include "core/protocol/channels.h"
#include "core/protocol/messages.h"
#include "core/redis_connection.h"
#include "core/redis_reply.h"
#include "core/secret.h"
#include "requests/create_certificate.h"
#include "requests/delete_certificate.h"

#include <pthread.h>

#include <string>

namespace {

using CollectionHandler = int (*)(redisContext*, const std::string&, const std::string&,
                                  pthread_mutex_t*);

// The last element of a pushed reply: the payload of a published message. Empty when it has none.
std::string payloadOf(const redisReply& reply) {
    if (reply.elements == 0) {
        return {};
    }
    return std::string(replyText(*reply.element[reply.elements - 1]));
}

// Waits for the next message that is not empty. False when the subscription has failed.
bool waitForMessage(redisContext* subscriber, std::string& message) {
    message.clear();
    while (message.empty()) {
        RedisReply reply;
        if (!takeRedisReply(subscriber, reply) || !reply) {
            return false;
        }
        message = payloadOf(*reply);
    }
    return true;
}

void subscribe(redisContext* subscriber, const char* channel) {
    // The confirmation is not looked at: a lost connection shows at the first wait.
    (void)sendRedisCommand(subscriber, {"SUBSCRIBE", channel});
}

void handleMessage(const std::string& message, CollectionHandler handler, pthread_mutex_t* lock) {
    const RedisConnection work(redisConnectContext());
    if (!work) {
        gLogger->error("Failed to connect to Redis\n");
        return;
    }
    const RequestKeys keys = splitChannelMessage(message);
    (void)handler(work.get(), keys.requestKey, keys.statusKey, lock);
}

void listenForCollectionRequests(const char* channel, const char* firstLine,
                                 CollectionHandler handler, pthread_mutex_t* lock) {
    gLogger->debug("%s", firstLine);
    const RedisConnection subscriber(redisConnectContext());
    if (!subscriber) {
        // Its own line feed leaves an empty line in the log, by which readers tell a listener's
        // failure from that of start-up.
        gLogger->error("Failed to connect to Redis\n");
        return;
    }
    subscribe(subscriber.get(), channel);
    std::string message;
    while (waitForMessage(subscriber.get(), message)) {
        handleMessage(message, handler, lock);
    }
}

void listenForActions() {
    gLogger->debug("begin certificate action thread.");
    const RedisConnection work(redisConnectContext());
    const RedisConnection subscriber(work ? redisConnectContext() : nullptr);
    if (!subscriber) {
        gLogger->error("Failed to connect to Redis.");
        return;
    }
    subscribe(subscriber.get(), ACTION_CHANNEL);
    std::string message;
    while (waitForMessage(subscriber.get(), message)) {
        const RequestKeys keys = splitChannelMessage(message);
        (void)handleCertificateAction(work.get(), keys.requestKey, keys.statusKey);
        wipeUnusedStack(); // the backend may have worked with a private key there
    }
}

} // namespace

void* createListenerThread(void* collectionLock) {
    listenForCollectionRequests(CREATE_CHANNEL, "begin create certificate thread.",
                                handleCreateCertificate,
                                static_cast<pthread_mutex_t*>(collectionLock));
    pthread_exit(nullptr);
}

void* deleteListenerThread(void* collectionLock) {
    listenForCollectionRequests(DELETE_CHANNEL, "begin delete certificate thread.",
                                handleDeleteCertificate,
                                static_cast<pthread_mutex_t*>(collectionLock));
    pthread_exit(nullptr);
}

void* actionListenerThread(void* /*collectionLock*/) {
    listenForActions();
    pthread_exit(nullptr);
}
