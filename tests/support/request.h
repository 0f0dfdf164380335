#pragma once

// The front end's part at its lowest level: request records, messages, answers.
//
// Deliberately independent of the daemon's own code for the stored form and of its constants, so
// that a test does not check a thing against itself.

#include <map>
#include <optional>
#include <string>
#include <vector>

class RedisClient;
class RedisServer;

// Time in which the daemon must have answered.
constexpr double ANSWER_LIMIT_SECONDS = 120.0;

// Which of the three channels a request is announced on.
enum class RequestKind { CREATE, REMOVE, ACTION };

// The channel's name.
[[nodiscard]] std::string channelName(RequestKind kind);

struct FrontEndRequest {
    RequestKind kind = RequestKind::CREATE;
    std::string targetUri;
    std::string body;                          // JSON text of an object; empty: no body
    std::map<std::string, std::string> fields; // further raw fields: {"&&Task", "/tasks/1"}
    std::string requestKey = "requests/1";
    std::string bodyKey = "requests/1/body"; // "&&RequestData" names it, with or without a body
    std::string statusKey = "status/1/result";
    std::string returnChannel = "answers/1";
};

struct FrontEndAnswer {
    std::optional<std::string> reply; // what came on the return channel; nothing: no reply in time
    std::map<std::string, std::string> status; // the status record's fields as stored
    std::string messageId;                     // from the extended information; empty: none
    std::vector<std::string> messageArgs;
    std::vector<std::string> relatedProperties;
};

// Stores a JSON document at the key in the form that the front end and the daemon share: objects as
// hashes, arrays as lists, nested ones under keys of their own. What is there under that key and
// under keys below it goes away first. Element keys are numbered from the shared counter.
void storeResource(RedisClient& client, const std::string& key, const std::string& json);

// An empty certificate collection that takes certificates of these types.
void storeCertificateCollection(RedisClient& client, const std::string& uri,
                                const std::vector<std::string>& certificateTypes = {"PEM"});

// Stores the request record and the body, and announces nothing.
void storeRequest(RedisClient& client, const FrontEndRequest& request);

// The message that announces the request: both keys with a blank between them.
[[nodiscard]] std::string requestMessage(const FrontEndRequest& request);

// The status record and the message that it points at; reply stays empty.
[[nodiscard]] FrontEndAnswer readStatus(RedisClient& client, const std::string& statusKey);

// The whole road: stores the request, subscribes to its return channel, announces it, waits for the
// reply, reads the status. Throws std::runtime_error when nobody listens on the request channel.
[[nodiscard]] FrontEndAnswer sendRequest(const RedisServer& server, const FrontEndRequest& request,
                                         double seconds = ANSWER_LIMIT_SECONDS);

// The same for a request whose records are stored already.
[[nodiscard]] FrontEndAnswer sendStoredRequest(const RedisServer& server,
                                               const FrontEndRequest& request,
                                               double seconds = ANSWER_LIMIT_SECONDS);
