#include "frontend/web/service/request_body.h"

#include "core/secret.h"
#include "frontend/web/service/answer.h"
#include "platform/x509/utf8.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using nlohmann::json;

Refusal malformed(const std::string& text) {
    return {400, RedfishMessage{"Base.1.9.MalformedJSON", {}, {}, text}};
}

// Builds the document member by member, and ends the reading at the first fault. The parser itself
// does not recurse, and neither does this: whoever sent the body chose its depth.
class ObjectBuilder : public nlohmann::json_sax<json> {
public:
    json document = json::object();
    std::optional<Refusal> refusal; // why the reading ended

    bool null() override {
        return add(nullptr);
    }
    bool boolean(bool value) override {
        return add(value);
    }
    bool number_integer(number_integer_t value) override {
        return add(value);
    }
    bool number_unsigned(number_unsigned_t value) override {
        return add(value);
    }
    bool number_float(number_float_t value, const string_t& /*text*/) override {
        return add(value);
    }
    bool string(string_t& value) override {
        return hasNul(value) ? refuse(malformed("The body holds a NUL character."))
                             : add(std::move(value));
    }
    bool binary(binary_t& /*value*/) override {
        return false; // there is none in JSON
    }
    bool start_object(std::size_t /*size*/) override {
        return enter(json::object());
    }
    bool start_array(std::size_t /*size*/) override {
        return enter(json::array());
    }
    bool end_object() override {
        return leave();
    }
    bool end_array() override {
        return leave();
    }

    bool key(string_t& name) override {
        if (hasNul(name)) {
            return refuse(malformed("The body holds a NUL character."));
        }
        if (open.back()->contains(name)) {
            return refuse(
                {400, RedfishMessage{"Base.1.9.PropertyDuplicate", {shownInMessage(name)}, {}}});
        }
        member = std::move(name);
        return true;
    }

    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const json::exception& /*error*/) override {
        return refuse(malformed("The body is no JSON in UTF-8: it goes wrong at byte " +
                                std::to_string(position) + "."));
    }

private:
    static bool hasNul(const std::string& text) {
        return text.find('\0') != std::string::npos;
    }

    bool refuse(Refusal reason) {
        refusal = std::move(reason);
        return false;
    }

    // Where the value now stands.
    json* place(json value) {
        if (open.empty()) {
            document = std::move(value);
            return &document;
        }
        json& parent = *open.back();
        if (parent.is_array()) {
            parent.push_back(std::move(value));
            return &parent.back();
        }
        json& placed = parent[member];
        placed = std::move(value);
        return &placed;
    }

    bool add(json value) {
        if (open.empty()) {
            return refuse(malformed("The body is JSON, but no object."));
        }
        (void)place(std::move(value));
        return true;
    }

    bool enter(json value) {
        if (open.empty() && !value.is_object()) {
            return refuse(malformed("The body is JSON, but no object."));
        }
        if (open.size() == DEEPEST_BODY) {
            return refuse(malformed("The body is nested more than " + std::to_string(DEEPEST_BODY) +
                                    " levels deep."));
        }
        open.push_back(place(std::move(value)));
        return true;
    }

    bool leave() {
        open.pop_back();
        return true;
    }

    std::vector<json*> open; // the objects and arrays around what comes next, outermost first
    std::string member;      // name of what comes next, in an object
};

std::string inLowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char each) { return static_cast<char>(std::tolower(each)); });
    return lower;
}

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    const std::size_t last = text.find_last_not_of(" \t");
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, last - first + 1);
}

void checkMediaType(const HttpRequest& request) {
    const auto header = findHeader(request.headers, "Content-Type");
    if (!header) {
        return;
    }
    const std::string_view type = withoutBlanks(header->substr(0, header->find(';')));
    if (inLowerCase(type) != "application/json") {
        throw Refusal(415, RedfishMessage{"Base.1.9.HeaderInvalid",
                                          {"Content-Type"},
                                          {},
                                          "The body must be of the media type application/json."});
    }
}

} // namespace

nlohmann::json readJsonObject(const std::string& text) {
    if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
        throw Refusal(400, RedfishMessage{"Base.1.9.UnrecognizedRequestBody",
                                          {},
                                          {},
                                          "The request has no body; it needs a JSON object."});
    }
    // The parser takes a NUL character for the end of the text.
    if (text.find('\0') != std::string::npos) {
        throw malformed("The body holds a NUL character.");
    }
    ObjectBuilder builder;
    const bool isRead = json::sax_parse(text, &builder);
    if (!isRead || builder.refusal) {
        wipeDocument(builder.document);
        throw builder.refusal.value_or(malformed("The body is no JSON in UTF-8."));
    }
    return std::move(builder.document);
}

nlohmann::json readJsonBody(const HttpRequest& request) {
    checkMediaType(request);
    return readJsonObject(request.body);
}
