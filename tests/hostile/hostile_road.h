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

using Texts = std::vector<std::string>;

// The first three and what stands in Redis beforehand are enough for most rows; the functions
// behind them say what else is special.
struct HostileRow {
    std::string name;
    FrontEndRequest request;
    // "OK", "EXCEPTION MessageId (arguments)", with "no reply, " in front when none came; or
    // ABORTS.
    std::string outcome;
    std::function<void(RedisClient&)> prepare = {}; // after the request has been stored
    Texts errors = {};                              // error lines of the log
    Texts storeMessages = {};                       // lines on standard error
    std::string message = {};
    std::string spoiledKey = {};
    bool isHalfDone = false;
    std::function<void(RedisClient&)> inspect = {};
    std::string backendAnswers = "{}";

    // Announced by this message instead of the two keys.
    [[nodiscard]] HostileRow announcing(std::string text) const;

    // The key is to be removed before the sound request.
    [[nodiscard]] HostileRow leavingSpoiled(std::string key) const;

    // Refused when something has been stored already.
    [[nodiscard]] HostileRow failingHalfWay() const;

    // Looked at after the outcome has been compared.
    [[nodiscard]] HostileRow inspecting(std::function<void(RedisClient&)> look) const;

    // The backend's answers to this request, not to the sound one.
    [[nodiscard]] HostileRow answeredByTheBackend(std::string answers) const;
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
    [[nodiscard]] std::string storedOutside(bool collections);
    [[nodiscard]] Texts errorLines() const;
};
