#pragma once

// What a resource answers, before it becomes HTTP.

#include "frontend/web/http/http_message.h"

#include <nlohmann/json.hpp>

#include <exception>
#include <string>
#include <vector>

struct Answer {
    int status = 200;
    nlohmann::json document; // null: no body
    HttpHeaders headers = {};
    std::string contentType = {}; // of body; empty: the document's
    std::string body = {};        // for what is no JSON document
    StreamStart stream = {};
};

// A message of a Redfish registry, as an error names it.
struct RedfishMessage {
    std::string id; // "Base.1.9.PropertyUnknown"
    std::vector<std::string> arguments = {};
    std::vector<std::string> relatedProperties = {}; // JSON pointers (RFC 6901): "#/KeyUsage"
    std::string text = {};                           // empty: the message's own sentence
};

// Ends the work on a request: it is refused, or cannot be carried out.
struct Refusal : std::exception {
    Refusal(int httpStatus, RedfishMessage message)
        : status(httpStatus), messages({std::move(message)}) {}
    Refusal(int httpStatus, std::vector<RedfishMessage> reasons)
        : status(httpStatus), messages(std::move(reasons)) {}

    [[nodiscard]] const char* what() const noexcept override {
        return "the request is refused";
    }

    int status;
    std::vector<RedfishMessage> messages; // at least one
    HttpHeaders headers;
};

// Refusals that many resources share.
[[nodiscard]] Refusal notFound(const std::string& uri);
[[nodiscard]] Refusal methodNotAllowed(const std::string& method, const std::string& allowed);
[[nodiscard]] Refusal serviceUnavailable(const std::string& text); // 503, with Retry-After

// A created resource: 201 with its URI in Location and its document.
[[nodiscard]] Answer createdAnswer(const std::string& uri, nlohmann::json document);

// The object "@Message.ExtendedInfo" holds for one message (DSP0266, 8.6): MessageId, Message,
// MessageArgs, MessageSeverity, Resolution, RelatedProperties when there are any.
[[nodiscard]] nlohmann::json messageObject(const RedfishMessage& message);

// The error object of these messages, of which there is at least one.
[[nodiscard]] nlohmann::json errorDocument(const std::vector<RedfishMessage>& messages);
