#pragma once

// Every key and URI that is put together or taken apart, by front end or daemon.
//
// A resource stands under its URI; what belongs to it stands under keys that begin with "&&". The
// functions only handle texts: they ask nothing of Redis and accept any text.

#include <string>
#include <string_view>

// Puts "&&" in front of the key when it is missing.
void addMarkerPrefix(std::string& key);

// The URI up to, not including, its last "/": the collection of a member. The whole URI when it has
// no "/".
[[nodiscard]] std::string parentUri(const std::string& uri);

// The URI of the collection's member of this identifier.
[[nodiscard]] std::string memberUri(const std::string& collectionUri,
                                    const std::string& identifier);

// The collection at whose members a request was aimed: a last segment "Members" is taken off.
[[nodiscard]] std::string withoutMembersSegment(const std::string& uri);

// The list of a collection's members, and the list of the certificate types that it accepts.
[[nodiscard]] std::string memberListKey(const std::string& collectionUri);
[[nodiscard]] std::string supportedTypesKey(const std::string& collectionUri);

// How a list entry, or a hash field for the member, refers to a resource.
[[nodiscard]] std::string referenceEntry(const std::string& uri);
[[nodiscard]] std::string referenceField(const std::string& member, const std::string& uri);

// The extended information of an answer: beside the status key, below the same parent.
//
//   info       status key up to and including its last "/", then "ExtendedInfo"
//   element    info "/1"; there is never more than one message
//   arguments  element "/MessageArgs"
//   related    element "/RelatedProperties"
struct ExtendedInfoKeys {
    std::string info;
    std::string element;
    std::string arguments;
    std::string related;
};
[[nodiscard]] ExtendedInfoKeys extendedInfoKeys(const std::string& statusKey);

// Where the response to a request stands: below its status key.
[[nodiscard]] std::string responseDataKey(const std::string& statusKey);

// The status key of a task, and the place of its extended information as its end is announced.
[[nodiscard]] std::string taskResultKey(const std::string& taskUri);
[[nodiscard]] std::string taskExtendedInfoKey(const std::string& taskUri);

// The keys of one request of a front end of this repository, given an identifier of its own:
// "&&" service URI "/Requests/" identifier, and what is below it. Other front ends choose theirs.
struct RequestRecordKeys {
    std::string request;
    std::string body;
    std::string status;
    std::string returnChannel; // a channel, named like the keys
};
[[nodiscard]] RequestRecordKeys requestRecordKeys(std::string_view identifier);
