// Messages in words.

#include "frontend/exchange/redfish_messages.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct MessageCase {
    std::string id;
    std::vector<std::string> arguments;
    std::string text;
};

TEST(RedfishMessages, SayInWordsWhatTheServiceAnswers) {
    const std::vector<MessageCase> cases = {
        {"Base.1.9.PropertyValueNotInList",
         {"DER", "CertificateType"},
         "The value 'DER' of the property CertificateType is none of those that are supported."},
        {"Base.1.9.PropertyValueFormatError",
         {"the certificate expired", "CertificateString"},
         "The property CertificateString has an unusable value: the certificate expired"},
        {"Base.1.9.ActionNotSupported", {"/a/b"}, "The service has no action '/a/b'."},
        {"Base.1.9.ActionParameterValueFormatError",
         {"{}", "CertificateCollection", "CertificateService.GenerateCSR"},
         "The parameter CertificateCollection of the action CertificateService.GenerateCSR has an "
         "unusable value: {}"},
        {"Base.1.9.ActionParameterMissing",
         {"CertificateService.GenerateCSR", "CommonName"},
         "The action CertificateService.GenerateCSR needs the parameter CommonName, which is "
         "missing."},
        {"Base.1.9.ActionParameterValueNotInList",
         {"P-1", "KeyCurveId", "CertificateService.GenerateCSR"},
         "The value 'P-1' of the parameter KeyCurveId is none of those that the action "
         "CertificateService.GenerateCSR takes."},
        {"Base.1.9.ResourceMissingAtURI", {"/x"}, "There is no resource at /x."},
        {"Base.1.9.ResourceAlreadyExists",
         {"Certificate", "Id", "7"},
         "There is a resource of type Certificate already with the value '7' of the property Id."},
        {"Base.1.9.ServiceTemporarilyUnavailable",
         {"1"},
         "The service is busy; try again in 1 seconds."},
        {"Base.1.9.NoOperation",
         {},
         "Nothing was changed: the request asks for what is there already."},
        {"Base.1.9.InternalError", {}, "The service failed because of a fault of its own."},
        {"ExtendedError.1.2.DatabaseOperationError",
         {},
         "The service could not read or write what it needs in its database."},
        {"ExtendedError.1.2.BadRequest",
         {},
         "The request is wrong in itself; the service does not say more."},
        {"ExtendedError.1.2.ActionNotSupportedOnReference",
         {"/x", "@odata.id", "CertificateService.GenerateCSR"},
         "The resource '/x', given as @odata.id, does not support the action "
         "CertificateService.GenerateCSR."},
    };
    for (const MessageCase& sample : cases) {
        EXPECT_EQ(describeMessage(sample.id, sample.arguments), sample.text);
    }
}

TEST(RedfishMessages, DoNotDependOnTheVersionOfTheRegistry) {
    EXPECT_EQ(describeMessage("Base.1.18.0.ResourceMissingAtURI", {"/x"}),
              "There is no resource at /x.");
    EXPECT_EQ(describeMessage("Base.ResourceMissingAtURI", {"/x"}), "There is no resource at /x.");
}

TEST(RedfishMessages, ShowAMissingArgumentAsUnknown) {
    EXPECT_EQ(describeMessage("Base.1.9.PropertyValueNotInList", {"DER"}),
              "The value 'DER' of the property (unknown) is none of those that are supported.");
}

TEST(RedfishMessages, TakeArgumentsLiterally) {
    EXPECT_EQ(describeMessage("Base.1.9.ResourceMissingAtURI", {"%s %1 %n"}),
              "There is no resource at %s %1 %n.");
}

TEST(RedfishMessages, NameWhatTheTableDoesNotHave) {
    EXPECT_EQ(describeMessage("Base.1.9.Strange", {}),
              "The service answered with the message Base.1.9.Strange.");
    EXPECT_EQ(describeMessage("Oem.1.0.Strange", {"a", "b"}),
              "The service answered with the message Oem.1.0.Strange (a, b).");
    EXPECT_EQ(describeMessage("", {}), "The service answered with the message (none).");
}

} // namespace
