#pragma once

// A client of the Redfish service over real HTTPS, by libcurl; and a bare TLS connection for what
// no client library sends.

#include <nlohmann/json.hpp>
#include <openssl/ssl.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using Headers = std::vector<std::pair<std::string, std::string>>;

struct HttpsRequest {
    std::string method;
    std::string path;                // with its query
    std::optional<std::string> body; // nothing: the request has none
    Headers headers = {};            // an empty value takes a header of the library's own away
};

struct HttpsAnswer {
    long status = 0;
    Headers headers;
    std::string body;

    // The first value of the header; empty when there is none.
    [[nodiscard]] std::string header(const std::string& name) const;

    // The body as JSON; discarded when it is none.
    [[nodiscard]] nlohmann::json json() const;

    // The identifier of the first message of an error, without registry and version.
    [[nodiscard]] std::string messageId() const;
};

void PrintTo(const HttpsAnswer& answer, std::ostream* stream);

// Says who asks, with every request: nobody, a user with a password, or a session.
struct Login {
    std::string user;
    std::string password;
    std::string token;
};

// Keeps its connection between requests. Belongs to one thread. Functions throw std::runtime_error
// when there is no answer within 60 seconds.
class HttpsClient {
public:
    HttpsClient(std::uint16_t port, Login login);
    ~HttpsClient();
    HttpsClient(const HttpsClient&) = delete;
    HttpsClient& operator=(const HttpsClient&) = delete;

    HttpsAnswer send(const HttpsRequest& request);

    HttpsAnswer get(const std::string& path, const Headers& headers = {});
    HttpsAnswer post(const std::string& path, const nlohmann::json& body);
    HttpsAnswer remove(const std::string& path); // DELETE

private:
    void* curl; // CURL: an easy handle
    std::uint16_t servicePort;
    Login who;
};

// A TLS connection that sends any bytes. Throws std::runtime_error when it cannot be made.
class TlsConnection {
public:
    explicit TlsConnection(std::uint16_t port);
    ~TlsConnection();
    TlsConnection(const TlsConnection&) = delete;
    TlsConnection& operator=(const TlsConnection&) = delete;

    // False when the connection has ended.
    bool send(const std::string& bytes);

    // What comes until the text has been seen, the connection has ended, or the time is over.
    [[nodiscard]] std::string readUntil(const std::string& text, double seconds = 60.0);

    // What comes until the connection has ended or the time is over.
    [[nodiscard]] std::string readToEnd(double seconds = 60.0);

    // The certificates that the server shows, as one PEM text, its own first.
    [[nodiscard]] std::string shownCertificates() const;

    [[nodiscard]] std::string protocol() const; // "TLSv1.3"

private:
    int socket = -1;
    SSL_CTX* context = nullptr;
    SSL* tls = nullptr;
};

// A connection that is made, and on which no handshake begins; its descriptor.
[[nodiscard]] int silentConnection(std::uint16_t port);
