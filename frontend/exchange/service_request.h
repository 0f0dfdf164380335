#pragma once

// One request to the daemon: its records, its announcement, the wait for the answer.
//
//   key                                                     content
//   &&/redfish/v1/CertificateService/Requests/ID            the request record (hash)
//   .../ID/RequestData                                      the request body
//   .../ID/Status, .../ID/ExtendedInfo, .../ID/Status/...   the answer, written by the daemon
//   .../ID/Return                                           channel of the answer
//
// ID is random. All records go away with the object, whatever has happened; should the process be
// killed, request and body, which may hold a private key, expire.

#include "core/protocol/keys.h"
#include "core/protocol/messages.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/service_answer.h"
#include "frontend/exchange/subscription.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <string>

// Told of every change of the request's task, in order.
using TaskObserver = std::function<void(const TaskChange&)>;

struct ServiceRequest {
    std::string channel;   // of the daemon's listener
    std::string targetUri; // what the request is aimed at
    std::string taskUri;   // of the task prepared for it; empty: none
    double timeout = 0;    // seconds until the answer must have come
};

class RequestExchange {
public:
    // Stores the records and announces the request. Throws FrontEndError with EXIT_NO_ANSWER when
    // nobody listens. A null body stands for none.
    RequestExchange(const ServiceRequest& serviceRequest, const nlohmann::json& body);
    RequestExchange(const RequestExchange&) = delete;
    RequestExchange& operator=(const RequestExchange&) = delete;
    ~RequestExchange();

    // Waits for the answer and reads it. Throws FrontEndError: EXIT_NO_ANSWER when none comes in
    // time or the daemon ends meanwhile, EXIT_INTERRUPTED on Ctrl-C.
    [[nodiscard]] ServiceAnswer awaitAnswer(const TaskObserver& observer = {});

    // Waits until the task has reached its end, at most so many seconds more; throws as above. The
    // end's state.
    TaskChange awaitTaskEnd(double timeout, const TaskObserver& observer);

    // For other work of the same command.
    [[nodiscard]] redisContext* session() const {
        return work.get();
    }

private:
    void storeRecords(const nlohmann::json& body) const;
    void announce() const;
    void removeRequest() const;
    void checkStillThere() const;
    [[nodiscard]] ChannelMessage awaitMessage(Clock::time_point deadline, double timeout);

    ServiceRequest request;
    RequestRecordKeys keys;
    RedisConnection work;
    RedisConnection subscriber;
    TaskChange ended; // the task's end, when it came before the answer
};
