#include "frontend/web/service/request_checks.h"

#include "core/protocol/fields.h"
#include "core/protocol/redfish_names.h"
#include "core/secret.h"
#include "frontend/web/service/answer.h"
#include "frontend/web/service/request_body.h"
#include "platform/x509/key_usage.h"
#include "platform/x509/utf8.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

using nlohmann::json;

constexpr const char* HIDDEN = "******";

bool isControl(char character) {
    return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
}

bool hasControls(std::string_view text) {
    return std::any_of(text.begin(), text.end(), isControl);
}

bool fitsIn32Bits(const json& integer) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (integer.is_number_unsigned()) {
        return integer.get<std::uint64_t>() <= std::uint64_t{Limits::max()};
    }
    const auto number = integer.get<std::int64_t>();
    return number >= Limits::min() && number <= Limits::max();
}

// A value as a message may show it.
std::string shownValue(const json& value, bool isSecret) {
    if (isSecret) {
        return HIDDEN;
    }
    if (value.is_object()) {
        return value.empty() ? "{}" : "{...}";
    }
    if (value.is_array()) {
        return value.empty() ? "[]" : "[...]";
    }
    return value.is_string() ? shownInMessage(value.get_ref<const std::string&>()) : value.dump();
}

// A member's name as a JSON pointer has it (RFC 6901, 3).
std::string pointerStep(const std::string& name) {
    std::string step;
    for (const char each : name) {
        switch (each) {
        case '~':
            step += "~0";
            break;
        case '/':
            step += "~1";
            break;
        default:
            step += each;
        }
    }
    return step;
}

// The faults of one body.
class BodyCheck {
public:
    explicit BodyCheck(const RequestForm& requestForm) : form(requestForm) {}

    void check(const json& body) {
        for (const RequestParameter& parameter : form.parameters) {
            if (parameter.isRequired && !body.contains(parameter.name)) {
                noteMissing(parameter.name);
            }
        }
        for (const auto& [name, value] : body.items()) {
            checkMember(name, value);
        }
    }

    std::vector<RedfishMessage> messages;

private:
    [[nodiscard]] bool isAction() const {
        return !form.action.empty();
    }

    void note(const char* ofProperty, const char* ofAction, std::vector<std::string> arguments,
              const std::string& pointer, const std::string& text = {}) {
        if (messages.size() < MOST_MESSAGES) {
            messages.push_back({std::string("Base.1.9.") + (isAction() ? ofAction : ofProperty),
                                std::move(arguments),
                                {"#/" + pointer},
                                text});
        }
    }

    // The arguments of Missing and Unknown: an action's name comes first.
    [[nodiscard]] std::vector<std::string> named(const std::string& parameter) const {
        return isAction() ? std::vector<std::string>{std::string(form.action), parameter}
                          : std::vector<std::string>{parameter};
    }

    // The arguments of the messages about a value: an action's name comes last.
    [[nodiscard]] std::vector<std::string> valued(const std::string& value,
                                                  const std::string& parameter) const {
        std::vector<std::string> arguments = {value, parameter};
        if (isAction()) {
            arguments.emplace_back(form.action);
        }
        return arguments;
    }

    void noteMissing(const std::string& name) {
        note("PropertyMissing", "ActionParameterMissing", named(name), name);
    }

    // Of the parameter that holds it, or of the body itself.
    void noteUnknown(const std::string& name, const std::string& holder = {}) {
        const std::string before = holder.empty() ? "" : holder + "/";
        const std::string shown = shownInMessage(name);
        note("PropertyUnknown", "ActionParameterUnknown", named(before + shown),
             before + pointerStep(shown));
    }

    void noteType(const json& value, const RequestParameter& parameter) {
        note("PropertyValueTypeError", "ActionParameterValueTypeError",
             valued(shownValue(value, parameter.isSecret), parameter.name), parameter.name);
    }

    // The advice follows the value.
    void noteFormat(const json& value, const RequestParameter& parameter, const char* advice) {
        const std::string shown = shownValue(value, parameter.isSecret);
        const std::string sentence = value.is_object() ? shown : "'" + shown + "' " + advice;
        note("PropertyValueFormatError", "ActionParameterValueFormatError",
             valued(sentence, parameter.name), parameter.name);
    }

    void checkMember(const std::string& name, const json& value) {
        const auto parameter =
            std::find_if(form.parameters.begin(), form.parameters.end(),
                         [&](const RequestParameter& each) { return each.name == name; });
        if (parameter == form.parameters.end()) {
            noteUnknown(name);
            return;
        }
        switch (parameter->type) {
        case ParameterType::LINE:
        case ParameterType::TEXT:
        case ParameterType::FREE_TEXT:
            checkText(value, *parameter);
            return;
        case ParameterType::LINES:
            checkTexts(value, *parameter);
            return;
        case ParameterType::INTEGER:
            checkInteger(value, *parameter);
            return;
        case ParameterType::REFERENCE:
            checkReference(value, *parameter);
            return;
        }
    }

    void checkText(const json& value, const RequestParameter& parameter) {
        if (!value.is_string()) {
            noteType(value, parameter);
            return;
        }
        if (parameter.type == ParameterType::FREE_TEXT) {
            return;
        }
        const std::string& text = value.get_ref<const std::string&>();
        if (text.starts_with(MARKER_PREFIX)) {
            noteFormat(value, parameter, "begins with \"&&\", which the service keeps to itself.");
        } else if (parameter.type != ParameterType::TEXT && hasControls(text)) {
            noteFormat(value, parameter, "holds control characters. Leave them out.");
        }
    }

    void checkTexts(const json& value, const RequestParameter& parameter) {
        if (!value.is_array()) {
            noteType(value, parameter);
            return;
        }
        for (const json& element : value) {
            checkText(element, parameter);
        }
    }

    void checkInteger(const json& value, const RequestParameter& parameter) {
        if (!value.is_number_integer()) {
            noteType(value, parameter);
            return;
        }
        if (!fitsIn32Bits(value)) {
            noteFormat(value, parameter, "is far too large a number.");
        }
    }

    void checkReference(const json& value, const RequestParameter& parameter) {
        if (!value.is_object()) {
            noteType(value, parameter);
            return;
        }
        for (const auto& [name, member] : value.items()) {
            if (name != ODATA_ID) {
                noteUnknown(name, parameter.name);
            }
        }
        if (!value.contains(ODATA_ID)) {
            noteFormat(value, parameter, "");
        } else {
            checkUri(value[ODATA_ID], parameter);
        }
    }

    void checkUri(const json& value, const RequestParameter& parameter) {
        if (!value.is_string()) {
            noteType(value, parameter);
            return;
        }
        const std::string& uri = value.get_ref<const std::string&>();
        if (hasControls(uri) || uri.find(' ') != std::string::npos) {
            noteFormat(value, parameter, "holds blanks or control characters, as no URI does.");
        } else if (!uri.starts_with("/redfish/") || uri.find(MARKER_PREFIX) != std::string::npos) {
            noteFormat(value, parameter, "is no URI of a resource of this service.");
        }
    }

    const RequestForm& form;
};

std::vector<std::string_view> certificateTypes() {
    return {"PEM", "PEMchain", "PKCS7"};
}

// Certification authorities get no request here.
std::vector<std::string_view> requestableUsages() {
    std::vector<std::string_view> names = keyUsageNames();
    std::erase_if(
        names, [](std::string_view name) { return name == "KeyCertSign" || name == "CRLSigning"; });
    return names;
}

} // namespace

const RequestForm& newCertificateForm() {
    using enum ParameterType;
    static const RequestForm FORM = {"",
                                     {
                                         {CERTIFICATE_STRING, TEXT, true, true},
                                         {CERTIFICATE_TYPE, LINE, true, false, certificateTypes()},
                                     }};
    return FORM;
}

const RequestForm& generateCsrForm() {
    using enum ParameterType;
    static const RequestForm FORM = {
        GENERATE_CSR_ACTION_NAME,
        {
            {CERTIFICATE_COLLECTION, REFERENCE, true},
            {"CommonName", LINE, true},
            {"AlternativeNames", LINES},
            {CHALLENGE_PASSWORD, LINE, false, true},
            {"City", LINE},
            {"ContactPerson", LINE},
            {"Country", LINE},
            {EMAIL, LINE},
            {"GivenName", LINE},
            {"Initials", LINE},
            {KEY_BIT_LENGTH, INTEGER},
            {KEY_CURVE_ID,
             LINE,
             false,
             false,
             {"TPM_ECC_NIST_P256", "TPM_ECC_NIST_P384", "TPM_ECC_NIST_P521"}},
            {KEY_PAIR_ALGORITHM,
             LINE,
             false,
             false,
             {"TPM_ALG_RSA", "TPM_ALG_ECDSA", "TPM_ALG_ECDH"}},
            {KEY_USAGE, LINES, false, false, requestableUsages()},
            {"Organization", LINE},
            {"OrganizationalUnit", LINE},
            {"State", LINE},
            {"Surname", LINE},
            {"UnstructuredName", LINE},
        }};
    return FORM;
}

const RequestForm& replaceCertificateForm() {
    using enum ParameterType;
    static const RequestForm FORM = {REPLACE_CERTIFICATE_ACTION_NAME,
                                     {
                                         {CERTIFICATE_URI, REFERENCE, true},
                                         {CERTIFICATE_STRING, TEXT, true, true},
                                         {CERTIFICATE_TYPE, LINE, true, false, certificateTypes()},
                                     }};
    return FORM;
}

void checkBody(const nlohmann::json& body, const RequestForm& form) {
    BodyCheck check(form);
    check.check(body);
    if (!check.messages.empty()) {
        throw Refusal(400, std::move(check.messages));
    }
}

nlohmann::json readCheckedBody(const HttpRequest& request, const RequestForm& form) {
    json body = readJsonBody(request);
    try {
        checkBody(body, form);
    } catch (...) {
        wipeDocument(body);
        throw;
    }
    return body;
}
