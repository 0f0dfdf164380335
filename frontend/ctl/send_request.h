#pragma once

// The way in which every command sends its request and learns of a refusal.

#include "frontend/ctl/commands.h"
#include "frontend/exchange/service_request.h"

#include <nlohmann/json_fwd.hpp>

#include <exception>

// The service refused the request, or failed. Ends the command; the answer says why.
struct ServiceRefusal : std::exception {
    explicit ServiceRefusal(ServiceAnswer serviceAnswer, std::string whatToDo = {})
        : answer(std::move(serviceAnswer)), hint(std::move(whatToDo)) {}

    [[nodiscard]] const char* what() const noexcept override {
        return "the service refused the request";
    }

    ServiceAnswer answer;
    std::string hint; // what to do about it; may be empty
};

// The seconds that a command waits when --timeout does not say.
inline constexpr double DEFAULT_TIMEOUT = 30.0;
inline constexpr double DEFAULT_TASK_TIMEOUT = 600.0; // RSA keys of 4096 bits take long on a board

struct AcceptedAnswer {
    ServiceAnswer answer;
    double seconds = 0; // from storing the request to the answer
};

// Sends the request, waits for its answer and removes the records of both. The head's timeout is
// set here. Throws ServiceRefusal, and FrontEndError as ServiceRequest does.
[[nodiscard]] AcceptedAnswer sendRequest(redisContext* session, RequestHead head,
                                         nlohmann::json body, const CommonOptions& common);

// The second half alone, for a request that is sent already.
[[nodiscard]] ServiceAnswer takeAnswer(ServiceRequest& request, const TaskObserver& observer = {});

// Throws ServiceRefusal unless the answer says that the request is carried out.
void checkAccepted(const ServiceAnswer& answer);

[[nodiscard]] double timeoutOr(const CommonOptions& common, double defaultSeconds);
