#include "tests/web/https_client.h"

#include "tests/support/wait.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <openssl/pem.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <ostream>
#include <stdexcept>

namespace {

std::size_t takeBody(char* data, std::size_t size, std::size_t count, void* answer) {
    static_cast<HttpsAnswer*>(answer)->body.append(data, size * count);
    return size * count;
}

std::size_t takeHeader(char* data, std::size_t size, std::size_t count, void* taken) {
    auto& answer = *static_cast<HttpsAnswer*>(taken);
    std::string line(data, size * count);
    if (line.starts_with("HTTP/")) {
        answer.headers.clear(); // of an interim answer
    }
    line.resize(line.find_last_not_of("\r\n") + 1);
    if (const std::size_t colon = line.find(": "); colon != std::string::npos) {
        answer.headers.emplace_back(line.substr(0, colon), line.substr(colon + 2));
    }
    return size * count;
}

struct HeaderList {
    ~HeaderList() {
        curl_slist_free_all(list);
    }
    void add(const std::string& line) {
        list = curl_slist_append(list, line.c_str());
    }
    curl_slist* list = nullptr;
};

void initializeLibrary() {
    static const CURLcode DONE = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (DONE != CURLE_OK) {
        throw std::runtime_error("libcurl cannot be used");
    }
}

} // namespace

std::string HttpsAnswer::header(const std::string& name) const {
    for (const auto& [each, value] : headers) {
        if (strcasecmp(each.c_str(), name.c_str()) == 0) {
            return value;
        }
    }
    return {};
}

nlohmann::json HttpsAnswer::json() const {
    return nlohmann::json::parse(body, nullptr, false);
}

std::string HttpsAnswer::messageId() const {
    const nlohmann::json document = json();
    const auto path = nlohmann::json::json_pointer("/error/@Message.ExtendedInfo/0/MessageId");
    if (document.is_discarded() || !document.contains(path)) {
        return {};
    }
    const std::string id = document[path].get<std::string>();
    return id.substr(id.rfind('.') + 1);
}

void PrintTo(const HttpsAnswer& answer, std::ostream* stream) {
    *stream << answer.status << "\n";
    for (const auto& [name, value] : answer.headers) {
        *stream << name << ": " << value << "\n";
    }
    *stream << answer.body;
}

HttpsClient::HttpsClient(std::uint16_t port, Login login)
    : servicePort(port), who(std::move(login)) {
    initializeLibrary();
    curl = curl_easy_init();
}

HttpsClient::~HttpsClient() {
    curl_easy_cleanup(curl);
}

HttpsAnswer HttpsClient::send(const HttpsRequest& request) {
    HttpsAnswer answer;
    const std::string url = "https://127.0.0.1:" + std::to_string(servicePort) + request.path;
    curl_easy_reset(curl);
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    curl_easy_setopt(curl, CURLOPT_NOBODY, request.method == "HEAD" ? 1L : 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, static_cast<long>(WAIT_LIMIT_SECONDS));
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, takeHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &answer);
    HeaderList headers;
    if (!who.token.empty()) {
        headers.add("X-Auth-Token: " + who.token);
    } else if (!who.user.empty()) {
        curl_easy_setopt(curl, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
        curl_easy_setopt(curl, CURLOPT_USERNAME, who.user.c_str());
        curl_easy_setopt(curl, CURLOPT_PASSWORD, who.password.c_str());
    }
    if (request.body) {
        headers.add("Content-Type: application/json");
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body->c_str());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request.body->size()));
    }
    for (const auto& [name, value] : request.headers) {
        headers.add(value.empty() ? name + ":" : name + ": " + value);
    }
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.list);
    const CURLcode done = curl_easy_perform(curl);
    if (done != CURLE_OK) {
        throw std::runtime_error(request.method + " " + url + ": " + curl_easy_strerror(done));
    }
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
    return answer;
}

HttpsAnswer HttpsClient::get(const std::string& path, const Headers& headers) {
    return send({"GET", path, std::nullopt, headers});
}

HttpsAnswer HttpsClient::post(const std::string& path, const nlohmann::json& body) {
    return send({"POST", path, body.dump()});
}

HttpsAnswer HttpsClient::remove(const std::string& path) {
    return send({"DELETE", path, std::nullopt});
}

int silentConnection(std::uint16_t port) {
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (descriptor < 0 ||
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("no connection to port " + std::to_string(port));
    }
    return descriptor;
}

TlsConnection::TlsConnection(std::uint16_t port)
    : socket(silentConnection(port)), context(SSL_CTX_new(TLS_client_method())),
      tls(SSL_new(context)) {
    SSL_set_fd(tls, socket);
    if (SSL_connect(tls) != 1) {
        throw std::runtime_error("the handshake fails");
    }
}

TlsConnection::~TlsConnection() {
    SSL_free(tls);
    SSL_CTX_free(context);
    ::close(socket);
}

bool TlsConnection::send(const std::string& bytes) {
    return SSL_write(tls, bytes.data(), static_cast<int>(bytes.size())) > 0;
}

std::string TlsConnection::readUntil(const std::string& text, double seconds) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    std::string bytes;
    while (text.empty() || bytes.find(text) == std::string::npos) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd waiting = {socket, POLLIN, 0};
        if (SSL_pending(tls) == 0 &&
            (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) <= 0)) {
            break;
        }
        std::array<char, 4096> part{};
        const int count = SSL_read(tls, part.data(), part.size());
        if (count <= 0) {
            break;
        }
        bytes.append(part.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

std::string TlsConnection::readToEnd(double seconds) {
    return readUntil("", seconds);
}

std::string TlsConnection::shownCertificates() const {
    const STACK_OF(X509)* const chain = SSL_get_peer_cert_chain(tls);
    BIO* const memory = BIO_new(BIO_s_mem());
    for (int i = 0; i < sk_X509_num(chain); ++i) {
        PEM_write_bio_X509(memory, sk_X509_value(chain, i));
    }
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory, &data);
    std::string text(data, static_cast<std::size_t>(size));
    BIO_free(memory);
    return text;
}

std::string TlsConnection::protocol() const {
    return SSL_get_version(tls);
}
