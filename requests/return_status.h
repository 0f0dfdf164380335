#pragma once

// The answer side of the envelope: the record that the front end finds at the status key of its
// request, and the publishing of that key on the request's return channel.
//
// The record is a hash with "&&ReturnStatus", optionally "&&ExtendedInfo" (the key of the extended
// information) and what the handler adds. The extended information always holds one message, under
// the keys that extendedInfoKeys (core/protocol/keys.h) derives from the status key:
//
//   info       list of one: the element's key
//   element    hash: "&&MessageId", "&&MessageArgs", "&&RelatedProperties"
//   arguments  list of the message's arguments
//   related    list of the related properties
//
// All functions use only the caller's connection and may run in several threads at once. What goes
// wrong is logged; keys written before a failure stay.

#include "platform/certificate_backend.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

struct redisContext;

// Where the answer to a request goes.
struct AnswerPlace {
    redisContext* context; // the caller's
    std::string statusKey;
    std::string returnChannel; // empty where no reply is published
};

struct Answer {
    std::string status;  // one of core/protocol/status_words.h
    nlohmann::json data; // an object: the record's further fields
    MessageInfo message; // without a MessageId the record points at no message
    bool expires = true; // whether the extended information does
};

// Writes the record and its extended information, which is written even without a message, as an
// empty one. The status key itself never expires: it is the front end's. False when a step failed
// and the rest was left out.
bool writeAnswer(const AnswerPlace& place, const Answer& answer);

// The same, member by member; the second form without related properties.
bool writeReturnStatus(redisContext* context, const std::string& statusKey, nlohmann::json data,
                       const std::string& status, const std::string& messageId,
                       const std::vector<std::string>& messageArgs,
                       const std::vector<std::string>& relatedProperties, bool setExpiry);
bool writeReturnStatus(redisContext* context, const std::string& statusKey, nlohmann::json data,
                       const std::string& status, const std::string& messageId,
                       const std::vector<std::string>& messageArgs, bool setExpiry);

// Tells the front end that the record is there.
void publishReply(const AnswerPlace& place);
