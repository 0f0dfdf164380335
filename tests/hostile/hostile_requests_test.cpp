// Hostile requests to each of the daemon's handlers, one row each.

#include "tests/hostile/hostile_road.h"
#include "tests/support/wait.h"

#include <nlohmann/json.hpp>

namespace {

constexpr int DEEP = 10000;
constexpr int WIDE = 100000;
const std::string PERCENT = "%n%s%d%";
const std::string NOT_UTF8 = "\xff\xfe\xc0";
const std::string REQUEST = "requests/1";
const std::string BODY = "requests/1/body";
const std::string STATUS = "status/1/result";
const std::string TYPES = "&&" + COLLECTION + "/@Redfish.SupportedCertificates";
const std::string MEMBERS = "&&" + COLLECTION + "/Members";
const std::string COUNTER = "Array-Member-Sequence-ID";
const std::string DIGESTS = "redisSHAScripts";
const std::string EVENTS = "/redfish/v1/EventService";
const std::string RSA = R"("KeyPairAlgorithm":"TPM_ALG_RSA")";

// Outcomes.
const std::string UNREADABLE = "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()";
const std::string UNANSWERED = "no reply, " + UNREADABLE;
const std::string PASSED_OVER = "no reply, no status";
const std::string NOT_IN_LIST = "FAILURE Base.1.9.PropertyValueNotInList ";
const std::string PEM_NOT_IN_LIST = NOT_IN_LIST + "(PEM, CertificateType)";
const std::string MISSING = "FAILURE Base.1.9.ResourceMissingAtURI ";
const std::string UNKNOWN_ACTION = "FAILURE Base.1.9.ActionNotSupported ";

// Lines of the log and of the store.
const std::string FAILED = "[Error]: Create certificate: create certificate error.";
const std::string NO_BODY = "[Error]: Create certificate: get request data failed.";
const std::string NOT_LINKED = "[Error]: Create certificate: update Certificate Collection failed.";
const std::string NOT_LOCATED = "[Error]: Create certificate: update Certificate Locations failed.";
const std::string NOT_DELETED = "[Error]: Delete certificate: create certificate error.";
const std::string NO_DIGEST = "[Error]: Cannot get SHA script resourceChange.";
const std::string NO_EVENT = "[Error]: Failed to generate life cycle event.";
const std::string NO_CSR_BODY = "[Error]: generateCSR: get request data failed.";
const std::string NO_COLLECTION =
    "[Error]: generateCSR: the value of CertificateCollection is not a resource.";
const std::string NO_NEW_BODY = "[Error]: ReplaceCertificate: get request data failed.";
const std::string NOT_STORED = "[ERROR] Updates property reply type is incorrect.";

std::string notACertificate(const std::string& uri) {
    return "[Error]: ReplaceCertificate: " + uri + " is not a certificate resource.";
}

std::string holdsItself(const std::string& key) {
    return "[ERROR] The resource holds itself. RESOURCE=" + key;
}

std::string notText(int index) {
    return "[ERROR] Dump JSON object error. EXCEPTION=[json.exception.type_error.316] invalid "
           "UTF-8 byte at index " +
           std::to_string(index) + ": 0xFF";
}

// ---- requests ----

FrontEndRequest with(FrontEndRequest request, const std::string& body) {
    request.body = body;
    return request;
}

FrontEndRequest creationOf(const std::string& text, const std::string& type,
                           const std::string& further = "") {
    return with(creation(), R"({"CertificateString":")" + text + R"(","CertificateType":")" + type +
                                R"(")" + further + "}");
}

FrontEndRequest replacementBy(const std::string& text, const std::string& type) {
    return with(replacement(""), R"({"CertificateUri":{"@odata.id":")" + CERTIFICATE +
                                     R"("},"CertificateString":")" + text +
                                     R"(","CertificateType":")" + type + "\"}");
}

FrontEndRequest signingFor(const std::string& collectionUri) {
    return with(signing(""),
                R"({"CertificateCollection":{"@odata.id":")" + collectionUri + R"("}})");
}

FrontEndRequest aimedAt(const std::string& uri, FrontEndRequest request) {
    request.targetUri = uri;
    return request;
}

FrontEndRequest asTask(const std::string& taskUri) {
    FrontEndRequest request = signing(RSA);
    request.fields["&&Task"] = taskUri;
    return request;
}

// Every name that the front end chooses made of this text.
FrontEndRequest namedBy(const std::string& text, FrontEndRequest request) {
    request.bodyKey = "requests/" + text + "/body";
    request.statusKey = "status/" + text + "/" + text;
    request.returnChannel = "answers/" + text;
    return request;
}

FrontEndRequest answeredInItsRecord() {
    FrontEndRequest request = creation();
    request.statusKey = REQUEST;
    return request;
}

// ---- what stands in Redis ----

using Preparation = std::function<void(RedisClient&)>;

Preparation spoil(const std::string& key, const std::string& type) {
    return [=](RedisClient& client) { storeOfType(client, key, type); };
}

Preparation setField(const std::string& key, const std::string& name, const std::string& value) {
    return [=](RedisClient& client) { client.command("HSET", key, name, value); };
}

Preparation pointAtItself(const std::string& key) {
    return setField(key, "&&Object Self " + key, "");
}

// A nested resource of this depth whose keys stay short.
Preparation deep(const std::string& key) {
    return [=](RedisClient& client) {
        std::string above = key;
        for (int i = 0; i < DEEP; ++i) {
            const std::string below = "&&requests/1/" + std::to_string(i);
            client.command("HSET", above, "&&Object a " + below, "");
            above = below;
        }
        client.command("HSET", above, "End", "1");
    };
}

Preparation push(const std::string& listKey, std::size_t count, const std::string& entry) {
    return [=](RedisClient& client) {
        Command words = {"RPUSH", listKey};
        words.insert(words.end(), count, entry);
        (void)client.commandList(words);
    };
}

Preparation wide(const std::string& key, const std::string& member) {
    return [=](RedisClient& client) {
        client.command("HSET", key, "&&Array " + member + " &&requests/1/wide", "");
        push("&&requests/1/wide", WIDE, "\"value\"")(client);
    };
}

// The record names the body and the body the record.
void nameEachOther(RedisClient& client) {
    client.command("HSET", REQUEST, "&&Object Body " + BODY, "");
    client.command("HSET", BODY, "&&Object Record " + REQUEST, "");
}

void makeTargetAnArray(RedisClient& client) {
    client.command("HDEL", REQUEST, "&&TargetURI");
    client.command("HSET", REQUEST, "&&Array &&TargetURI &&nowhere", "");
}

Preparation supporting(const std::string& uri) {
    return push("&&" + uri + "/@Redfish.SupportedCertificates", 1, "\"PEM\"");
}

// ---- what to look at afterwards ----

void backendGotTheMegabyte(RedisClient& /*client*/) {
    EXPECT_EQ(nlohmann::json::parse(backendCalls().front())["certificateString"], megabyte());
}

void locationHasPercentSigns(RedisClient& client) {
    EXPECT_TRUE(client.hash("status/" + PERCENT + "/" + PERCENT)["&&Location"].starts_with(
        "/" + PERCENT + "/Certificates/"));
}

// Waits until the task's end has been written; without that the worker may still be at work.
Preparation taskEnds(const std::string& taskUri) {
    return [=](RedisClient& client) {
        const std::string key = "&&" + taskUri + "/Result";
        EXPECT_TRUE(waitUntil([&] { return client.hash(key)["&&ReturnStatus"] == "OK_RES"; }));
    };
}

void taskLeavesItsResultAlone(RedisClient& client) {
    EXPECT_TRUE(waitUntil(
        [&] { return client.command("EXISTS", "&&/tasks/1/ExtendedInfo").integer == 1; }));
    EXPECT_EQ(client.command("GET", "&&/tasks/1/Result").text, "kept");
}

// ---- rows ----

// What every handler does with such records and messages.
struct Handler {
    FrontEndRequest request;
    std::string operation; // in the log
    std::string success;
    std::string unreadable; // outcome of a record that cannot be read
    std::string noKey;      // outcome of a message without a request key
};

// clang-format off
std::vector<HostileRow> recordRows(const Handler& handler) {
    const auto& [request, operation, success, unreadable, noKey] = handler;
    const Texts unread = {"[Error]: " + operation + ": get request data structure failed."};
    const Texts keyless = {"[Error]: " + operation + ": request data structure error."};
    return {
        {"RecordIsAString", request, unreadable, spoil(REQUEST, "string"), unread},
        {"RecordIsASet", request, unreadable, spoil(REQUEST, "set"), unread},
        {"RecordIsAList", request, ABORTS, spoil(REQUEST, "list")},
        {"RecordFieldIsAnArray", request, ABORTS, makeTargetAnArray},
        {"RecordOfTenThousandLevels", request, success, deep(REQUEST)},
        {"RecordOfAHundredThousandElements", request, success, wide(REQUEST, "Further")},
        {"RecordThatHoldsItself", request, unreadable, pointAtItself(REQUEST), unread,
         {holdsItself(REQUEST)}},
        {"RecordAndBodyThatHoldEachOther", request, unreadable, nameEachOther, unread,
         {holdsItself(REQUEST)}},
        HostileRow{"RequestKeyAndBlank", request, PASSED_OVER, {}, keyless}
            .announcing(REQUEST + " "),
        HostileRow{"BlankAndStatusKey", request, noKey, {}, keyless}.announcing(" " + STATUS),
        HostileRow{"BlankAlone", request, PASSED_OVER, {}, keyless}.announcing(" "),
        HostileRow{"PercentSignsAlone", request, PASSED_OVER, {}, unread}
            .announcing("requests/" + PERCENT),
        HostileRow{"MegabyteWithoutBlank", request, PASSED_OVER, {}, unread}
            .announcing("status/" + megabyte()),
    };
}

const HostileRow CREATIONS[] = {
    HostileRow{"TextOfAMegabyte", creationOf(megabyte(), "PEM"), "OK"}
        .inspecting(backendGotTheMegabyte),
    {"TypeOfAMegabyte", creationOf("text", megabyte()), NOT_IN_LIST + "(<MiB>, CertificateType)",
     {}, {FAILED}},
    {"UriOfAMegabyte", aimedAt("/" + megabyte(), creation()), PEM_NOT_IN_LIST, {}, {FAILED}},
    {"ParameterNameOfAMegabyte", creationOf("text", "PEM", ",\"" + megabyte() + "\":1"), "OK"},
    {"BodyOfTenThousandLevels", creationOf("text", "unknown"),
     NOT_IN_LIST + "(unknown, CertificateType)", deep(BODY), {FAILED}},
    {"BodyOfAHundredThousandElements", creation(), "OK", wide(BODY, "Further")},
    {"HundredThousandTypes", creationOf("text", "unknown"),
     NOT_IN_LIST + "(unknown, CertificateType)", push(TYPES, WIDE, "\"PKCS7\""), {FAILED}},
    {"PercentSignsInTypeAndText", creationOf(PERCENT, PERCENT),
     NOT_IN_LIST + "(" + PERCENT + ", CertificateType)", {}, {FAILED}},
    HostileRow{"PercentSignsInUriChannelAndKeys",
               namedBy(PERCENT, aimedAt("/" + PERCENT + "/Certificates", creation())), "OK",
               supporting("/" + PERCENT + "/Certificates")}.inspecting(locationHasPercentSigns),
    {"BlanksAndLineEndsInUriChannelAndKeys",
     namedBy("a b\r\nc", aimedAt("/a b\nc/Certificates", creation())), "OK",
     supporting("/a b\nc/Certificates")},
    {"UriOfBlanks", aimedAt("   ", creation()), PEM_NOT_IN_LIST, {}, {FAILED}},
    {"TextThatIsNotUtf8", creation(), "OK", setField(BODY, "CertificateString", NOT_UTF8)},
    {"TypeThatIsNotUtf8", creation(), NOT_IN_LIST + "(CertificateType)",
     setField(BODY, "CertificateType", NOT_UTF8), {FAILED}, {notText(0)}},
    {"FurtherMemberThatIsNotUtf8", creation(), "OK", setField(BODY, "Further", NOT_UTF8), {},
     {notText(0)}},
    {"UriThatIsNotUtf8", aimedAt("/\xff/Certificates", creation()), "OK",
     supporting("/\xff/Certificates"), {}, {notText(1), notText(1)}},
    {"BodyThatHoldsItself", creation(), UNREADABLE, pointAtItself(BODY), {NO_BODY, FAILED},
     {holdsItself(BODY)}},
    {"BodyThatNamesAMissingKey", creation(), "OK", setField(BODY, "&&Object Gone &&nowhere", "")},
    {"BodyThatNamesAKeyOfAnotherType", creation(), "OK",
     setField(BODY, "&&Object Number " + COUNTER, "")},
    {"BodyIsAString", creation(), UNREADABLE, spoil(BODY, "string"), {NO_BODY, FAILED}},
    {"BodyIsASet", creation(), UNREADABLE, spoil(BODY, "set"), {NO_BODY, FAILED}},
    {"BodyIsAList", creation(), ABORTS, spoil(BODY, "list")},
    {"TypesAreAString", creation(), PEM_NOT_IN_LIST, spoil(TYPES, "string"), {FAILED}},
    {"TypesAreAHash", creation(), PEM_NOT_IN_LIST, spoil(TYPES, "hash"), {FAILED}},
    HostileRow{"MembersAreAHash", creation(), UNREADABLE, spoil(MEMBERS, "hash"),
               {NOT_LINKED, FAILED}}.failingHalfWay(),
    HostileRow{"MembersAreASet", creation(), UNREADABLE, spoil(MEMBERS, "set"),
               {NOT_LINKED, FAILED}}.failingHalfWay(),
    {"CollectionIsAString", creation(), "OK", spoil(COLLECTION, "string"), {},
     {NOT_STORED, NOT_STORED}},
    {"CollectionIsAList", creation(), "OK", spoil(COLLECTION, "list"), {},
     {NOT_STORED, NOT_STORED}},
    HostileRow{"LinksAreAString", creation(), UNREADABLE, spoil(LINKS, "string"),
               {NOT_LOCATED, FAILED}}.failingHalfWay().leavingSpoiled(LINKS),
    HostileRow{"LocationsAreASet", creation(), "OK", spoil(LOCATIONS, "set")}
        .leavingSpoiled(LOCATIONS),
    // The status takes the place of what was at its key; what that names goes with it.
    {"StatusThatHoldsItself", creation(), "OK", pointAtItself(STATUS)},
    {"StatusThatIsTheRecord", answeredInItsRecord(), "OK"},
    {"StatusIsAString", creation(), "no status", spoil(STATUS, "string"), {},
     {NOT_STORED, NOT_STORED}},
    {"StatusIsASet", creation(), "no status", spoil(STATUS, "set"), {}, {NOT_STORED, NOT_STORED}},
    {"StatusIsAList", creation(), "OK", spoil(STATUS, "list")},
    {"InformationIsAString", creationOf("text", "unknown"), "FAILURE",
     spoil("status/1/ExtendedInfo", "string"), {FAILED}, {NOT_STORED}},
    {"EventCounterIsAString", creation(), "OK", spoil(EVENTS, "string")},
    {"DefaultsAreAString", creation(), "OK", spoil("webDefaultValue", "string")},
    {"ScriptDigestsAreAList", creation(), "OK", spoil(DIGESTS, "list"), {NO_DIGEST, FAILED}},
    {"ScriptDigestHasPercentSignsAndBlanks", creation(), "OK",
     setField(DIGESTS, "resourceChange", "%n %s"),
     {NO_EVENT, "[Error]: NOSCRIPT No matching script. Please use EVAL.", FAILED}},
    {"SequenceCounterIsAHash", creation(), "OK", spoil(COUNTER, "hash")},
    {"SequenceCounterIsNoNumber", creation(), "OK", spoil(COUNTER, "string")},
};

const HostileRow DELETIONS[] = {
    {"UriOfAMegabyte", deletion("/c/" + megabyte()), "OK_EMPTY"},
    // The collection's URI is empty: the event command is a word short.
    {"UriWithoutCollection", deletion("/" + PERCENT), "OK_EMPTY", {},
     {NO_EVENT, "[Error]: ERR Number of keys can't be greater than number of args", NOT_DELETED}},
    {"UriWithoutSlash", deletion("x"), "OK_EMPTY"},
    {"UriThatIsNotUtf8", deletion("/c/" + NOT_UTF8), "OK_EMPTY"},
    {"PercentSignsInUriChannelAndKeys",
     namedBy(PERCENT, deletion("/" + PERCENT + "/" + PERCENT)), "OK_EMPTY"},
    {"BlanksAndLineEndsInUriChannelAndKeys", namedBy("a b\r\nc", deletion("/a b\nc/1")),
     "OK_EMPTY"},
    HostileRow{"RefusalWithPercentSigns", deletion(CERTIFICATE),
               "FAILURE " + PERCENT + " (" + PERCENT + ")"}
        .answeredByTheBackend(R"({"delete":{"code":400,"message":{"MessageId":")" + PERCENT +
                              R"(","MessageArgs":[")" + PERCENT + R"("]}}})"),
    {"StatusIsAString", deletion(CERTIFICATE), "no status", spoil(STATUS, "string"), {},
     {NOT_STORED}},
    {"StatusIsAList", deletion(CERTIFICATE), "OK_EMPTY", spoil(STATUS, "list")},
    {"EventCounterIsAList", deletion(CERTIFICATE), "OK_EMPTY", spoil(EVENTS, "list")},
    {"ScriptDigestsAreAString", deletion(CERTIFICATE), "OK_EMPTY", spoil(DIGESTS, "string"),
     {NO_DIGEST, NOT_DELETED}},
};

const HostileRow SIGNING_REQUESTS[] = {
    {"ParameterOfAMegabyte", signing(R"("City":")" + megabyte() + "\""), "OK_RES"},
    {"ParameterNameOfAMegabyte", signing("\"" + megabyte() + R"(":"x")"), "OK_RES"},
    {"CollectionOfAMegabyte", signingFor("/" + megabyte()), MISSING + "(/<MiB>)", {},
     {NO_COLLECTION}},
    {"ActionOfAMegabyte", aimedAt("/" + megabyte(), signing("")), UNKNOWN_ACTION + "(/<MiB>)"},
    {"ParameterOfTenThousandLevels", signing(""), ABORTS, deep(BODY)},
    {"ParameterOfAHundredThousandElements", signing(""), "OK_RES", wide(BODY, "AlternativeNames")},
    {"PercentSignsInParametersChannelAndKeys",
     namedBy(PERCENT, signing("\"" + PERCENT + "\":\"" + PERCENT + "\"")), "OK_RES"},
    {"PercentSignsInCollection", signingFor("/" + PERCENT), MISSING + "(/" + PERCENT + ")", {},
     {NO_COLLECTION}},
    {"BlanksInCollection", signingFor("/a b/Certificates"), ABORTS},
    {"PercentSignsInAction", aimedAt(PERCENT, signing("")), UNKNOWN_ACTION + "(" + PERCENT + ")"},
    HostileRow{"PercentSignsInTask", asTask("/tasks/" + PERCENT), "PROCESSING"}
        .inspecting(taskEnds("/tasks/" + PERCENT)),
    HostileRow{"BlanksAndLineEndsInTask", asTask("/tasks/a b\nc"), "PROCESSING"}
        .inspecting(taskEnds("/tasks/a b\nc")),
    {"BlanksAndLineEndsInChannelAndKeys", namedBy("a b\r\nc", signing("")), "OK_RES"},
    {"ParameterThatIsNotUtf8", signing(""), "OK_RES", setField(BODY, "City", NOT_UTF8)},
    {"ActionThatIsNotUtf8", aimedAt(NOT_UTF8, signing("")), UNKNOWN_ACTION + "()", {}, {},
     {notText(0)}},
    {"BodyThatHoldsItself", signing(""), UNREADABLE, pointAtItself(BODY), {NO_CSR_BODY},
     {holdsItself(BODY)}},
    {"BodyIsASet", signing(""), UNREADABLE, spoil(BODY, "set"), {NO_CSR_BODY}},
    {"BodyIsAList", signing(""), ABORTS, spoil(BODY, "list")},
    {"CollectionIsAString", signing(""), MISSING + "(" + COLLECTION + ")",
     spoil(COLLECTION, "string"), {NO_COLLECTION}},
    {"CollectionIsAList", signing(""), MISSING + "(" + COLLECTION + ")", spoil(COLLECTION, "list"),
     {NO_COLLECTION}},
    {"StatusIsAString", signing(""), "no status", spoil(STATUS, "string"), {},
     {NOT_STORED, NOT_STORED}},
    {"ResponseIsASet", signing(""), "OK_RES", spoil(STATUS + "/ResponseData", "set"), {},
     {NOT_STORED, NOT_STORED}},
    HostileRow{"TaskResultIsAList", signing(RSA), "PROCESSING", spoil("&&/tasks/1/Result", "list")}
        .inspecting(taskEnds("/tasks/1")),
    HostileRow{"TaskResultIsAString", signing(RSA), "PROCESSING",
               spoil("&&/tasks/1/Result", "string"), {}, {NOT_STORED, NOT_STORED}}
        .inspecting(taskLeavesItsResultAlone),
};

const HostileRow REPLACEMENTS[] = {
    {"TextOfAMegabyte", replacementBy(megabyte(), "PEM"), "OK_RES"},
    {"TypeOfAMegabyte", replacementBy("x", megabyte()), NOT_IN_LIST + "(<MiB>, CertificateType)"},
    {"CertificateOfAMegabyte", replacement("/" + megabyte()), MISSING + "(/<MiB>)", {},
     {notACertificate("/<MiB>")}},
    {"BodyOfTenThousandLevels", replacement(CERTIFICATE), "OK_RES", deep(BODY)},
    {"BodyOfAHundredThousandElements", replacement(CERTIFICATE), "OK_RES", wide(BODY, "Further")},
    {"PercentSignsInCertificate", namedBy(PERCENT, replacement("/" + PERCENT)),
     MISSING + "(/" + PERCENT + ")", {}, {notACertificate("/" + PERCENT)}},
    // A reference to a URI with a blank is none, so that the body has no "CertificateUri".
    {"BlanksInCertificate", replacement("/a b/c"), ABORTS},
    {"BlanksAndLineEndsInChannelAndKeys", namedBy("a b\r\nc", replacement(CERTIFICATE)), "OK_RES"},
    {"TextThatIsNotUtf8", replacement(CERTIFICATE), "OK_RES",
     setField(BODY, "CertificateString", NOT_UTF8)},
    {"TypeThatIsNotUtf8", replacement(CERTIFICATE), NOT_IN_LIST + "(CertificateType)",
     setField(BODY, "CertificateType", NOT_UTF8), {}, {notText(0)}},
    {"BodyThatHoldsItself", replacement(CERTIFICATE), UNREADABLE, pointAtItself(BODY),
     {NO_NEW_BODY}, {holdsItself(BODY)}},
    {"BodyIsAString", replacement(CERTIFICATE), UNREADABLE, spoil(BODY, "string"), {NO_NEW_BODY}},
    {"BodyIsAList", replacement(CERTIFICATE), ABORTS, spoil(BODY, "list")},
    {"CertificateIsAString", replacement(CERTIFICATE), MISSING + "(" + CERTIFICATE + ")",
     spoil(CERTIFICATE, "string"), {notACertificate(CERTIFICATE)}},
    {"TypesAreASet", replacement(CERTIFICATE), PEM_NOT_IN_LIST, spoil(TYPES, "set")},
    {"StatusIsAString", replacement(CERTIFICATE), "no status", spoil(STATUS, "string")},
    {"EventCounterIsAString", replacement(CERTIFICATE), "OK_RES", spoil(EVENTS, "string")},
    HostileRow{"ScriptDigestsAreAString", replacement(CERTIFICATE), UNREADABLE,
               spoil(DIGESTS, "string"), {NO_DIGEST, "[Error]: Failed to generate event."}}
        .failingHalfWay(),
};

const Handler CREATION = {creation(), "Create certificate", "OK", UNANSWERED, UNANSWERED};
const Handler DELETION = {deletion(CERTIFICATE), "Delete certificate", "OK_EMPTY", UNANSWERED,
                          UNANSWERED};
const Handler ACTION = {signing(""), "Certificate action", "OK_RES", PASSED_OVER, PASSED_OVER};
// clang-format on

using HostileRequest = HostileRoad;

TEST_P(HostileRequest, IsAnsweredOrRefusedAndHarmsNothing) {
    run(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Creation, HostileRequest, testing::ValuesIn(CREATIONS), rowName);
INSTANTIATE_TEST_SUITE_P(Deletion, HostileRequest, testing::ValuesIn(DELETIONS), rowName);
INSTANTIATE_TEST_SUITE_P(SigningRequest, HostileRequest, testing::ValuesIn(SIGNING_REQUESTS),
                         rowName);
INSTANTIATE_TEST_SUITE_P(Replacement, HostileRequest, testing::ValuesIn(REPLACEMENTS), rowName);
INSTANTIATE_TEST_SUITE_P(CreationRecord, HostileRequest, testing::ValuesIn(recordRows(CREATION)),
                         rowName);
INSTANTIATE_TEST_SUITE_P(DeletionRecord, HostileRequest, testing::ValuesIn(recordRows(DELETION)),
                         rowName);
INSTANTIATE_TEST_SUITE_P(ActionRecord, HostileRequest, testing::ValuesIn(recordRows(ACTION)),
                         rowName);

} // namespace
