#pragma once

// Which function answers which request.

#include "frontend/web/http/http_message.h"
#include "frontend/web/service/answer.h"

#include <string>
#include <vector>

struct WebService;

// A request on its way to its resource.
struct Call {
    const HttpRequest& request;
    std::string uri; // the path, without a slash at its end; holds neither blanks nor
                     // control characters nor an empty, "." or ".." segment
    std::vector<std::string> names; // of the segments that the pattern leaves open, in order
    std::string user;               // who asks; empty on what is open without login
    std::string sessionId;          // of the session that was used; empty for Basic and for none
};

// Throws Refusal, and FrontEndError as the functions of frontend/exchange do. Called on several
// threads at a time.
using Handler = Answer (*)(WebService& service, const Call& call);

enum class Access { LOGIN, OPEN };

struct Route {
    std::string pattern; // a path; "{}" stands for one segment
    std::string method;  // "GET" is for HEAD as well
    Handler handler;
    Access access = Access::LOGIN;
};

using Routes = std::vector<Route>;
