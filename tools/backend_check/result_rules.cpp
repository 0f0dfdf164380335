#include "tools/backend_check/result_rules.h"

#include "platform/x509/dates.h"
#include "platform/x509/key_usage.h"

#include <openssl/asn1.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace {

constexpr std::int32_t SUCCESS = 200;
constexpr std::int32_t LOWEST_CODE = 100;
constexpr std::int32_t HIGHEST_CODE = 599;

struct RegistryMessage {
    std::string_view name; // registry and message, without the version
    std::size_t arguments;
};

// Of the DMTF Base registry 1.9 and the extended-error registry 1.2.
constexpr std::array<RegistryMessage, 39> MESSAGES = {{
    {"Base.AccessDenied", 1},
    {"Base.ActionNotSupported", 1},
    {"Base.ActionParameterDuplicate", 2},
    {"Base.ActionParameterMissing", 2},
    {"Base.ActionParameterNotSupported", 2},
    {"Base.ActionParameterUnknown", 2},
    {"Base.ActionParameterValueError", 2},
    {"Base.ActionParameterValueFormatError", 3},
    {"Base.ActionParameterValueNotInList", 3},
    {"Base.ActionParameterValueTypeError", 3},
    {"Base.CreateFailedMissingReqProperties", 1},
    {"Base.CreateLimitReachedForResource", 0},
    {"Base.Created", 0},
    {"Base.GeneralError", 0},
    {"Base.InsufficientPrivilege", 0},
    {"Base.InternalError", 0},
    {"Base.MalformedJSON", 0},
    {"Base.NoOperation", 0},
    {"Base.PropertyDuplicate", 1},
    {"Base.PropertyMissing", 1},
    {"Base.PropertyNotWritable", 1},
    {"Base.PropertyUnknown", 1},
    {"Base.PropertyValueConflict", 2},
    {"Base.PropertyValueFormatError", 2},
    {"Base.PropertyValueNotInList", 2},
    {"Base.PropertyValueTypeError", 2},
    {"Base.ResourceAlreadyExists", 3},
    {"Base.ResourceCannotBeDeleted", 0},
    {"Base.ResourceInStandby", 0},
    {"Base.ResourceInUse", 0},
    {"Base.ResourceMissingAtURI", 1},
    {"Base.ResourceNotFound", 2},
    {"Base.ServiceInUnknownState", 0},
    {"Base.ServiceShuttingDown", 0},
    {"Base.ServiceTemporarilyUnavailable", 1},
    {"Base.Success", 0},
    {"ExtendedError.ActionNotSupportedOnReference", 3},
    {"ExtendedError.BadRequest", 0},
    {"ExtendedError.DatabaseOperationError", 0},
}};

// Of Redfish's Identifier, Certificate schema 1.2.
constexpr std::array<std::string_view, 7> NAME_PROPERTIES = {
    "CommonName", "Organization", "OrganizationalUnit", "City", "State", "Country", "Email"};

bool isNumber(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char character) {
        return std::isdigit(character) != 0;
    });
}

std::vector<std::string_view> splitAtDots(std::string_view text) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    for (std::size_t dot = text.find('.'); dot != std::string_view::npos;
         dot = text.find('.', start)) {
        parts.push_back(text.substr(start, dot - start));
        start = dot + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

// "Base.1.9.NoOperation" becomes "Base.NoOperation"; nothing when the form is another one.
std::optional<std::string> unversionedName(std::string_view identifier) {
    const std::vector<std::string_view> parts = splitAtDots(identifier);
    const bool hasForm = (parts.size() == 4 || (parts.size() == 5 && isNumber(parts[3]))) &&
                         !parts.front().empty() && isNumber(parts[1]) && isNumber(parts[2]) &&
                         !parts.back().empty();
    return hasForm ? std::optional(std::string(parts.front()) + "." + std::string(parts.back()))
                   : std::nullopt;
}

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

Faults messageFaults(const MessageInfo& message) {
    if (message.MessageId.empty()) {
        return {};
    }
    const auto name = unversionedName(message.MessageId);
    if (!name) {
        return {"the message identifier \"" + message.MessageId +
                "\" is none: it reads REGISTRY.MAJOR.MINOR.NAME, as Base.1.9.InternalError"};
    }
    const auto* known = std::find_if(MESSAGES.begin(), MESSAGES.end(),
                                     [&](const RegistryMessage& row) { return row.name == *name; });
    if (known == MESSAGES.end() || known->arguments == message.MessageArgs.size()) {
        return {};
    }
    return {message.MessageId + " has " + counted(known->arguments, "argument") +
            " in its registry, here " + std::to_string(message.MessageArgs.size())};
}

bool isUtf8(std::string_view text) {
    const auto* next = reinterpret_cast<const unsigned char*>(text.data());
    auto left = static_cast<int>(text.size());
    while (left > 0) {
        unsigned long character = 0;
        const int length = UTF8_getc(next, left, &character);
        if (length <= 0) {
            return false;
        }
        next += length;
        left -= length;
    }
    return true;
}

void examineText(const std::string& where, const std::string& text, Faults& faults) {
    if (!isUtf8(text)) {
        faults.push_back(where + " is not UTF-8 and cannot be stored");
    }
    if (text.find("PRIVATE KEY-----") != std::string::npos) {
        faults.push_back(where + " holds a private key");
    }
}

void examineTexts(const std::string& where, const std::vector<std::string>& texts, Faults& faults) {
    for (const std::string& text : texts) {
        examineText(where, text, faults);
    }
}

using Names = std::unordered_map<std::string, std::string>;

void examineName(const std::string& where, const Names::value_type& name, Faults& faults) {
    const auto& [property, value] = name;
    if (std::find(NAME_PROPERTIES.begin(), NAME_PROPERTIES.end(), property) ==
        NAME_PROPERTIES.end()) {
        faults.push_back(where + " has the property \"" + property +
                         "\", which Redfish's Identifier has not");
    }
    examineText(where + "'s " + property, value, faults);
}

void examineNames(const std::string& where, const Names& names, Faults& faults) {
    for (const auto& name : names) {
        examineName(where, name, faults);
    }
}

void examineDate(const std::string& where, const std::string& date, Faults& faults) {
    const auto moment = isoMoment(date);
    if (!moment || !isUtcMoment(date, *moment)) {
        faults.push_back(where + " is \"" + date +
                         "\" and not ISO 8601 in UTC, as 2026-01-31T23:59:59Z");
    }
}

void examineUsage(const std::vector<std::string>& usage, Faults& faults) {
    const auto known = keyUsageNames();
    for (const std::string& value : usage) {
        if (std::find(known.begin(), known.end(), value) == known.end()) {
            faults.push_back("the key usage \"" + value + "\" is none of Redfish's");
        }
    }
}

} // namespace

Faults resultFaults(std::int32_t code, const MessageInfo& message) {
    Faults faults = messageFaults(message);
    if (code < LOWEST_CODE || code > HIGHEST_CODE) {
        faults.push_back("the code " + std::to_string(code) + " is none of HTTP's");
    }
    examineText("the message identifier", message.MessageId, faults);
    examineTexts("an argument of the message", message.MessageArgs, faults);
    examineTexts("a related property", message.RelatedProperties, faults);
    return faults;
}

Faults resultFaults(const CreateCertResult& result) {
    Faults faults = resultFaults(result.code, result.message);
    examineText("the certificate's text", result.certificateString, faults);
    examineText("the private key's place", result.privateKeyValue, faults);
    const bool isUnchanged = result.message.MessageId.ends_with(".NoOperation");
    if (result.code != SUCCESS || isUnchanged) {
        return faults;
    }
    examineNames("the subject", result.subject, faults);
    examineNames("the issuer", result.issuer, faults);
    examineDate("the beginning of the validity", result.validNotBefore, faults);
    examineDate("the end of the validity", result.validNotAfter, faults);
    examineUsage(result.keyUsage, faults);
    if (result.certificateString.empty()) {
        faults.emplace_back("the certificate's text is empty");
    }
    return faults;
}

Faults resultFaults(const CSRResult& result) {
    Faults faults = resultFaults(result.code, result.message);
    examineText("the signing request", result.csr, faults);
    return faults;
}

bool isUtcMoment(const std::string& text, std::time_t moment) {
    const bool isUtc = text.ends_with("Z") || text.ends_with("+00:00");
    return isUtc && isoMoment(text) == moment;
}
