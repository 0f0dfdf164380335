// Messages in words.

#include "frontend/exchange/redfish_messages.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Row {
    std::string id;
    std::vector<std::string> arguments;
    std::string text;
};

// clang-format off
const std::vector<Row> ROWS = {
    {"Base.1.9.ActionNotSupported",               {"/a/b"},                 "The service has no action '/a/b'."},
    {"Base.1.9.ActionParameterMissing",           {"A", "P"},               "The action A needs the parameter P, which is missing."},
    {"Base.1.9.ActionParameterValueFormatError",  {"{}", "P", "A"},         "The parameter P of the action A has an unusable value: {}"},
    {"Base.1.9.ActionParameterValueNotInList",    {"v", "P", "A"},          "The value 'v' of the parameter P is none of those that the action A takes."},
    {"Base.1.9.InternalError",                    {},                       "The service failed because of a fault of its own."},
    {"Base.1.9.NoOperation",                      {},                       "Nothing was changed: the request asks for what is there already."},
    {"Base.1.9.PropertyValueFormatError",         {"it expired", "P"},      "The property P has an unusable value: it expired"},
    {"Base.1.9.PropertyValueNotInList",           {"v", "P"},               "The value 'v' of the property P is none of those that are supported."},
    {"Base.1.9.ResourceAlreadyExists",            {"Type", "Id", "7"},      "There is a resource of type Type already with the value '7' of the property Id."},
    {"Base.1.9.ResourceMissingAtURI",             {"/x"},                   "There is no resource at /x."},
    {"Base.1.9.ServiceTemporarilyUnavailable",    {"1"},                    "The service is busy; try again in 1 seconds."},
    {"ExtendedError.1.2.ActionNotSupportedOnReference", {"/x", "@odata.id", "A"}, "The resource '/x', given as @odata.id, does not support the action A."},
    {"ExtendedError.1.2.BadRequest",              {},                       "The request is wrong in itself; the service does not say more."},
    {"ExtendedError.1.2.DatabaseOperationError",  {},                       "The service could not read or write what it needs in its database."},
    // The version of the registry does not matter.
    {"Base.1.18.0.ResourceMissingAtURI",          {"/x"},                   "There is no resource at /x."},
    {"Base.ResourceMissingAtURI",                 {"/x"},                   "There is no resource at /x."},
    // A missing argument is unknown; the others are taken literally.
    {"Base.1.9.PropertyValueNotInList",           {"v"},                    "The value 'v' of the property (unknown) is none of those that are supported."},
    {"Base.1.9.ResourceMissingAtURI",             {"%s %1 %n"},             "There is no resource at %s %1 %n."},
    // Unknown messages are named.
    {"Base.1.9.Strange",                          {},                       "The service answered with the message Base.1.9.Strange."},
    {"Oem.1.0.Strange",                           {"a", "b"},               "The service answered with the message Oem.1.0.Strange (a, b)."},
    {"",                                          {},                       "The service answered with the message (none)."},
};
// clang-format on

TEST(RedfishMessages, EachMessageIsASentence) {
    for (const Row& row : ROWS) {
        EXPECT_EQ(describeMessage(row.id, row.arguments), row.text) << row.id;
    }
}

} // namespace
