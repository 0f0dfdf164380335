// One row from its preparation to the sound request after it.

#include "tests/hostile/hostile_road.h"

#include "tests/support/temp_files.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

const std::string CONTROL = "/redfish/v1/Control";
const std::string SOUND_COLLECTION = "/redfish/v1/Managers/2/Certificates";
constexpr int SOUND_NUMBER = 99;
constexpr double SILENCE_SECONDS = 0.05; // the sound request has been answered by then

std::string shortened(std::string text) {
    for (auto at = text.find(megabyte()); at != std::string::npos; at = text.find(megabyte())) {
        text.replace(at, megabyte().size(), "<MiB>");
    }
    return text;
}

Texts shortenedLines(const std::string& text) {
    return splitLines(shortened(text));
}

// A field's text; empty when there is none, or the key holds no hash.
std::string field(RedisClient& client, const std::string& key, const std::string& name) {
    return client.command("HGET", key, name).type == RedisAnswer::Type::STRING
               ? client.command("HGET", key, name).text
               : std::string();
}

std::string messageAt(RedisClient& client, const std::string& elementKey) {
    std::string text = " " + field(client, elementKey, "&&MessageId") + " (";
    std::string separator;
    for (const std::string& argument :
         client.command("LRANGE", field(client, elementKey, "&&MessageArgs"), "0", "-1").texts()) {
        text += separator + nlohmann::json::parse(argument).get<std::string>();
        separator = ", ";
    }
    return text + ")";
}

std::string statusAt(RedisClient& client, const std::string& statusKey) {
    const std::string word = field(client, statusKey, "&&ReturnStatus");
    std::string text = word.empty() ? "no status" : word;
    const std::string information = field(client, statusKey, "&&ExtendedInfo");
    if (!information.empty()) {
        for (const std::string& key : client.command("LRANGE", information, "0", "-1").texts()) {
            text += messageAt(client, nlohmann::json::parse(key).get<std::string>());
        }
    }
    return shortened(text);
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Whether the key of a dump's line belongs to requests, their answers, or the store's bookkeeping.
bool isOfRequest(const std::string& line) {
    return contains(line, "requests/") || contains(line, "status/") || contains(line, "/tasks/") ||
           line.starts_with("Array-Member-Sequence-ID") || line.starts_with("ExtendedInfo") ||
           line.starts_with("\"\" (");
}

bool isOfCollection(const std::string& line) {
    return contains(line, "/Certificates") || contains(line, LOCATIONS) ||
           line.starts_with("/redfish/v1/EventService");
}

// The same in a collection of its own, which no row touches.
FrontEndRequest otherSoundRequest(RequestKind kind) {
    FrontEndRequest request = soundRequest(kind, SOUND_NUMBER);
    for (std::string* text : {&request.targetUri, &request.body}) {
        const auto place = text->find(COLLECTION);
        if (place != std::string::npos) {
            text->replace(place, COLLECTION.size(), SOUND_COLLECTION);
        }
    }
    return request;
}

const char* soundAnswer(RequestKind kind) {
    return kind == RequestKind::CREATE ? "OK" : kind == RequestKind::REMOVE ? "OK_EMPTY" : "OK_RES";
}

// Whether the row may change collections, locations and the counter of events. A refusal does not,
// nor does an action other than a replacement.
bool mayTouchCollections(const HostileRow& row) {
    const bool isRefused =
        row.outcome.starts_with("FAILURE") || row.outcome.starts_with("EXCEPTION");
    const bool isOtherAction =
        row.request.kind == RequestKind::ACTION && row.request.targetUri != REPLACE_CERTIFICATE;
    return !isOtherAction && (row.isHalfDone || !isRefused);
}

} // namespace

void PrintTo(const HostileRow& row, std::ostream* stream) {
    *stream << row.name;
}

std::string rowName(const testing::TestParamInfo<HostileRow>& info) {
    return info.param.name;
}

const std::string& megabyte() {
    static const std::string text(std::size_t{1} << 20, 'x');
    return text;
}

void storeOfType(RedisClient& client, const std::string& key, const std::string& type) {
    client.command("DEL", key);
    if (type == "string") {
        client.command("SET", key, "kept");
    } else if (type == "list") {
        client.command("RPUSH", key, "kept");
    } else if (type == "hash") {
        client.command("HSET", key, "kept", "1");
    } else {
        client.command("SADD", key, "kept");
    }
}

HostileRow HostileRow::announcing(std::string text) const {
    HostileRow row = *this;
    row.message = std::move(text);
    return row;
}

HostileRow HostileRow::leavingSpoiled(std::string key) const {
    HostileRow row = *this;
    row.spoiledKey = std::move(key);
    return row;
}

HostileRow HostileRow::failingHalfWay() const {
    HostileRow row = *this;
    row.isHalfDone = true;
    return row;
}

HostileRow HostileRow::inspecting(std::function<void(RedisClient&)> look) const {
    HostileRow row = *this;
    row.inspect = std::move(look);
    return row;
}

HostileRow HostileRow::answeredByTheBackend(std::string answers) const {
    HostileRow row = *this;
    row.backendAnswers = std::move(answers);
    return row;
}

HostileRoad::HostileRoad() {
    storeCertificateCollection(client, SOUND_COLLECTION);
    storeResource(client, CERTIFICATE,
                  R"({"@odata.type":"#Certificate.v1_2_2.Certificate","Issuer":{"City":"here"}})");
    storeResource(client, CONTROL, R"({"Deep":{"List":[1,{"N":2},[3]]},"Text":"100%s"})");
    client.command("RPUSH", LINKS, "&&ObjectRef " + CERTIFICATE);
}

void HostileRoad::run(const HostileRow& row) {
    setBackendAnswers(row.backendAnswers);
    storeRequest(client, row.request);
    if (row.prepare) {
        row.prepare(client);
    }
    start();
    if (row.outcome == ABORTS) {
        expectAbort(row);
    } else {
        expectOutcome(row);
    }
}

void HostileRoad::expectAbort(const HostileRow& row) {
    const std::string before = client.dumpAll();
    announce(row.request, requestMessage(row.request));
    EXPECT_EQ(daemon->waitForExit(), ABORTED);
    EXPECT_EQ(client.dumpAll(), before);
    EXPECT_EQ(errorLines(), row.errors);
    start();
    expectSoundAnswer(row.request.kind);
}

void HostileRoad::expectOutcome(const HostileRow& row) {
    // Without a reply the sound request's answer tells that the row has been dealt with; what that
    // one leaves is not compared then.
    const bool awaitsReply = !row.outcome.starts_with("no reply");
    const bool collections = awaitsReply && !mayTouchCollections(row);
    const std::string before = storedOutside(collections);
    const std::size_t atStart = daemon->standardError().size(); // connection files that are missing
    RedisClient subscriber(server);
    subscriber.command("SUBSCRIBE", row.request.returnChannel);
    announce(row.request, row.message.empty() ? requestMessage(row.request) : row.message);
    RedisAnswer reply;
    bool replied = awaitsReply && subscriber.nextMessage(reply, ANSWER_LIMIT_SECONDS);
    if (!awaitsReply) {
        expectSoundAnswer(row.request.kind);
        replied = subscriber.nextMessage(reply, SILENCE_SECONDS);
    }
    EXPECT_EQ((replied ? "" : "no reply, ") + statusAt(client, row.request.statusKey), row.outcome);
    EXPECT_EQ(replied ? reply.texts().back() : row.request.statusKey, row.request.statusKey);
    if (row.inspect) {
        row.inspect(client);
    }
    EXPECT_EQ(storedOutside(collections), before);
    EXPECT_EQ(errorLines(), row.errors);
    EXPECT_EQ(shortenedLines(daemon->standardError().substr(atStart)), row.storeMessages);
    setBackendAnswers("{}");
    client.command("DEL", row.spoiledKey);
    if (awaitsReply) {
        expectSoundAnswer(row.request.kind);
    }
}

void HostileRoad::expectSoundAnswer(RequestKind kind) {
    EXPECT_TRUE(daemon->running());
    EXPECT_EQ(describeAnswer(send(otherSoundRequest(kind))), soundAnswer(kind));
}

// Everything stored but what belongs to requests; with or without what belongs to collections.
std::string HostileRoad::storedOutside(bool collections) {
    std::string kept;
    bool isKept = true;
    for (const std::string& line : splitLines(client.dumpAll())) {
        if (!line.starts_with("  ")) {
            isKept = !isOfRequest(line) && (collections || !isOfCollection(line));
        }
        kept += isKept ? line + "\n" : std::string();
    }
    return kept;
}

Texts HostileRoad::errorLines() const {
    Texts errors;
    for (const std::string& line : shortenedLines(log())) {
        // A task's debug line ends in a line feed of its own.
        if (!line.empty() && !line.starts_with("[Debug]: ")) {
            errors.push_back(line);
        }
    }
    return errors;
}
