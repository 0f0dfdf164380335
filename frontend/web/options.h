#pragma once

// The command line of certificateweb.

#include "frontend/web/http/http_server.h"
#include "frontend/web/service/web_service.h"

struct WebOptions {
    ServerAddress address;
    WebSettings settings;
    std::string password; // whoever uses it wipes it
};

// Reads the command line and the password file. Prints what is wrong, or the help, and ends the
// program when there is nothing to serve with.
[[nodiscard]] WebOptions readOptions(int count, char** words);
