#pragma once

// Which certificate the listener shows: the newest of its collection that can be used, as the
// records in Redis have it at the moment.

#include "frontend/web/http/tls_identity.h"
#include "frontend/web/service/redis_sessions.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

// Safe on any thread.
class ListenerIdentity {
public:
    // Looks into the collection now and then twice a second, on a thread of its own. Until it has a
    // certificate that can be used, and while Redis has not answered yet, one is shown that signs
    // itself. Throws std::runtime_error when not even that one can be made.
    ListenerIdentity(RedisSessions& redisSessions, std::string collection);
    ListenerIdentity(const ListenerIdentity&) = delete;
    ListenerIdentity& operator=(const ListenerIdentity&) = delete;
    ~ListenerIdentity();

    // The context for a handshake that begins now. Open connections keep theirs.
    [[nodiscard]] TlsContext current();

private:
    void watch();
    void refresh();
    void show(TlsContext context);

    RedisSessions& sessions;
    const std::string collectionUri;
    const TlsContext selfSigned;
    std::string shownRecords; // that the shown context was made of; used by the thread alone
    std::mutex mutex;
    std::condition_variable stopped;
    bool stopping = false;
    TlsContext shown;
    std::thread watcher;
};
