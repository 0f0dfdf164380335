#include "frontend/exchange/redfish_messages.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

struct MessageText {
    std::string_view name; // registry and message, without the version
    std::string_view text; // %1 to %9 stand for the arguments; one at the end may be a sentence
};

constexpr std::array<MessageText, 32> MESSAGE_TEXTS = {{
    {"Base.ActionNotSupported", "The service has no action '%1'."},
    {"Base.ActionParameterMissing", "The action %1 needs the parameter %2, which is missing."},
    {"Base.ActionParameterUnknown", "The action %1 has no parameter %2."},
    {"Base.ActionParameterValueFormatError",
     "The parameter %2 of the action %3 has an unusable value: %1"},
    {"Base.ActionParameterValueNotInList",
     "The value '%1' of the parameter %2 is none of those that the action %3 takes."},
    {"Base.ActionParameterValueTypeError",
     "The value '%1' of the parameter %2 is of a type that the action %3 does not take."},
    {"Base.Created", "It was created."},
    {"Base.GeneralError", "The service failed and does not say why."},
    {"Base.HeaderInvalid", "The header %1 has a value that the service does not take."},
    {"Base.InsufficientPrivilege", "The account may not do this."},
    {"Base.InternalError", "The service failed because of a fault of its own."},
    {"Base.MalformedJSON", "The request is no valid JSON."},
    {"Base.NoOperation", "Nothing was changed: the request asks for what is there already."},
    {"Base.NoValidSession", "There is no session, or its time is over: log in first."},
    {"Base.PropertyDuplicate", "The request has the property %1 twice."},
    {"Base.PropertyMissing", "The request lacks the property %1."},
    {"Base.PropertyUnknown", "There is no property %1."},
    {"Base.PropertyValueFormatError", "The property %2 has an unusable value: %1"},
    {"Base.PropertyValueNotInList",
     "The value '%1' of the property %2 is none of those that are supported."},
    {"Base.PropertyValueTypeError", "The value '%1' of the property %2 is of the wrong type."},
    {"Base.QueryNotSupported", "The service takes no such query."},
    {"Base.ResourceAlreadyExists",
     "There is a resource of type %1 already with the value '%3' of the property %2."},
    {"Base.ResourceInUse", "The resource is in use and cannot be changed now."},
    {"Base.ResourceMissingAtURI", "There is no resource at %1."},
    {"Base.ResourceNotFound", "There is no resource '%2' of type %1."},
    {"Base.ServiceTemporarilyUnavailable", "The service is busy; try again in %1 seconds."},
    {"Base.SessionLimitExceeded",
     "There are as many sessions as the service allows; one must end before another begins."},
    {"Base.Success", "It was done."},
    {"Base.UnrecognizedRequestBody", "The request has no body that the service can read."},
    {"ExtendedError.ActionNotSupportedOnReference",
     "The resource '%1', given as %2, does not support the action %3."},
    {"ExtendedError.BadRequest", "The request is wrong in itself; the service does not say more."},
    {"ExtendedError.DatabaseOperationError",
     "The service could not read or write what it needs in its database."},
}};

// "Base.1.9.NoOperation" becomes "Base.NoOperation".
std::string unversionedName(const std::string& messageId) {
    const std::size_t first = messageId.find('.');
    const std::size_t last = messageId.rfind('.');
    return first == std::string::npos ? messageId
                                      : messageId.substr(0, first) + messageId.substr(last);
}

std::string filledText(std::string_view text, const std::vector<std::string>& arguments) {
    std::string filled;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isArgument =
            text[i] == '%' && i + 1 < text.size() && text[i + 1] >= '1' && text[i + 1] <= '9';
        if (!isArgument) {
            filled += text[i];
            continue;
        }
        const auto index = static_cast<std::size_t>(text[++i] - '1');
        filled += index < arguments.size() ? arguments[index] : "(unknown)";
    }
    return filled;
}

std::string namedMessage(const std::string& messageId, const std::vector<std::string>& arguments) {
    std::string text = "The service answered with the message " +
                       (messageId.empty() ? std::string("(none)") : messageId);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        text += (i == 0 ? " (" : ", ") + arguments[i];
    }
    return text + (arguments.empty() ? "." : ").");
}

} // namespace

std::string describeMessage(const std::string& messageId,
                            const std::vector<std::string>& messageArgs) {
    const std::string name = unversionedName(messageId);
    const auto* found = std::find_if(MESSAGE_TEXTS.begin(), MESSAGE_TEXTS.end(),
                                     [&](const MessageText& text) { return text.name == name; });
    return found == MESSAGE_TEXTS.end() ? namedMessage(messageId, messageArgs)
                                        : filledText(found->text, messageArgs);
}
