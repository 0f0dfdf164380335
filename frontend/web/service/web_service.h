#pragma once

// What the resources of certificateweb share.

#include "frontend/web/service/change_turn.h"
#include "frontend/web/service/event_hub.h"
#include "frontend/web/service/login_guard.h"
#include "frontend/web/service/redis_sessions.h"
#include "frontend/web/service/session_table.h"
#include "frontend/web/service/task_runner.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

struct WebSettings {
    std::string user;
    std::string certificatesUri; // of the collection whose newest certificate the listener shows
    std::size_t maxSessions = 0;
};

// The members are safe on any thread.
struct WebService {
    // The password is not kept.
    WebService(const WebSettings& webSettings, const std::string& password)
        : settings(webSettings), login(webSettings.user, password),
          sessions(webSettings.maxSessions) {}

    const WebSettings settings;
    std::atomic<std::uint16_t> port = 0; // of the listener; 0: none yet
    RedisSessions redis;
    LoginGuard login;
    SessionTable sessions;
    EventStreams streams;
    EventHub events{streams, {.mayStay = [this](const StreamClient& client) {
                        return client.sessionId.empty() || sessions.find(client.sessionId);
                    }}};
    ChangeQueue changes;
    TaskRunner tasks;
};
