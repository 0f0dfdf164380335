// Bodies of requests to certificateweb: any bytes, or a usable body with some of its values and
// names exchanged. Properties:
// - A body is refused with at least one message, each with an identifier and related to a place, or
//   it is an object that has every required parameter and nothing else than the form's parameters.
// - Every value of an object that is taken is of its parameter's type, so that the daemon can read
//   it; no text or name in it begins with "&&" or holds a NUL character.
// - A refusal never holds the text of a secret parameter.
// - The object that is taken and written again is taken again, and is the same.

#include "frontend/web/service/answer.h"
#include "frontend/web/service/request_body.h"
#include "frontend/web/service/request_checks.h"
#include "fuzz/input.h"
#include "fuzz/property.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace {

using nlohmann::json;

const std::string SECRET = "a secret that is told to nobody";

const std::array<const RequestForm*, 3> FORMS = {&newCertificateForm(), &generateCsrForm(),
                                                 &replaceCertificateForm()};

constexpr std::array<std::string_view, 14> TEXTS = {"",
                                                    "a",
                                                    "&&",
                                                    "&&Object a &&/b",
                                                    "a b",
                                                    "a\nb",
                                                    "\xc3\x9c",
                                                    "TPM_ALG_RSA",
                                                    "/redfish/v1/a",
                                                    "/redfish/v1/a b",
                                                    "/redfish/v1/&&a",
                                                    "\x7f",
                                                    "\"\\",
                                                    "PEM"};

constexpr std::array<std::string_view, 7> NAMES = {
    "@odata.id", "CommonName", "Unknown", "&&Own", "&&Object a &&/b", "", "a b"};

json takeText(Input& input) {
    return input.choose(4) == 0 ? SECRET : input.pick(TEXTS);
}

json takeValue(Input& input, int depth) {
    switch (input.choose(depth == 0 ? 6 : 8)) {
    case 0:
        return nullptr;
    case 1:
        return input.flag();
    case 2:
        return static_cast<std::int64_t>(input.number());
    case 3:
        return input.number();
    case 4:
        return static_cast<double>(input.byte()) / 2;
    case 6: {
        json list = json::array();
        for (std::size_t count = input.choose(3); count > 0; --count) {
            list.push_back(takeValue(input, depth - 1));
        }
        return list;
    }
    case 7: {
        json object = json::object();
        for (std::size_t count = input.choose(3); count > 0; --count) {
            object[input.pick(NAMES)] = takeValue(input, depth - 1);
        }
        return object;
    }
    default:
        return takeText(input);
    }
}

json usableValue(const RequestParameter& parameter) {
    switch (parameter.type) {
    case ParameterType::LINE:
    case ParameterType::TEXT:
    case ParameterType::FREE_TEXT:
        return parameter.isSecret ? SECRET : "a.example";
    case ParameterType::LINES:
        return json::array({"a.example"});
    case ParameterType::INTEGER:
        return 2048;
    case ParameterType::REFERENCE:
        return {{"@odata.id", "/redfish/v1/a"}};
    }
    return nullptr;
}

// A usable body, some of whose members are exchanged or left out.
json takeBody(Input& input, const RequestForm& form) {
    json body = json::object();
    for (const RequestParameter& parameter : form.parameters) {
        const std::size_t choice = input.choose(16);
        if (choice == 15) {
            body[parameter.name] = takeValue(input, 2);
        } else if (choice != 14) {
            body[parameter.name] = usableValue(parameter);
        }
    }
    while (!input.empty()) {
        body[input.pick(NAMES)] = takeValue(input, 2);
    }
    return body;
}

void requireUsableText(const std::string& text) {
    require(!text.starts_with("&&"), "no text or name that is taken begins with \"&&\"");
    require(text.find('\0') == std::string::npos, "no text or name that is taken holds a NUL");
}

void checkTexts(const json& value) {
    if (value.is_string()) {
        requireUsableText(value.get<std::string>());
    }
    if (value.is_structured()) {
        for (const auto& [name, element] : value.items()) {
            requireUsableText(value.is_object() ? name : std::string());
            checkTexts(element);
        }
    }
}

bool isUri(const json& value) {
    const std::string text = value.is_string() ? value.get<std::string>() : std::string();
    return text.starts_with("/redfish/") && text.find("&&") == std::string::npos &&
           std::all_of(text.begin(), text.end(), [](char each) {
               return static_cast<unsigned char>(each) > ' ' && each != '\x7f';
           });
}

bool isOfType(const json& value, ParameterType type) {
    switch (type) {
    case ParameterType::LINE:
    case ParameterType::TEXT:
    case ParameterType::FREE_TEXT:
        return value.is_string();
    case ParameterType::LINES:
        return value.is_array() && std::all_of(value.begin(), value.end(),
                                               [](const json& each) { return each.is_string(); });
    case ParameterType::INTEGER:
        return value.is_number_integer() && value.dump().size() <= 11 &&
               value.get<std::int64_t>() >= INT32_MIN && value.get<std::int64_t>() <= INT32_MAX;
    case ParameterType::REFERENCE:
        return value.is_object() && value.size() == 1 && value.contains("@odata.id") &&
               isUri(value["@odata.id"]);
    }
    return false;
}

void checkTaken(const json& body, const RequestForm& form) {
    require(body.is_object(), "what is taken is an object");
    std::size_t known = 0;
    for (const RequestParameter& parameter : form.parameters) {
        const auto found = body.find(parameter.name);
        require(found != body.end() || !parameter.isRequired, "what is required is there");
        if (found != body.end()) {
            require(isOfType(*found, parameter.type), "a value is of its parameter's type");
            ++known;
        }
    }
    require(known == body.size(), "there is nothing that the form does not have");
    checkTexts(body);
}

bool isSecretParameter(const RequestForm& form, const std::string& name) {
    return std::any_of(
        form.parameters.begin(), form.parameters.end(),
        [&](const RequestParameter& each) { return each.isSecret && each.name == name; });
}

// Whether the secret stands nowhere else, from where it may be shown.
bool isSecretAlone(const json& body, const RequestForm& form) {
    for (const auto& [name, value] : body.items()) {
        if (!isSecretParameter(form, name) && value.dump().find(SECRET) != std::string::npos) {
            return false;
        }
    }
    return true;
}

void checkRefusal(const Refusal& refusal, bool hasSecret) {
    require(refusal.status == 400 && !refusal.messages.empty(), "a refusal says why");
    for (const RedfishMessage& message : refusal.messages) {
        require(message.id.starts_with("Base.1.9."), "a message has an identifier");
    }
    const json document = errorDocument(refusal.messages);
    require(!hasSecret ||
                document.dump(-1, ' ', false, json::error_handler_t::strict).find(SECRET) ==
                    std::string::npos,
            "no refusal holds a secret");
}

HttpRequest requestWith(std::string body) {
    HttpRequest request;
    request.method = "POST";
    request.path = "/redfish/v1/a";
    request.body = std::move(body);
    return request;
}

void checkRequest(const std::string& text, const RequestForm& form, bool hasSecret) {
    try {
        const json body = readCheckedBody(requestWith(text), form);
        checkTaken(body, form);
        require(readCheckedBody(requestWith(body.dump()), form) == body,
                "what is taken and written again is taken again");
    } catch (const Refusal& refusal) {
        checkRefusal(refusal, hasSecret);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const RequestForm& form = *FORMS[input.choose(FORMS.size())];
    if (input.flag()) {
        checkRequest(input.rest(), form, false);
        return 0;
    }
    const json body = takeBody(input, form);
    checkRequest(body.dump(), form, isSecretAlone(body, form));
    return 0;
}
