// Entry point of certificateweb: options, what the resources share, the listener.

#include "core/secret.h"
#include "frontend/exchange/interrupt.h"
#include "frontend/web/http/http_server.h"
#include "frontend/web/options.h"
#include "frontend/web/redfish_service.h"
#include "frontend/web/service/listener_identity.h"

#include <malloc.h>
#include <pthread.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <thread>

namespace {

// Every thread would otherwise keep a heap of its own.
constexpr int HEAPS = 2;

// The main thread alone takes the signals that end the program, and only while it waits for them.
sigset_t holdBackSignals() {
    sigset_t ending;
    sigset_t before;
    (void)sigemptyset(&ending);
    (void)sigaddset(&ending, SIGINT);
    (void)sigaddset(&ending, SIGTERM);
    (void)pthread_sigmask(SIG_BLOCK, &ending, &before);
    return before;
}

void awaitSignal(const sigset_t& before) {
    while (!wasInterrupted()) {
        (void)sigsuspend(&before);
    }
}

ServerCalls callsOf(WebService& service, ListenerIdentity& identity) {
    return {[&identity] { return identity.current(); },
            [&service](const HttpRequest& request) { return loginDelay(service, request); },
            [&service](const HttpRequest& request) { return answerRequest(service, request); },
            answerUnreadable};
}

void tellAddress(const ServerAddress& address, std::uint16_t port) {
    const bool isSixed = address.host.find(':') != std::string::npos;
    (void)std::printf("certificateweb serves https://%s%s%s:%u\n", isSixed ? "[" : "",
                      address.host.c_str(), isSixed ? "]" : "", unsigned{port});
    (void)std::fflush(stdout);
}

void serve(WebOptions& options, const sigset_t& before) {
    WebService service(options.settings, options.password);
    wipeText(options.password);
    ListenerIdentity identity(service.redis, options.settings.certificatesUri);
    HttpServer server(options.address, {}, callsOf(service, identity));
    service.port = server.port();
    service.events.start();
    tellAddress(options.address, server.port());
    std::thread serving([&server] { server.run(); });
    awaitSignal(before);
    server.stop();
    serving.join();
    service.events.stop();
}

} // namespace

int main(int count, char** words) {
    (void)mallopt(M_ARENA_MAX, HEAPS);
    forbidCoreFiles();
    WebOptions options = readOptions(count, words);
    installInterruptHandler();
    const sigset_t before = holdBackSignals();
    try {
        serve(options, before);
        return 0;
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "certificateweb: %s\n", error.what());
        return 1;
    }
}
