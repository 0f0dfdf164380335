#pragma once

// Requests to the resources without a network: a real Redis, and the road of a request from there
// on.

#include "frontend/web/redfish_service.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

class ResourceRequests : public testing::Test {
protected:
    inline static const std::string COLLECTION =
        "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";
    inline static const std::string OTHER_COLLECTION =
        "/redfish/v1/UpdateService/RemoteServerCertificates";

    // Redis holds what a front end seeds, with two collections.
    ResourceRequests();

    // As the service's user.
    HttpAnswer send(const std::string& method, const std::string& path);
    HttpAnswer sendWithoutLogin(const std::string& method, const std::string& path);

    // The document there; null when the answer is not 200.
    nlohmann::json get(const std::string& path);

    // Stores a certificate with all its records.
    void install(const std::string& uri, const std::string& text);

    RedisServer server;
    RedisClient client{server};
    WebService service;
};

// The value of an answer's header; empty when it has none.
[[nodiscard]] std::string headerOf(const HttpAnswer& answer, const std::string& name);
