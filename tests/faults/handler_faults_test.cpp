// Every command that a handler sends, spoilt in turn.
//
// Each test runs one kind of request once untouched, to learn its commands, and then once for each
// command with that command spoilt. A second, untouched request on the same channel follows each
// time: requests of one channel are handled in order, so its answer tells that the first one is
// done, and that the daemon still works.

#include "tests/faults/fault_road.h"
#include "tests/support/wait.h"

#include <algorithm>

namespace {

// What the front end finds after a request.
struct Outcome {
    std::string status;
    std::string messageId;
    bool replied = true;

    friend bool operator==(const Outcome&, const Outcome&) = default;

    friend void PrintTo(const Outcome& outcome, std::ostream* out) {
        *out << outcome.status << ' ' << outcome.messageId
             << (outcome.replied ? " replied" : " no reply");
    }
};

// An error in answer to a command of this name, with this text in its key or field, has this
// outcome.
struct ErrorRule {
    std::string command;
    std::string argument;
    Outcome outcome;
};
using ErrorRules = std::vector<ErrorRule>;

struct Scenario {
    std::string name;
    FrontEndRequest request;
    Outcome success;
    ErrorRules errors; // the first that fits; none: as without the error

    friend void PrintTo(const Scenario& scenario, std::ostream* out) {
        *out << scenario.name;
    }
};

const Outcome NOTHING = {"", "", false};
const Outcome CREATED = {"OK", ""};
const Outcome REMOVED = {"OK_EMPTY", ""};
const Outcome ANSWERED = {"OK_RES", ""};
const Outcome DATABASE_ERROR = {"EXCEPTION", "ExtendedError.1.2.DatabaseOperationError"};
const Outcome UNANSWERED = {"EXCEPTION", "ExtendedError.1.2.DatabaseOperationError", false};
const Outcome NOT_IN_LIST = {"FAILURE", "Base.1.9.PropertyValueNotInList"};
const Outcome MISSING = {"FAILURE", "Base.1.9.ResourceMissingAtURI"};
const Outcome UNSUPPORTED = {"FAILURE", "Base.1.9.ActionNotSupported"};

// A kind of request with the rules of everything that reads a record and a body, and answers with a
// status word and a publication; its own rules come last.
Scenario scenario(const std::string& name, const FrontEndRequest& request, const Outcome& success,
                  const ErrorRules& ownRules) {
    const Outcome unreadable = request.kind == RequestKind::ACTION ? NOTHING : UNANSWERED;
    ErrorRules rules = {{"TYPE", "requests/1", unreadable},
                        {"HGETALL", "requests/1", unreadable},
                        {"TYPE", "requests/1/body", DATABASE_ERROR},
                        {"HGETALL", "requests/1/body", DATABASE_ERROR},
                        {"HSET", "&&ReturnStatus", {"", success.messageId}},
                        {"PUBLISH", "answers/1", {success.status, success.messageId, false}}};
    rules.insert(rules.end(), ownRules.begin(), ownRules.end());
    return {name, request, success, rules};
}

FrontEndRequest unknownAction() {
    FrontEndRequest request = signing("");
    request.targetUri = GENERATE_CSR + "/";
    return request;
}

std::vector<Scenario> scenarios() {
    return {
        scenario("Creation", creation(), CREATED,
                 {{"LRANGE", COLLECTION, NOT_IN_LIST}, {"LPUSH", "", DATABASE_ERROR}}),
        scenario("Deletion", deletion(CERTIFICATE), REMOVED, {}),
        scenario("SigningRequest", signing(R"("KeyCurveId":"TPM_ECC_NIST_P256")"), ANSWERED,
                 {{"HGET", COLLECTION, MISSING}}),
        scenario("Replacement", replacement(CERTIFICATE), ANSWERED,
                 {{"HGET", CERTIFICATE, MISSING},
                  {"LRANGE", COLLECTION, NOT_IN_LIST},
                  {"HGET", "redisSHAScripts", DATABASE_ERROR},
                  {"EVALSHA", "", DATABASE_ERROR}}),
        scenario("UnknownAction", unknownAction(), UNSUPPORTED, {}),
    };
}

bool fits(const ErrorRule& rule, const Command& command) {
    const bool hasArgument =
        rule.argument.empty() || std::any_of(command.begin(), command.end(), [&](const auto& word) {
            return word == rule.argument ||
                   (rule.argument == COLLECTION && word.find(COLLECTION) != std::string::npos);
        });
    return command.front() == rule.command && hasArgument;
}

Outcome expectedAfterError(const Scenario& scenario, const Command& command) {
    const auto rule =
        std::find_if(scenario.errors.begin(), scenario.errors.end(),
                     [&](const ErrorRule& candidate) { return fits(candidate, command); });
    Outcome expected = rule == scenario.errors.end() ? scenario.success : rule->outcome;
    if (command.front() == "HSET" && command.size() > 2 && command[2] == "&&MessageId") {
        expected.messageId.clear(); // the message itself is what could not be written
    }
    return expected;
}

class HandlerFaults : public FaultRoad,
                      public testing::WithParamInterface<std::tuple<Scenario, Fault>> {
protected:
    HandlerFaults() {
        restartAndWarmUp();
    }

    // The first request also reads what is read only once.
    void restartAndWarmUp() {
        restart();
        (void)send(request);
    }

    // The commands of the request when nothing is spoilt.
    Commands learnCommands() {
        seed();
        proxy.setPlan({});
        (void)send(request);
        Commands commands;
        for (const ProxiedCommand& command : proxy.commands()) {
            commands.push_back(command.words);
        }
        return commands;
    }

    // Announces the request and an untouched one behind it, and waits for the answer to that one
    // unless nobody will give it. Whether the first one was answered meanwhile.
    bool runBoth(const FaultPlan& plan, bool awaitSecond) {
        seed();
        FrontEndRequest next = request;
        next.requestKey = "requests/2";
        next.bodyKey = "requests/2/body";
        next.statusKey = "status/2/result";
        next.returnChannel = "answers/2";
        storeRequest(client, request);
        storeRequest(client, next);
        RedisClient replies(server);
        (void)replies.commandList({"PSUBSCRIBE", "answers/*"});
        proxy.setPlan(plan);
        announce(request, requestMessage(request));
        announce(next, requestMessage(next));
        bool replied = false;
        RedisAnswer message;
        while (awaitSecond && replies.nextMessage(message, ANSWER_LIMIT_SECONDS)) {
            if (message.texts().back() == next.statusKey) {
                return replied;
            }
            replied = replied || message.texts().back() == request.statusKey;
        }
        EXPECT_FALSE(awaitSecond) << "the second request is not answered";
        return replied;
    }

    void checkError(std::size_t index, const Command& command) {
        const bool replied = runBoth({fault.kind, index, fault.error}, true);
        const Outcome outcome = {client.hash(request.statusKey)["&&ReturnStatus"],
                                 client.hash("status/1/ExtendedInfo/1")["&&MessageId"], replied};
        EXPECT_EQ(outcome, expectedAfterError(std::get<Scenario>(GetParam()), command));
    }

    // A handler whose connection is gone can tell the front end nothing more. The collection
    // requests have a new connection for the next message; the actions' connection is never made
    // again.
    void checkCut(std::size_t index, const Command& command) {
        const bool isAction = request.kind == RequestKind::ACTION;
        const bool replied = runBoth({fault.kind, index, ""}, !isAction);
        if (!isAction) {
            EXPECT_EQ(replied, fault.kind == FaultKind::CUT_REPLY && command.front() == "PUBLISH");
            return;
        }
        EXPECT_TRUE(waitUntil([this] {
            return log().find("Certificate action: get request data structure failed.") !=
                   std::string::npos;
        }));
        EXPECT_TRUE(daemon->running());
        restartAndWarmUp();
    }

    const FrontEndRequest request = std::get<Scenario>(GetParam()).request;
    const Fault fault = std::get<Fault>(GetParam());
};

TEST_P(HandlerFaults, OfAnyCommandHaveTheirOutcomeAndEndWithTheRequest) {
    const Commands commands = learnCommands();
    ASSERT_GT(commands.size(), 5U);
    const int firstDaemon = daemon->pid();
    const std::size_t descriptors = openDescriptors(firstDaemon);
    for (std::size_t i = 0; i < commands.size() && !HasFailure(); ++i) {
        SCOPED_TRACE(std::to_string(i) + ": " + testing::PrintToString(commands[i]));
        if (fault.kind == FaultKind::ERROR_REPLY) {
            checkError(i, commands[i]);
        } else {
            checkCut(i, commands[i]);
        }
        ASSERT_TRUE(daemon->running());
    }
    // A daemon that was started anew meanwhile has descriptors of its own to compare with.
    EXPECT_TRUE(waitUntil([&] {
        return daemon->pid() != firstDaemon || openDescriptors(firstDaemon) <= descriptors;
    })) << openDescriptors(firstDaemon)
        << " descriptors open instead of " << descriptors;
}

INSTANTIATE_TEST_SUITE_P(All, HandlerFaults,
                         testing::Combine(testing::ValuesIn(scenarios()),
                                          testing::ValuesIn(connectionFaults())),
                         [](const auto& row) {
                             return std::get<0>(row.param).name + std::get<1>(row.param).name;
                         });

} // namespace
