// Every command that a handler sends, spoilt in turn.
//
// Each test runs one kind of request once untouched, to learn its commands, and then once for each
// command with that command spoilt. A second, untouched request on the same channel follows each
// time: requests of one channel are handled in order, so its answer tells that the first one is
// done, and that the daemon still works.

#include "tests/faults/fault_road.h"
#include "tests/support/request.h"
#include "tests/support/wait.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

namespace {

const std::string ACTIONS = "/redfish/v1/CertificateService/Actions/CertificateService.";
const std::string DATABASE_ERROR = "ExtendedError.1.2.DatabaseOperationError";

// What the front end finds after a request.
struct Outcome {
    std::string status;
    std::string messageId;
    bool replied = true;
};

bool operator==(const Outcome& left, const Outcome& right) {
    return left.status == right.status && left.messageId == right.messageId &&
           left.replied == right.replied;
}

void PrintTo(const Outcome& outcome, std::ostream* stream) {
    *stream << outcome.status << ' ' << outcome.messageId
            << (outcome.replied ? " replied" : " no reply");
}

// An error in answer to a command of this name, with this text in its key or field, has this
// outcome.
struct ErrorRule {
    std::string command;
    std::string argument;
    Outcome outcome;
};

struct Scenario {
    std::string name;
    FrontEndRequest request;
    Outcome success;
    std::vector<ErrorRule> errors; // the first that fits; none: as without the error
};

void PrintTo(const Scenario& scenario, std::ostream* stream) {
    *stream << scenario.name;
}

const Outcome NOTHING = {"", "", false};

std::vector<ErrorRule> recordRules(const Outcome& unreadable) {
    return {{"TYPE", "requests/1", unreadable}, {"HGETALL", "requests/1", unreadable}};
}

std::vector<ErrorRule> operator+(std::vector<ErrorRule> rules, const std::vector<ErrorRule>& more) {
    rules.insert(rules.end(), more.begin(), more.end());
    return rules;
}

// The rules of everything that answers with a body, a status word and a publication.
std::vector<ErrorRule> commonRules(const Outcome& success) {
    const Outcome unreadable = {"EXCEPTION", DATABASE_ERROR, true};
    return {{"TYPE", "body/1", unreadable},
            {"HGETALL", "body/1", unreadable},
            {"HSET", "&&ReturnStatus", {"", success.messageId, true}},
            {"PUBLISH", "answers/1", {success.status, success.messageId, false}}};
}

FrontEndRequest makeRequest(RequestKind kind, const std::string& targetUri,
                            const std::string& body) {
    FrontEndRequest request;
    request.kind = kind;
    request.targetUri = targetUri;
    request.body = body;
    request.bodyKey = "body/1";
    request.fields = {{"&&Task", "/redfish/v1/TaskService/Tasks/1"}};
    return request;
}

std::vector<Scenario> scenarios() {
    const Outcome databaseError = {"EXCEPTION", DATABASE_ERROR, true};
    const Outcome notInList = {"FAILURE", "Base.1.9.PropertyValueNotInList", true};
    const Outcome missing = {"FAILURE", "Base.1.9.ResourceMissingAtURI", true};
    const Outcome unanswered = {"EXCEPTION", DATABASE_ERROR, false};
    const Outcome created = {"OK", "", true};
    const Outcome removed = {"OK_EMPTY", "", true};
    const Outcome answered = {"OK_RES", "", true};
    const Outcome unsupported = {"FAILURE", "Base.1.9.ActionNotSupported", true};
    return {
        {"Creation",
         makeRequest(RequestKind::CREATE, COLLECTION,
                     R"({"CertificateType":"PEM","CertificateString":"text"})"),
         created,
         recordRules(unanswered) + commonRules(created) +
             std::vector<ErrorRule>{{"LRANGE", COLLECTION, notInList},
                                    {"LPUSH", "", databaseError}}},
        {"Deletion", makeRequest(RequestKind::REMOVE, CERTIFICATE, ""), removed,
         recordRules(unanswered) + commonRules(removed)},
        {"SigningRequest",
         makeRequest(RequestKind::ACTION, ACTIONS + "GenerateCSR",
                     R"({"CertificateCollection":{"@odata.id":")" + COLLECTION +
                         R"("},"CommonName":"a","KeyCurveId":"TPM_ECC_NIST_P256"})"),
         answered,
         recordRules(NOTHING) + commonRules(answered) +
             std::vector<ErrorRule>{{"HGET", COLLECTION, missing}}},
        {"Replacement",
         makeRequest(RequestKind::ACTION, ACTIONS + "ReplaceCertificate",
                     R"({"CertificateUri":{"@odata.id":")" + CERTIFICATE +
                         R"("},"CertificateType":"PEM","CertificateString":"text"})"),
         answered,
         recordRules(NOTHING) + commonRules(answered) +
             std::vector<ErrorRule>{{"HGET", CERTIFICATE, missing},
                                    {"LRANGE", COLLECTION, notInList},
                                    {"HGET", "redisSHAScripts", databaseError},
                                    {"EVALSHA", "", databaseError}}},
        {"UnknownAction", makeRequest(RequestKind::ACTION, ACTIONS + "Nothing", "{}"), unsupported,
         recordRules(NOTHING) + commonRules(unsupported)},
    };
}

bool fits(const ErrorRule& rule, const std::vector<std::string>& command) {
    const bool hasArgument =
        rule.argument.empty() || std::any_of(command.begin(), command.end(), [&](const auto& word) {
            return word == rule.argument ||
                   (rule.argument == COLLECTION && word.find(COLLECTION) != std::string::npos);
        });
    return command.front() == rule.command && hasArgument;
}

Outcome expectedAfterError(const Scenario& scenario, const std::vector<std::string>& command) {
    for (const ErrorRule& rule : scenario.errors) {
        if (fits(rule, command)) {
            return rule.outcome;
        }
    }
    return scenario.success;
}

// Whether the command writes the message itself, which is then not there.
bool writesMessageId(const std::vector<std::string>& command) {
    return command.front() == "HSET" && command.size() > 2 && command[2] == "&&MessageId";
}

} // namespace

class HandlerFaults : public testing::TestWithParam<std::tuple<Scenario, Fault>>,
                      protected FaultRoad {
protected:
    HandlerFaults() {
        startDaemon();
    }

    // With one request behind it: the first one also reads what is read only once.
    void startDaemon() {
        restartDaemon();
        seed();
        (void)sendRequest(mServer, std::get<Scenario>(GetParam()).request);
    }

    // The same request under keys of its own.
    static FrontEndRequest second(FrontEndRequest request) {
        request.requestKey = "requests/2";
        request.bodyKey = "body/2";
        request.statusKey = "status/2/result";
        request.returnChannel = "answers/2";
        return request;
    }

    // Announces the request and an untouched one behind it. False when the second one is not
    // answered; replied tells whether the first one was.
    bool runBoth(const FrontEndRequest& request, const FaultPlan& plan, bool awaitSecond,
                 bool& replied) {
        seed();
        const FrontEndRequest next = second(request);
        storeRequest(mClient, request);
        storeRequest(mClient, next);
        RedisClient subscriber(mServer);
        subscriber.command("SUBSCRIBE", request.returnChannel);
        (void)subscriber.command("SUBSCRIBE", next.returnChannel);
        mProxy.setPlan(plan);
        mClient.command("PUBLISH", channelName(request.kind), requestMessage(request));
        mClient.command("PUBLISH", channelName(next.kind), requestMessage(next));
        replied = false;
        RedisAnswer message;
        while (awaitSecond && subscriber.nextMessage(message, ANSWER_LIMIT_SECONDS)) {
            if (message.texts()[1] == next.returnChannel) {
                return true;
            }
            replied = replied || message.texts().back() == request.statusKey;
        }
        return !awaitSecond;
    }

    // The commands of the request when nothing is spoilt.
    std::vector<std::vector<std::string>> learnCommands(const Scenario& scenario) {
        seed();
        mProxy.setPlan({});
        (void)sendRequest(mServer, scenario.request);
        std::vector<std::vector<std::string>> words;
        for (const ProxiedCommand& command : mProxy.commands()) {
            words.push_back(command.words);
        }
        return words;
    }

    Outcome outcome(const FrontEndRequest& request, bool replied) {
        const auto status = mClient.hash(request.statusKey);
        const auto message = mClient.hash("status/1/ExtendedInfo/1");
        const auto text = [](const auto& fields, const char* name) {
            const auto found = fields.find(name);
            return found == fields.end() ? std::string() : found->second;
        };
        return {text(status, "&&ReturnStatus"), text(message, "&&MessageId"), replied};
    }

    void checkError(const Scenario& scenario, const Fault& fault, std::size_t index,
                    const std::vector<std::string>& command) {
        bool replied = false;
        ASSERT_TRUE(runBoth(scenario.request, {fault.kind, index, fault.error}, true, replied));
        Outcome expected = expectedAfterError(scenario, command);
        if (writesMessageId(command)) {
            expected.messageId.clear();
        }
        EXPECT_EQ(outcome(scenario.request, replied), expected);
    }

    // A handler whose connection is gone can tell the front end nothing more. The collection
    // requests have a new connection for the next message; the actions' connection is never made
    // again.
    void checkCut(const Scenario& scenario, const Fault& fault, std::size_t index,
                  const std::vector<std::string>& command) {
        const bool isAction = scenario.request.kind == RequestKind::ACTION;
        bool replied = false;
        ASSERT_TRUE(runBoth(scenario.request, {fault.kind, index, ""}, !isAction, replied));
        if (isAction) {
            ASSERT_TRUE(waitUntil([&] {
                return mDaemon->log().find("Certificate action: get request data structure "
                                           "failed.") != std::string::npos;
            }));
            ASSERT_TRUE(mDaemon->running());
            startDaemon();
            return;
        }
        const bool wasPublished =
            fault.kind == FaultKind::CUT_REPLY && command.front() == "PUBLISH";
        EXPECT_EQ(replied, wasPublished);
    }
};

TEST_P(HandlerFaults, EveryCommandInTurn) {
    const auto& [scenario, fault] = GetParam();
    const auto commands = learnCommands(scenario);
    ASSERT_GT(commands.size(), 5U);
    const int daemon = mDaemon->pid();
    const std::size_t descriptors = openDescriptors(daemon);
    for (std::size_t i = 0; i < commands.size(); ++i) {
        SCOPED_TRACE(std::to_string(i) + ": " + testing::PrintToString(commands[i]));
        if (fault.kind == FaultKind::ERROR_REPLY) {
            checkError(scenario, fault, i, commands[i]);
        } else {
            checkCut(scenario, fault, i, commands[i]);
        }
        ASSERT_TRUE(mDaemon->running());
        ASSERT_FALSE(HasFatalFailure());
    }
    // A daemon that was started anew meanwhile has descriptors of its own to compare with.
    const bool isSameDaemon = mDaemon->pid() == daemon;
    EXPECT_TRUE(waitUntil([&] {
        return !isSameDaemon || openDescriptors(mDaemon->pid()) <= descriptors;
    })) << openDescriptors(mDaemon->pid())
        << " descriptors open instead of " << descriptors;
}

INSTANTIATE_TEST_SUITE_P(All, HandlerFaults,
                         testing::Combine(testing::ValuesIn(scenarios()),
                                          testing::ValuesIn(connectionFaults())),
                         [](const auto& parameters) {
                             return std::get<0>(parameters.param).name +
                                    std::get<1>(parameters.param).name;
                         });
