// What a body must be before the daemon sees it.

#include "frontend/web/service/answer.h"
#include "frontend/web/service/request_body.h"
#include "frontend/web/service/request_checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

const std::string COLLECTION = "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";

HttpRequest requestWith(const std::string& body, const std::string& type = "application/json") {
    HttpRequest request;
    request.method = "POST";
    request.path = COLLECTION;
    request.headers = {{"Content-Type", type}};
    request.body = body;
    return request;
}

// Status, then the messages without their registry; "200" when nothing is refused.
template <typename Reading>
std::string outcomeOf(const Reading& reading) {
    try {
        reading();
        return "200";
    } catch (const Refusal& refusal) {
        std::string text = std::to_string(refusal.status);
        for (const RedfishMessage& message : refusal.messages) {
            text += " " + message.id.substr(message.id.rfind('.') + 1);
        }
        return text;
    }
}

std::string readingOf(const std::string& body) {
    return outcomeOf([&] { (void)readJsonBody(requestWith(body)); });
}

std::string nested(std::size_t levels, const std::string& opening, const std::string& closing) {
    std::string text;
    for (std::size_t i = 0; i < levels; ++i) {
        text += opening;
    }
    text += "1";
    for (std::size_t i = 0; i < levels; ++i) {
        text += closing;
    }
    return text;
}

struct BodyCase {
    std::string name;
    std::string body;
    std::string outcome;
};

void PrintTo(const BodyCase& each, std::ostream* stream) {
    *stream << each.name;
}

class RequestBody : public testing::TestWithParam<BodyCase> {};

TEST_P(RequestBody, IsReadOrRefused) {
    EXPECT_EQ(readingOf(GetParam().body), GetParam().outcome);
}

const std::string MALFORMED = "400 MalformedJSON";

INSTANTIATE_TEST_SUITE_P(
    Web, RequestBody,
    testing::Values(
        BodyCase{"Object", R"({"a":[1,-2,3.5,true,null,"x"]})", "200"},
        BodyCase{"EmptyObject", "{}", "200"}, BodyCase{"LinesAround", "\r\n { } \n", "200"},
        BodyCase{"Nothing", "", "400 UnrecognizedRequestBody"},
        BodyCase{"Blanks", " \t\r\n", "400 UnrecognizedRequestBody"},
        BodyCase{"Array", "[{}]", MALFORMED}, BodyCase{"Text", "\"{}\"", MALFORMED},
        BodyCase{"Number", "1", MALFORMED}, BodyCase{"Null", "null", MALFORMED},
        BodyCase{"NoJson", "a=b", MALFORMED}, BodyCase{"HalfAnObject", "{\"a\":", MALFORMED},
        BodyCase{"TwoObjects", "{} {}", MALFORMED}, BodyCase{"Comment", "{/**/}", MALFORMED},
        BodyCase{"HugeNumber", "{\"a\":1e999}", MALFORMED},
        BodyCase{"NoUtf8", "{\"a\":\"\xff\"}", MALFORMED},
        BodyCase{"LoneSurrogate", R"({"a":"\ud800"})", MALFORMED},
        BodyCase{"LongFormOfNul", "{\"a\":\"\xc0\x80\"}", MALFORMED},
        BodyCase{"NulAtTheEnd", std::string("{}\0", 3), MALFORMED},
        BodyCase{"EscapedNulInAText", R"({"a":"x\u0000y"})", MALFORMED},
        BodyCase{"EscapedNulInAName", R"({"a\u0000":1})", MALFORMED},
        BodyCase{"SixteenLevels", "{\"a\":" + nested(15, "[", "]") + "}", "200"},
        BodyCase{"SeventeenLevels", "{\"a\":" + nested(16, "[", "]") + "}", MALFORMED},
        BodyCase{"FiftyThousandArrays", "{\"a\":" + nested(50000, "[", "]") + "}", MALFORMED},
        BodyCase{"FiftyThousandObjects", nested(50000, "{\"a\":", "}"), MALFORMED},
        BodyCase{"FiftyThousandThatDoNotEnd", nested(50000, "{\"a\":", ""), MALFORMED},
        BodyCase{"MemberTwice", R"({"a":1,"a":2})", "400 PropertyDuplicate"},
        BodyCase{"MemberTwiceFurtherDown", R"({"b":[{"a":1,"a":1}]})", "400 PropertyDuplicate"},
        BodyCase{"MemberTwiceSpeltDifferently", R"({"a":1,"\u0061":2})", "400 PropertyDuplicate"},
        BodyCase{"SameNameInTwoObjects", R"({"a":{"a":1},"b":{"a":1}})", "200"}),
    [](const auto& each) { return each.param.name; });

TEST(RequestBodies, OfAnotherMediaTypeAreRefused) {
    const auto typed = [](const std::string& type) {
        return outcomeOf([&] { (void)readJsonBody(requestWith("{}", type)); });
    };
    EXPECT_EQ(typed("application/json"), "200");
    EXPECT_EQ(typed("Application/JSON ; charset=utf-8"), "200");
    for (const char* type : {"text/plain", "application/xml", "application/json5", "",
                             "application/x-www-form-urlencoded", "json"}) {
        EXPECT_EQ(typed(type), "415 HeaderInvalid") << type;
    }
    HttpRequest untyped = requestWith("{}");
    untyped.headers.clear();
    EXPECT_EQ(outcomeOf([&] { (void)readJsonBody(untyped); }), "200");
}

TEST(RequestBodies, AreReadAsTheyAre) {
    const std::string text = R"({"a":[1,-2,3.5,true,null,"x\n"],"b":{"c":{}},"d":[[],{}]})";
    EXPECT_EQ(readJsonObject(text), json::parse(text));
}

// --- the forms ----------------------------------------------------------------------------------

json creation() {
    return {{"CertificateString", "-----BEGIN CERTIFICATE-----\n"}, {"CertificateType", "PEM"}};
}

json signingRequest() {
    return {{"CertificateCollection", {{"@odata.id", COLLECTION}}}, {"CommonName", "a.example"}};
}

json replacement() {
    json body = creation();
    body["CertificateUri"] = {{"@odata.id", COLLECTION + "/1"}};
    return body;
}

std::string checkOf(const json& body, const RequestForm& form) {
    return outcomeOf([&] { checkBody(body, form); });
}

// The messages of a refusal; none when nothing is refused.
std::vector<RedfishMessage> messagesOf(const json& body, const RequestForm& form) {
    try {
        checkBody(body, form);
        return {};
    } catch (const Refusal& refusal) {
        return refusal.messages;
    }
}

json with(json body, const std::string& name, const json& value) {
    body[name] = value;
    return body;
}

TEST(RequestChecks, TakeWhatTheFormsSay) {
    EXPECT_EQ(checkOf(creation(), newCertificateForm()), "200");
    EXPECT_EQ(checkOf(replacement(), replaceCertificateForm()), "200");
    json body = signingRequest();
    EXPECT_EQ(checkOf(body, generateCsrForm()), "200");
    for (const char* name :
         {"ChallengePassword", "City", "ContactPerson", "Country", "Email", "GivenName", "Initials",
          "KeyCurveId", "KeyPairAlgorithm", "Organization", "OrganizationalUnit", "State",
          "Surname", "UnstructuredName"}) {
        body[name] = "x & \"y\" \\ Ü";
    }
    body["AlternativeNames"] = {"a.example", "b.example"};
    body["KeyUsage"] = json::array();
    body["KeyBitLength"] = 2048;
    EXPECT_EQ(body.size(), 19U);
    EXPECT_EQ(checkOf(body, generateCsrForm()), "200");
}

// Every parameter of every form, with values of each other JSON type.
TEST(RequestChecks, RefuseEveryParameterOfAnotherType) {
    struct Form {
        json body;
        const RequestForm& form;
        std::string refusal;
    };
    const std::vector<Form> forms = {
        {creation(), newCertificateForm(), "400 PropertyValueTypeError"},
        {signingRequest(), generateCsrForm(), "400 ActionParameterValueTypeError"},
        {replacement(), replaceCertificateForm(), "400 ActionParameterValueTypeError"}};
    const std::vector<json> values = {nullptr,
                                      true,
                                      1.5,
                                      7,
                                      "x",
                                      json::array({1}),
                                      json::array({"x"}),
                                      json::array({json::array()}),
                                      json::object()};
    for (const Form& each : forms) {
        for (const RequestParameter& parameter : each.form.parameters) {
            int taken = 0;
            for (const json& value : values) {
                const std::string outcome =
                    checkOf(with(each.body, parameter.name, value), each.form);
                const bool isOfItsType = outcome != each.refusal;
                taken += isOfItsType ? 1 : 0;
            }
            EXPECT_EQ(taken, 1) << parameter.name;
        }
    }
}

TEST(RequestChecks, MissEachRequiredParameter) {
    const auto without = [](json body, const std::string& name) {
        body.erase(name);
        return body;
    };
    for (const char* name : {"CertificateString", "CertificateType"}) {
        EXPECT_EQ(checkOf(without(creation(), name), newCertificateForm()), "400 PropertyMissing");
    }
    for (const char* name : {"CertificateCollection", "CommonName"}) {
        EXPECT_EQ(checkOf(without(signingRequest(), name), generateCsrForm()),
                  "400 ActionParameterMissing");
    }
    for (const char* name : {"CertificateUri", "CertificateString", "CertificateType"}) {
        EXPECT_EQ(checkOf(without(replacement(), name), replaceCertificateForm()),
                  "400 ActionParameterMissing");
    }
}

struct FaultCase {
    std::string name;
    std::string member;
    json value;
    std::string outcome;
};

void PrintTo(const FaultCase& each, std::ostream* stream) {
    *stream << each.name;
}

class SigningRequestFault : public testing::TestWithParam<FaultCase> {};

TEST_P(SigningRequestFault, IsNamed) {
    const FaultCase& each = GetParam();
    EXPECT_EQ(checkOf(with(signingRequest(), each.member, each.value), generateCsrForm()),
              each.outcome);
}

json reference(const std::string& uri) {
    return {{"@odata.id", uri}};
}

const std::string FORMAT = "400 ActionParameterValueFormatError";
const std::string TYPE = "400 ActionParameterValueTypeError";
const std::string UNKNOWN = "400 ActionParameterUnknown";

INSTANTIATE_TEST_SUITE_P(
    Web, SigningRequestFault,
    testing::Values(
        FaultCase{"UnknownMember", "Foo", 1, UNKNOWN},
        FaultCase{"MemberInOtherCase", "commonname", "x", UNKNOWN},
        FaultCase{"MarkerAsName", "&&Object X &&/redfish/v1", "", UNKNOWN},
        FaultCase{"Annotation", "@odata.type", "x", UNKNOWN},
        FaultCase{"EmptyName", "", "x", UNKNOWN},
        FaultCase{"MarkerAsText", "City", "&&ObjectRef /redfish/v1", FORMAT},
        FaultCase{"MarkerAlone", "City", "&&", FORMAT},
        FaultCase{"MarkerFurtherIn", "City", "a && b", "200"},
        FaultCase{"MarkerInAnArray", "AlternativeNames", {"a", "&&Array /x"}, FORMAT},
        FaultCase{"LineFeed", "City", "a\nb", FORMAT},
        FaultCase{"LineFeedInAnArray", "AlternativeNames", {"a\nb"}, FORMAT},
        FaultCase{"Delete", "City", "a\x7f", FORMAT},
        FaultCase{"NumberInAnArray", "KeyUsage", {"DigitalSignature", 1}, TYPE},
        FaultCase{"LengthWithPoint", "KeyBitLength", 2048.0, TYPE},
        FaultCase{"LengthAsText", "KeyBitLength", "2048", TYPE},
        FaultCase{"LengthBeyond32Bits", "KeyBitLength", 4294969344, FORMAT},
        FaultCase{"LengthBeyond64Bits", "KeyBitLength", 18446744073709551615U, FORMAT},
        FaultCase{"LengthBelow32Bits", "KeyBitLength", -2147483649, FORMAT},
        FaultCase{"LengthThatTheBackendRefuses", "KeyBitLength", -1, "200"},
        FaultCase{"ReferenceAsText", "CertificateCollection", COLLECTION, TYPE},
        FaultCase{"ReferenceWithoutUri", "CertificateCollection", json::object(), FORMAT},
        FaultCase{"ReferenceToANumber", "CertificateCollection", {{"@odata.id", 5}}, TYPE},
        FaultCase{"ReferenceToNull", "CertificateCollection", {{"@odata.id", nullptr}}, TYPE},
        FaultCase{"ReferenceWithMore",
                  "CertificateCollection",
                  {{"@odata.id", COLLECTION}, {"Name", "x"}},
                  UNKNOWN},
        FaultCase{"UriWithABlank", "CertificateCollection", reference("/redfish/v1/a b"), FORMAT},
        FaultCase{"UriWithALineFeed", "CertificateCollection", reference("/redfish/v1/a\n"),
                  FORMAT},
        FaultCase{"UriOfAnotherPlace", "CertificateCollection", reference("webDefaultValue"),
                  FORMAT},
        FaultCase{"UriOfAnotherHost", "CertificateCollection",
                  reference("https://a.example/redfish/v1"), FORMAT},
        FaultCase{"UriThatIsEmpty", "CertificateCollection", reference(""), FORMAT},
        FaultCase{"UriThatIsAMarker", "CertificateCollection", reference("&&/redfish/v1"), FORMAT},
        FaultCase{"UriWithAMarker", "CertificateCollection", reference("/redfish/v1/&&Object"),
                  FORMAT}),
    [](const auto& each) { return each.param.name; });

TEST(RequestChecks, NameEachFaultWithItsPlace) {
    json body = {{"CertificateString", 5}, {"CertificateType", "&&"}, {"Foo", "x"}};
    const std::vector<RedfishMessage> messages = messagesOf(body, newCertificateForm());
    ASSERT_THAT(messages, SizeIs(3));
    EXPECT_THAT(messages[0].arguments, ElementsAre("******", "CertificateString"));
    EXPECT_THAT(messages[0].relatedProperties, ElementsAre("#/CertificateString"));
    EXPECT_THAT(messages[1].arguments,
                ElementsAre("'&&' begins with \"&&\", which the service keeps to itself.",
                            "CertificateType"));
    EXPECT_THAT(messages[2].arguments, ElementsAre("Foo"));
    EXPECT_THAT(messages[2].relatedProperties, ElementsAre("#/Foo"));
}

TEST(RequestChecks, PointToAMemberWhosePathNeedsEscapes) {
    json body = with(replacement(), "~/x", 1);
    body["CertificateUri"] = {{"@odata.id", "/redfish/v1/Certificates/1"}, {"a/b", 1}};
    const std::vector<RedfishMessage> messages = messagesOf(body, replaceCertificateForm());
    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_THAT(messages[0].arguments,
                ElementsAre("CertificateService.ReplaceCertificate", "CertificateUri/a/b"));
    EXPECT_THAT(messages[0].relatedProperties, ElementsAre("#/CertificateUri/a~1b"));
    EXPECT_THAT(messages[1].relatedProperties, ElementsAre("#/~0~1x"));
}

TEST(RequestChecks, NameTheActionOfAParameter) {
    const std::string action = "CertificateService.GenerateCSR";
    json body = signingRequest();
    body.erase("CommonName");
    body["KeyBitLength"] = "2048";
    body["Foo"] = 1;
    const std::vector<RedfishMessage> messages = messagesOf(body, generateCsrForm());
    ASSERT_THAT(messages, SizeIs(3));
    EXPECT_THAT(messages[0].arguments, ElementsAre(action, "CommonName"));
    EXPECT_THAT(messages[1].arguments, ElementsAre(action, "Foo"));
    EXPECT_THAT(messages[2].arguments, ElementsAre("2048", "KeyBitLength", action));
}

TEST(RequestChecks, ShowNoSecretInAMessage) {
    const std::vector<json> secrets = {json("&&secret"), json("secret\n"), json::array({"secret"}),
                                       json{{"secret", "secret"}}};
    for (const json& secret : secrets) {
        for (const RedfishMessage& message :
             messagesOf(with(signingRequest(), "ChallengePassword", secret), generateCsrForm())) {
            EXPECT_THAT(errorDocument({message}).dump(), Not(HasSubstr("secret")));
        }
    }
    const json key = with(creation(), "CertificateString", json::array({"secret"}));
    EXPECT_THAT(errorDocument(messagesOf(key, newCertificateForm())).dump(),
                Not(HasSubstr("secret")));
}

TEST(RequestChecks, HoldNoMoreMessagesThanAreOfUse) {
    json body = creation();
    for (int i = 0; i < 1000; ++i) {
        body["Member" + std::to_string(i)] = i;
    }
    EXPECT_THAT(messagesOf(body, newCertificateForm()), SizeIs(MOST_MESSAGES));
}

} // namespace
