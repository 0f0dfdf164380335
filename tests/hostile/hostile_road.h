#pragma once

// Hostile requests as rows of a table, and the road that each of them goes.
//
// Everything around the request stands in Redis before it is announced: a collection, a certificate
// in it, and a resource that no request names. Afterwards the row's outcome, the log, the store's
// own messages and everything stored outside the request are compared literally, and a sound
// request must be answered as if nothing had been.

#include "tests/system/request_road.h"

#include <functional>
#include <string>
#include <vector>

inline const std::string CERTIFICATE = COLLECTION + "/1a2b";
inline const std::string LINKS = "&&" + LOCATIONS + "/Links/Certificates";

// The outcome of a row whose request ends the daemon by an exception that nothing catches.
inline const std::string ABORTS = "the daemon ends";

// What a request may leave outside its own keys.
enum class Touches { NOTHING, COLLECTION_AND_LOCATIONS };

struct HostileRow {
    std::string name;
    FrontEndRequest request;
    // "OK", "EXCEPTION MessageId (arguments)", with "no reply, " in front when none came; or
    // ABORTS.
    std::string outcome;
    std::vector<std::string> errors = {};           // error lines of the log
    std::vector<std::string> storeMessages = {};    // lines on standard error
    std::function<void(RedisClient&)> prepare = {}; // after the request has been stored
    std::string message = {};                       // announced instead of the two keys
    std::vector<std::string> spoiledKeys = {};      // removed before the sound request
    Touches touches = Touches::NOTHING;
    std::function<void(RedisClient&)> inspect = {}; // after the outcome has been compared
    std::string backendAnswers = "{}";              // to this request, not to the sound one
};

void PrintTo(const HostileRow& row, std::ostream* stream);

[[nodiscard]] std::string rowName(const testing::TestParamInfo<HostileRow>& info);

// A text of 1 MiB; outcomes and lines are compared with "<MiB>" in its place.
[[nodiscard]] const std::string& megabyte();

// Replaces whatever is at the key by one value of this Redis type.
void storeOfType(RedisClient& client, const std::string& key, const std::string& type);

class HostileRoad : public RequestRoad, public testing::WithParamInterface<HostileRow> {
protected:
    HostileRoad();

    void run(const HostileRow& row);

private:
    void expectAbort(const HostileRow& row);
    void expectOutcome(const HostileRow& row);
    void expectSoundAnswer(RequestKind kind);
    [[nodiscard]] std::string storedOutside(Touches touches);
    [[nodiscard]] std::vector<std::string> errorLines() const;
};
