#pragma once

// One request to the daemon: its records, its announcement, the wait for the answer.
//
//   key                                                     content
//   &&/redfish/v1/CertificateService/Requests/ID            the request record (hash)
//   .../ID/RequestData                                      the request body
//   .../ID/Status, .../ID/ExtendedInfo, .../ID/Status/...   the answer, written by the daemon
//   .../ID/Return                                           channel of the answer
//
// ID is random. All records go away with the object. Should the process be killed, request and
// body, which may hold a private key, expire.

#include "core/protocol/keys.h"
#include "core/protocol/messages.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/service_answer.h"
#include "frontend/exchange/subscription.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <string>

// Called with every change of the request's task, in order.
using TaskObserver = std::function<void(const TaskChange&)>;

// What a request says besides its body.
struct RequestHead {
    std::string channel;   // of the daemon's listener
    std::string targetUri; // what the request is aimed at
    std::string taskUri;   // of the task prepared for it; empty: none
    double timeout = 0;    // seconds until the answer must have come
};

// Whether a daemon takes requests on the channel. Throws FrontEndError (NO_REDIS).
[[nodiscard]] bool isListenedTo(redisContext* session, const std::string& channel);

// Functions throw FrontEndError: NO_REDIS when Redis cannot be reached or refuses a command, and
// what is said with each.
class ServiceRequest {
public:
    // Stores the records and announces the request; an answer is not missed from then on. The body
    // is an object, or null for none; its texts, which may be secrets, are wiped once they are
    // stored. The session outlives the object and stays free for other work.
    // NOBODY_LISTENS when the announcement reaches no daemon.
    ServiceRequest(redisContext* redisSession, RequestHead requestHead, nlohmann::json body);
    ServiceRequest(const ServiceRequest&) = delete;
    ServiceRequest& operator=(const ServiceRequest&) = delete;
    ~ServiceRequest();

    // Waits for the answer and reads it. TIMED_OUT, NO_ANSWER when the daemon ends meanwhile or
    // leaves no status, INTERRUPTED. The observer may be empty.
    [[nodiscard]] ServiceAnswer awaitAnswer(const TaskObserver& observer = {});

    // Waits until the task has reached its end, at most so many seconds more; throws as above.
    void awaitTaskEnd(double timeout, const TaskObserver& observer);

    // Removes request and answer now. False when Redis cannot be reached: the request then expires,
    // and nobody looks for the answer any more.
    bool removeRecords();

private:
    void storeRecords(nlohmann::json body) const;
    void announce() const;
    void removeRequest() const;
    void checkStillThere() const;
    [[nodiscard]] ChannelMessage awaitMessage(Clock::time_point deadline, double timeout);
    void noteTaskChange(const ChannelMessage& message, const TaskObserver& observer);

    redisContext* session;
    RequestHead head;
    RequestRecordKeys keys;
    RedisConnection subscriber;
    bool taskEnded = false; // may come before the answer
};
