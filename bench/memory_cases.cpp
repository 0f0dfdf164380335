// A single call is too short for the clock: each run is many calls.

#include "bench/connection.h"
#include "bench/documents.h"
#include "bench/exchange.h"
#include "bench/function_cases.h"
#include "core/protocol/messages.h"
#include "store/markers.h"
#include "store/value_text.h"
#include "store/write_commands.h"
#include "tests/support/empty_backend/example_values.h"
#include "tests/support/wire.h"

#include <fcntl.h>
#include <hiredis/hiredis.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <stdexcept>

namespace {

constexpr int CALLS = 2000;
constexpr int ROUNDS = 200;

// What the compiler cannot know to be unused.
template <typename Value>
void use(const Value& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

template <typename Call>
Run repeated(Call call) {
    return [call] {
        const Cost cost = costOf([&] {
            for (int i = 0; i < CALLS; ++i) {
                use(call());
            }
        });
        return Cost{cost.processor / CALLS, cost.elapsed / CALLS};
    };
}

template <typename Call>
FunctionCase textCase(const std::string& name, const std::string& text, Call call) {
    return {name, 0, ROUNDS, repeated([text, call] { return call(text); }),
            repeated([text] { return std::string(text); })};
}

// A connection whose output goes nowhere.
std::shared_ptr<redisContext> makeSink() {
    const int descriptor = open("/dev/null", O_WRONLY | O_CLOEXEC);
    redisContext* context = descriptor < 0 ? nullptr : redisConnectFd(descriptor);
    if (context == nullptr) {
        throw std::runtime_error("no connection to /dev/null");
    }
    return {context, ConnectionDeleter()};
}

void drain(redisContext* sink) {
    int done = 0;
    while (done == 0) {
        if (redisBufferWrite(sink, &done) != REDIS_OK) {
            throw std::runtime_error("cannot write to /dev/null");
        }
    }
}

int encode(redisContext* sink, const nlohmann::json& document) {
    std::int64_t sequenceId = 1;
    return appendWriteCommands(sink, "/redfish/v1/Example/1", document, sequenceId);
}

FunctionCase encodingCase(const std::string& name, const nlohmann::json& document, int rounds) {
    const auto sink = makeSink();
    (void)encode(sink.get(), document);
    const Exchange exchange = makeExchange(pendingCommands(sink.get()));
    drain(sink.get());
    const auto ours = [sink, document] {
        const Cost cost = costOf([&] { use(encode(sink.get(), document)); });
        drain(sink.get());
        return cost;
    };
    const auto floor = [sink, exchange] {
        const Cost cost = costOf([&] {
            use(redisAppendFormattedCommand(sink.get(), exchange.bytes.data(),
                                            exchange.bytes.size()));
        });
        drain(sink.get());
        return cost;
    };
    return {name, 0, rounds, ours, floor};
}

} // namespace

FunctionCases memoryCases() {
    const auto decode = [](const std::string& text) { return decodeValueText(text); };
    const std::string certificate = nlohmann::json(exampleCertificateText()).dump();
    const nlohmann::json plainCertificate = exampleCertificateText();
    return {
        textCase("decodeValueText, integer", "1732180000", decode),
        textCase("decodeValueText, number with a fraction", "48.25", decode),
        textCase("decodeValueText, short string", R"("Enabled")", decode),
        textCase("decodeValueText, certificate of 1.4 KB", certificate, decode),
        {"compactJsonText, certificate of 1.4 KB", 0, ROUNDS,
         repeated([plainCertificate] { return compactJsonText(plainCertificate); }),
         repeated([certificate] { return std::string(certificate); })},
        textCase("parseHashMarker", "&&Object Issuer &&/redfish/v1/Example/Certificates/1/Issuer",
                 [](const std::string& text) { return parseHashMarker(text); }),
        textCase("splitChannelMessage", "requests/1732180000 status/1732180000/result",
                 [](const std::string& text) { return splitChannelMessage(text); }),
        encodingCase("appendWriteCommands, certificate resource",
                     certificateResource("/redfish/v1/Example/1"), 2000),
        encodingCase("appendWriteCommands, 1,000 scalars", scalarArray(1000), 1000),
        encodingCase("appendWriteCommands, 400 objects", objectArray(400), 1000),
    };
}
