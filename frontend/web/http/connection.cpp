#include "frontend/web/http/connection.h"

#include "core/secret.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <sstream>

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using Error = beast::error_code;

// A client that does not take its events loses the stream when so many bytes wait for it.
constexpr std::size_t MOST_WAITING_BYTES = std::size_t{256} * 1024;

// What is still on its way from a client that has been refused is taken for so long, so that the
// answer reaches it before the connection's end.
constexpr std::chrono::seconds DRAIN_TIME{2};

// Headers whose values come from stored texts must not become other headers.
bool fitsHeader(const std::string& value) {
    return std::all_of(value.begin(), value.end(), [](char each) {
        return static_cast<unsigned char>(each) >= ' ' && each != '\x7f';
    });
}

bool mayHaveBody(int status) {
    return status >= 200 && status != 204 && status != 304;
}

std::string textOf(beast::string_view text) {
    return {text.data(), text.size()};
}

// The path and the query of a request target (RFC 9112, 3.2), which may be a whole URI.
void splitTarget(std::string_view target, HttpRequest& request) {
    const std::size_t scheme = target.find("://");
    if (!target.starts_with('/') && scheme != std::string_view::npos) {
        const std::size_t path = target.find('/', scheme + 3);
        target = path == std::string_view::npos ? "/" : target.substr(path);
    }
    const std::size_t question = target.find('?');
    request.path = target.substr(0, question);
    request.query = question == std::string_view::npos ? "" : target.substr(question + 1);
}

// The status for what is no request; 0 when the client is gone or silent.
int refusalStatus(const Error& error) {
    if (error == http::error::body_limit) {
        return 413;
    }
    if (error == http::error::header_limit || error == http::error::buffer_overflow) {
        return 431;
    }
    const bool isHttp =
        error.category() == http::make_error_code(http::error::bad_target).category();
    const bool isGone =
        error == http::error::end_of_stream || error == http::error::partial_message;
    return isHttp && !isGone ? 400 : 0;
}

std::string refusalText(int status) {
    switch (status) {
    case 413:
        return "The body of the request is too large.";
    case 431:
        return "The headers of the request are too large.";
    case 501:
        return "The service does not know the request's transfer coding.";
    case 417:
        return "The service knows no such expectation.";
    default:
        return "The request is no HTTP request in form.";
    }
}

class Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(ServerState& serverState, asio::ip::tcp::socket socket, const TlsContext& tlsContext)
        : server(serverState), sslContext(ownReference(tlsContext)),
          stream(std::move(socket), sslContext), timer(serverState.context) {
        ++server.connections;
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() {
        --server.connections;
    }

    void start() {
        Error unknown;
        peer =
            beast::get_lowest_layer(stream).socket().remote_endpoint(unknown).address().to_string();
        expireAfter(server.limits.handshake);
        stream.async_handshake(asio::ssl::stream_base::server,
                               [self = shared_from_this()](Error error) {
                                   if (!error) {
                                       self->readHead();
                                   }
                               });
    }

    // Of the stream's sink.
    void queueText(const std::string& text);
    void queueEnd();

private:
    using Parser = http::request_parser<http::string_body>;

    // The library's context frees one reference at its end.
    static SSL_CTX* ownReference(const TlsContext& context) {
        (void)SSL_CTX_up_ref(context.get());
        return context.get();
    }

    void expireAfter(std::chrono::seconds time) {
        beast::get_lowest_layer(stream).expires_after(time);
    }

    // --- reading ---------------------------------------------------------------------------------

    void readHead() {
        parser.emplace();
        parser->header_limit(server.limits.headerBytes);
        parser->body_limit(server.limits.bodyBytes);
        expireAfter(server.limits.silence);
        http::async_read_header(stream, input, *parser,
                                [self = shared_from_this()](Error error, std::size_t) {
                                    error ? self->refuse(error) : self->readBody();
                                });
    }

    void readBody() {
        if (const int status = headFault(); status != 0) {
            return refuse(status);
        }
        if (http::token_list(parser->get()[http::field::expect]).exists("100-continue")) {
            return sendContinue();
        }
        readRest();
    }

    // The status with which a head that can be read is refused; 0: none.
    [[nodiscard]] int headFault() const {
        const auto& head = parser->get();
        if (head.count(http::field::transfer_encoding) > 0 && !parser->chunked()) {
            return 501;
        }
        const auto expectation = head[http::field::expect];
        if (!expectation.empty() && !beast::iequals(expectation, "100-continue")) {
            return 417;
        }
        const std::size_t hosts = head.count(http::field::host);
        return hosts > 1 || (hosts == 0 && head.version() >= 11) ? 400 : 0;
    }

    void sendContinue() {
        interim.emplace(http::status::continue_, 11);
        http::async_write(stream, *interim, [self = shared_from_this()](Error error, std::size_t) {
            if (!error) {
                self->readRest();
            }
        });
    }

    void readRest() {
        http::async_read(stream, input, *parser,
                         [self = shared_from_this()](Error error, std::size_t) {
                             error ? self->refuse(error) : self->takeRequest();
                         });
    }

    void takeRequest() {
        auto& message = parser->get();
        request = {textOf(message.method_string()), {}, {}, {}, std::move(message.body()), peer};
        splitTarget({message.target().data(), message.target().size()}, request);
        for (const auto& field : message) {
            request.headers.emplace_back(textOf(field.name_string()), textOf(field.value()));
        }
        keepAlive = message.keep_alive();
        isOldClient = message.version() < 11;
        forgetInput();
        beast::get_lowest_layer(stream).expires_never();
        waitForTurn();
    }

    // What has been read may hold secrets, and a connection that is kept can be idle for long: the
    // heap overwrites what is given back. What came of a next request stays.
    void forgetInput() {
        parser.reset();
        input.shrink_to_fit();
    }

    // --- answering -------------------------------------------------------------------------------

    void waitForTurn() {
        timer.expires_after(server.calls.delay(request));
        timer.async_wait([self = shared_from_this()](Error error) mutable {
            if (!error) {
                auto& answering = self->server.answering;
                asio::post(answering,
                           [self = std::move(self)]() mutable { answerRequest(std::move(self)); });
            }
        });
    }

    // On a thread of the pool, which gives the connection back: its end belongs to the thread that
    // runs the context.
    static void answerRequest(std::shared_ptr<Connection> self) {
        HttpAnswer answer = self->server.calls.answer(self->request);
        wipeText(self->request.body);
        self->request.headers = {};
        const auto executor = self->stream.get_executor();
        asio::post(executor, [self = std::move(self), answer = std::move(answer)]() mutable {
            self->send(std::move(answer));
        });
    }

    void refuse(const Error& error) {
        if (const int status = refusalStatus(error); status != 0) {
            refuse(status);
        }
    }

    void refuse(int status) {
        keepAlive = false;
        isDraining = true;
        request = {};
        send(server.calls.unreadable(status, refusalText(status)));
    }

    void send(HttpAnswer answer) {
        expireAfter(server.limits.silence);
        if (answer.stream && request.method != "HEAD") {
            return sendStreamHead(std::move(answer));
        }
        http::response<http::string_body> response(static_cast<http::status>(answer.status), 11);
        addHeaders(response, answer);
        const bool hasBody = mayHaveBody(answer.status);
        response.keep_alive(keepAlive);
        if (keepAlive && isOldClient) { // HTTP/1.0 has to be told (RFC 9112, C.2.2)
            response.set(http::field::connection, "keep-alive");
        }
        if (hasBody) {
            response.content_length(answer.body.size());
        }
        if (hasBody && request.method != "HEAD") {
            response.body() = std::move(answer.body);
        }
        sendWhole(response);
    }

    // As one text, which may hold the token of a session: the layer below would gather head and
    // body in a buffer that it keeps.
    void sendWhole(const http::response<http::string_body>& response) {
        std::ostringstream text;
        text << response;
        outgoing = std::move(text).str();
        asio::async_write(stream, asio::buffer(outgoing),
                          [self = shared_from_this()](Error error, std::size_t) {
                              wipeText(self->outgoing);
                              if (!error) {
                                  self->afterAnswer();
                              }
                          });
    }

    template <typename Message>
    static void addHeaders(Message& message, const HttpAnswer& answer) {
        for (const auto& [name, value] : answer.headers) {
            if (fitsHeader(value)) {
                message.insert(name, value);
            }
        }
    }

    void afterAnswer() {
        if (keepAlive) {
            readHead();
        } else if (isDraining) {
            drain(std::chrono::steady_clock::now() + DRAIN_TIME);
        } else {
            shutDown();
        }
    }

    // Takes what the client still sends and forgets it.
    void drain(std::chrono::steady_clock::time_point end) {
        beast::get_lowest_layer(stream).expires_at(end);
        stream.async_read_some(asio::buffer(forgotten),
                               [self = shared_from_this(), end](Error error, std::size_t) {
                                   if (!error) {
                                       self->drain(end);
                                   }
                               });
    }

    void shutDown() {
        expireAfter(server.limits.handshake);
        stream.async_shutdown([self = shared_from_this()](Error) {});
    }

    // --- event streams ---------------------------------------------------------------------------

    void sendStreamHead(HttpAnswer answer);
    void watchForEnd();
    void queue(std::string chunk);
    void sendQueued();
    void endStream();

    ServerState& server;
    asio::ssl::context sslContext;
    beast::ssl_stream<beast::tcp_stream> stream;
    beast::flat_buffer input;
    asio::steady_timer timer;
    std::optional<Parser> parser;
    std::optional<http::response<http::empty_body>> interim;
    std::string outgoing; // the answer that is being sent
    std::optional<http::response_serializer<http::empty_body>> streamHead;
    std::optional<http::response<http::empty_body>> streamMessage;
    std::string peer;
    HttpRequest request;
    std::array<char, 4096> forgotten{};
    bool keepAlive = false;
    bool isOldClient = false;
    bool isDraining = false;

    std::deque<std::string> queued; // of the event stream; the first one is being sent
    std::size_t queuedBytes = 0;
    bool isStreaming = false;
    bool endsWhenSent = false;
    StreamEnd streamEnd;
};

// Holds no connection open, and looks at it on the thread that runs the context alone.
class ConnectionSink : public EventSink {
public:
    ConnectionSink(asio::io_context& serverContext, std::weak_ptr<Connection> served)
        : context(serverContext), connection(std::move(served)) {}

    void send(std::string text) override {
        asio::post(context, [served = connection, text = std::move(text)] {
            if (const auto alive = served.lock()) {
                alive->queueText(text);
            }
        });
    }

    void end() override {
        asio::post(context, [served = connection] {
            if (const auto alive = served.lock()) {
                alive->queueEnd();
            }
        });
    }

private:
    asio::io_context& context;
    std::weak_ptr<Connection> connection;
};

// A chunk of the stream (RFC 9112, 7.1).
std::string chunkOf(const std::string& text) {
    std::array<char, 20> size{};
    (void)std::snprintf(size.data(), size.size(), "%zx\r\n", text.size());
    return size.data() + text + "\r\n";
}

constexpr const char* LAST_CHUNK = "0\r\n\r\n";

void Connection::sendStreamHead(HttpAnswer answer) {
    streamMessage.emplace(static_cast<http::status>(answer.status), 11);
    addHeaders(*streamMessage, answer);
    streamMessage->chunked(true);
    streamHead.emplace(*streamMessage);
    http::async_write_header(
        stream, *streamHead,
        [self = shared_from_this(), begin = std::move(answer.stream)](Error error, std::size_t) {
            if (error) {
                return;
            }
            self->isStreaming = true;
            beast::get_lowest_layer(self->stream).expires_never();
            self->streamEnd = begin(std::make_shared<ConnectionSink>(self->server.context, self));
            self->watchForEnd();
        });
}

// A client sends nothing more on the stream but its end.
void Connection::watchForEnd() {
    stream.async_read_some(asio::buffer(forgotten),
                           [self = shared_from_this()](Error error, std::size_t) {
                               error ? self->endStream() : self->watchForEnd();
                           });
}

void Connection::queueText(const std::string& text) {
    if (!isStreaming || endsWhenSent) {
        return;
    }
    queuedBytes += text.size();
    if (queuedBytes > MOST_WAITING_BYTES) {
        return endStream();
    }
    queue(chunkOf(text));
}

void Connection::queueEnd() {
    if (isStreaming && !endsWhenSent) {
        endsWhenSent = true;
        queue(LAST_CHUNK);
    }
}

void Connection::queue(std::string chunk) {
    queued.push_back(std::move(chunk));
    if (queued.size() == 1) {
        sendQueued();
    }
}

void Connection::sendQueued() {
    asio::async_write(stream, asio::buffer(queued.front()),
                      [self = shared_from_this()](Error error, std::size_t) {
                          if (error || !self->isStreaming) {
                              return self->endStream();
                          }
                          self->queued.pop_front();
                          if (!self->queued.empty()) {
                              self->sendQueued();
                          } else if (self->endsWhenSent) {
                              self->endStream();
                          } else {
                              self->queuedBytes = 0;
                          }
                      });
}

void Connection::endStream() {
    if (!isStreaming) {
        return;
    }
    isStreaming = false;
    beast::get_lowest_layer(stream).close();
    if (const StreamEnd ended = std::exchange(streamEnd, {})) {
        ended();
    }
}

} // namespace

void serveConnection(ServerState& server, boost::asio::ip::tcp::socket socket) {
    std::make_shared<Connection>(server, std::move(socket), server.calls.context())->start();
}
