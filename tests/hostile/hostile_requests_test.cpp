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
const std::string INFORMATION = "status/1/ExtendedInfo";

const std::string UNREADABLE = "ExtendedError.1.2.DatabaseOperationError ()";
const std::string NOT_STORED = "[ERROR] Updates property reply type is incorrect.";

FrontEndRequest with(FrontEndRequest request, const std::string& members) {
    request.body = members;
    return request;
}

FrontEndRequest creationOf(const std::string& text, const std::string& type,
                           const std::string& further = "") {
    return with(creation(), R"({"CertificateString":")" + text + R"(","CertificateType":")" + type +
                                R"(")" + further + "}");
}

FrontEndRequest aimedAt(FrontEndRequest request, const std::string& uri) {
    request.targetUri = uri;
    return request;
}

// Every name that the front end chooses made of this text.
FrontEndRequest namedBy(FrontEndRequest request, const std::string& text) {
    request.bodyKey = "requests/" + text + "/body";
    request.statusKey = "status/" + text + "/" + text;
    request.returnChannel = "answers/" + text;
    return request;
}

// A nested resource of this depth whose keys stay short.
void storeDeep(RedisClient& client, const std::string& key) {
    std::string above = key;
    for (int i = 0; i < DEEP; ++i) {
        const std::string below = "&&requests/1/" + std::to_string(i);
        client.command("HSET", above, "&&Object a " + below, "");
        above = below;
    }
    client.command("HSET", above, "End", "1");
}

void storeWide(RedisClient& client, const std::string& key, const std::string& member) {
    const std::string listKey = "&&requests/1/wide";
    client.command("HSET", key, "&&Array " + member + " " + listKey, "");
    Command words = {"RPUSH", listKey};
    words.insert(words.end(), WIDE, "\"value\"");
    (void)client.commandList(words);
}

std::function<void(RedisClient&)> spoil(const std::string& key, const std::string& type) {
    return [=](RedisClient& client) { storeOfType(client, key, type); };
}

std::function<void(RedisClient&)> setField(const std::string& key, const std::string& name,
                                           const std::string& value) {
    return [=](RedisClient& client) { client.command("HSET", key, name, value); };
}

std::function<void(RedisClient&)> deep(const std::string& key) {
    return [=](RedisClient& client) { storeDeep(client, key); };
}

std::function<void(RedisClient&)> wide(const std::string& key, const std::string& member) {
    return [=](RedisClient& client) { storeWide(client, key, member); };
}

// The record names the body and the body the record.
void nameEachOther(RedisClient& client) {
    client.command("HSET", REQUEST, "&&Object Body " + BODY, "");
    client.command("HSET", BODY, "&&Object Record " + REQUEST, "");
}

void supportTypes(RedisClient& client, const std::string& uri) {
    client.command("RPUSH", "&&" + uri + "/@Redfish.SupportedCertificates", "\"PEM\"");
}

std::function<void(RedisClient&)> supporting(const std::string& uri) {
    return [=](RedisClient& client) { supportTypes(client, uri); };
}

std::string holdsItself(const std::string& key) {
    return "[ERROR] The resource holds itself. RESOURCE=" + key;
}

std::string notText(const std::string& byte, int index) {
    return "[ERROR] Dump JSON object error. EXCEPTION=[json.exception.type_error.316] invalid "
           "UTF-8 byte at index " +
           std::to_string(index) + ": 0x" + byte;
}

const std::string CREATION_FAILED = "[Error]: Create certificate: create certificate error.";
const std::string RECORD_UNREADABLE =
    "[Error]: Create certificate: get request data structure failed.";
const std::string BODY_UNREADABLE = "[Error]: Create certificate: get request data failed.";
const std::string NOT_IN_LIST = "FAILURE Base.1.9.PropertyValueNotInList ";

} // namespace

class HostileCreation : public HostileRoad {};

TEST_P(HostileCreation, IsAnsweredOrRefusedAndHarmsNothing) {
    run(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HostileCreation,
    testing::Values(
        HostileRow{.name = "TextOfAMegabyte",
                   .request = creationOf(megabyte(), "PEM"),
                   .outcome = "OK",
                   .touches = Touches::COLLECTION_AND_LOCATIONS,
                   .inspect =
                       [](RedisClient&) {
                           EXPECT_EQ(
                               nlohmann::json::parse(backendCalls().front())["certificateString"],
                               megabyte());
                       }},
        HostileRow{.name = "TypeOfAMegabyte",
                   .request = creationOf("text", megabyte()),
                   .outcome = NOT_IN_LIST + "(<MiB>, CertificateType)",
                   .errors = {CREATION_FAILED}},
        HostileRow{.name = "UriOfAMegabyte",
                   .request = aimedAt(creation(), "/" + megabyte()),
                   .outcome = NOT_IN_LIST + "(PEM, CertificateType)",
                   .errors = {CREATION_FAILED}},
        HostileRow{.name = "ParameterNameOfAMegabyte",
                   .request = creationOf("text", "PEM", ",\"" + megabyte() + "\":1"),
                   .outcome = "OK",
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "BodyOfTenThousandLevels",
                   .request = creationOf("text", "unknown"),
                   .outcome = NOT_IN_LIST + "(unknown, CertificateType)",
                   .errors = {CREATION_FAILED},
                   .prepare = deep(BODY)},
        HostileRow{.name = "RecordOfTenThousandLevels",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = deep(REQUEST),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "BodyOfAHundredThousandElements",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = wide(BODY, "Further"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "HundredThousandTypes",
                   .request = creationOf("text", "unknown"),
                   .outcome = NOT_IN_LIST + "(unknown, CertificateType)",
                   .errors = {CREATION_FAILED},
                   .prepare =
                       [](RedisClient& client) {
                           Command words = {"RPUSH",
                                            "&&" + COLLECTION + "/@Redfish.SupportedCertificates"};
                           words.insert(words.end(), WIDE, "\"PKCS7\"");
                           (void)client.commandList(words);
                       }},
        HostileRow{.name = "PercentSignsInTypeAndText",
                   .request = creationOf(PERCENT, PERCENT),
                   .outcome = NOT_IN_LIST + "(" + PERCENT + ", CertificateType)",
                   .errors = {CREATION_FAILED}},
        HostileRow{
            .name = "PercentSignsInUriChannelAndKeys",
            .request = namedBy(aimedAt(creation(), "/" + PERCENT + "/Certificates"), PERCENT),
            .outcome = "OK",
            .prepare = supporting("/" + PERCENT + "/Certificates"),
            .touches = Touches::COLLECTION_AND_LOCATIONS,
            .inspect =
                [](RedisClient& client) {
                    EXPECT_TRUE(
                        client.hash("status/" + PERCENT + "/" + PERCENT)["&&Location"].starts_with(
                            "/" + PERCENT + "/Certificates/"));
                }},
        HostileRow{.name = "BlanksAndLineEndsInUriChannelAndKeys",
                   .request = namedBy(aimedAt(creation(), "/a b\nc/Certificates"), "a b\r\nc"),
                   .outcome = "OK",
                   .prepare = supporting("/a b\nc/Certificates"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "UriOfBlanks",
                   .request = aimedAt(creation(), "   "),
                   .outcome = NOT_IN_LIST + "(PEM, CertificateType)",
                   .errors = {CREATION_FAILED}},
        HostileRow{.name = "TextThatIsNotUtf8",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = setField(BODY, "CertificateString", NOT_UTF8),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "TypeThatIsNotUtf8",
                   .request = creation(),
                   .outcome = NOT_IN_LIST + "(CertificateType)",
                   .errors = {CREATION_FAILED},
                   .storeMessages = {notText("FF", 0)},
                   .prepare = setField(BODY, "CertificateType", NOT_UTF8)},
        HostileRow{.name = "FurtherMemberThatIsNotUtf8",
                   .request = creation(),
                   .outcome = "OK",
                   .storeMessages = {notText("FF", 0)},
                   .prepare = setField(BODY, "Further", NOT_UTF8),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "UriThatIsNotUtf8",
                   .request = aimedAt(creation(), "/\xff/Certificates"),
                   .outcome = "OK",
                   .storeMessages = {notText("FF", 1), notText("FF", 1)},
                   .prepare = supporting("/\xff/Certificates"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Markers, HostileCreation,
    testing::Values(
        HostileRow{.name = "RecordThatHoldsItself",
                   .request = creation(),
                   .outcome = "no reply, EXCEPTION " + UNREADABLE,
                   .errors = {RECORD_UNREADABLE},
                   .storeMessages = {holdsItself(REQUEST)},
                   .prepare = setField(REQUEST, "&&Object Self " + REQUEST, "")},
        HostileRow{.name = "BodyThatHoldsItself",
                   .request = creation(),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {BODY_UNREADABLE, CREATION_FAILED},
                   .storeMessages = {holdsItself(BODY)},
                   .prepare = setField(BODY, "&&Object Self " + BODY, "")},
        HostileRow{.name = "RecordAndBodyThatHoldEachOther",
                   .request = creation(),
                   .outcome = "no reply, EXCEPTION " + UNREADABLE,
                   .errors = {RECORD_UNREADABLE},
                   .storeMessages = {holdsItself(REQUEST)},
                   .prepare = nameEachOther},
        HostileRow{.name = "BodyThatNamesAMissingKey",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = setField(BODY, "&&Object Gone &&nowhere", ""),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "BodyThatNamesAKeyOfAnotherType",
                   .request = creation(),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {BODY_UNREADABLE, CREATION_FAILED},
                   .storeMessages = {"[ERROR] Gets redis resource failed. "
                                     "RESOURCE=Array-Member-Sequence-ID"},
                   .prepare = setField(BODY, "&&Object Number Array-Member-Sequence-ID", "")},
        // The status takes the place of what was at its key; what that names goes with it.
        HostileRow{.name = "StatusThatHoldsItself",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = setField(STATUS, "&&Object Self " + STATUS, ""),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "StatusThatIsTheRecord",
                   .request =
                       [] {
                           FrontEndRequest request = creation();
                           request.statusKey = REQUEST;
                           return request;
                       }(),
                   .outcome = "OK",
                   .touches = Touches::COLLECTION_AND_LOCATIONS}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    WrongTypes, HostileCreation,
    testing::Values(
        HostileRow{.name = "RecordIsAString",
                   .request = creation(),
                   .outcome = "no reply, EXCEPTION " + UNREADABLE,
                   .errors = {RECORD_UNREADABLE},
                   .prepare = spoil(REQUEST, "string")},
        HostileRow{.name = "RecordIsASet",
                   .request = creation(),
                   .outcome = "no reply, EXCEPTION " + UNREADABLE,
                   .errors = {RECORD_UNREADABLE},
                   .prepare = spoil(REQUEST, "set")},
        HostileRow{.name = "RecordIsAList",
                   .request = creation(),
                   .outcome = ABORTS,
                   .prepare = spoil(REQUEST, "list")},
        HostileRow{.name = "BodyIsAString",
                   .request = creation(),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {BODY_UNREADABLE, CREATION_FAILED},
                   .prepare = spoil(BODY, "string")},
        HostileRow{.name = "BodyIsASet",
                   .request = creation(),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {BODY_UNREADABLE, CREATION_FAILED},
                   .prepare = spoil(BODY, "set")},
        HostileRow{.name = "BodyIsAList",
                   .request = creation(),
                   .outcome = ABORTS,
                   .prepare = spoil(BODY, "list")},
        HostileRow{.name = "RecordFieldIsANumber",
                   .request = creation(),
                   .outcome = ABORTS,
                   .prepare =
                       [](RedisClient& client) {
                           client.command("HDEL", REQUEST, "&&TargetURI");
                           client.command("HSET", REQUEST, "&&Array &&TargetURI &&nowhere", "");
                       }},
        HostileRow{
            .name = "TypesAreAString",
            .request = creation(),
            .outcome = NOT_IN_LIST + "(PEM, CertificateType)",
            .errors = {CREATION_FAILED},
            .prepare = spoil("&&" + COLLECTION + "/@Redfish.SupportedCertificates", "string")},
        HostileRow{.name = "TypesAreAHash",
                   .request = creation(),
                   .outcome = NOT_IN_LIST + "(PEM, CertificateType)",
                   .errors = {CREATION_FAILED},
                   .prepare = spoil("&&" + COLLECTION + "/@Redfish.SupportedCertificates", "hash")},
        HostileRow{.name = "MembersAreAHash",
                   .request = creation(),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {"[Error]: Create certificate: update Certificate Collection failed.",
                              CREATION_FAILED},
                   .prepare = spoil("&&" + COLLECTION + "/Members", "hash"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "MembersAreASet",
                   .request = creation(),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {"[Error]: Create certificate: update Certificate Collection failed.",
                              CREATION_FAILED},
                   .prepare = spoil("&&" + COLLECTION + "/Members", "set"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "CollectionIsAString",
                   .request = creation(),
                   .outcome = "OK",
                   .storeMessages = {NOT_STORED, NOT_STORED},
                   .prepare = spoil(COLLECTION, "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "CollectionIsAList",
                   .request = creation(),
                   .outcome = "OK",
                   .storeMessages = {NOT_STORED, NOT_STORED},
                   .prepare = spoil(COLLECTION, "list"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "LinksAreAString",
                   .request = creation(),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {"[Error]: Create certificate: update Certificate Locations failed.",
                              CREATION_FAILED},
                   .prepare = spoil(LINKS, "string"),
                   .spoiledKeys = {LINKS},
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "LocationsAreASet",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = spoil(LOCATIONS, "set"),
                   .spoiledKeys = {LOCATIONS},
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "StatusIsAString",
                   .request = creation(),
                   .outcome = "no status",
                   .storeMessages = {NOT_STORED, NOT_STORED},
                   .prepare = spoil(STATUS, "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "StatusIsASet",
                   .request = creation(),
                   .outcome = "no status",
                   .storeMessages = {NOT_STORED, NOT_STORED},
                   .prepare = spoil(STATUS, "set"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "StatusIsAList",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = spoil(STATUS, "list"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "InformationIsAString",
                   .request = creationOf("text", "unknown"),
                   .outcome = "FAILURE",
                   .errors = {CREATION_FAILED},
                   .storeMessages = {NOT_STORED},
                   .prepare = spoil(INFORMATION, "string")},
        HostileRow{.name = "EventCounterIsAString",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = spoil("/redfish/v1/EventService", "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "DefaultsAreAString",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = spoil("webDefaultValue", "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "ScriptDigestsAreAList",
                   .request = creation(),
                   .outcome = "OK",
                   .errors = {"[Error]: Cannot get SHA script resourceChange.", CREATION_FAILED},
                   .prepare = spoil("redisSHAScripts", "list"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "ScriptDigestHasPercentSignsAndBlanks",
                   .request = creation(),
                   .outcome = "OK",
                   .errors = {"[Error]: Failed to generate life cycle event.",
                              "[Error]: NOSCRIPT No matching script. Please use EVAL.",
                              CREATION_FAILED},
                   .prepare = setField("redisSHAScripts", "resourceChange", "%n %s"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "SequenceCounterIsAHash",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = spoil("Array-Member-Sequence-ID", "hash"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "SequenceCounterIsNoNumber",
                   .request = creation(),
                   .outcome = "OK",
                   .prepare = spoil("Array-Member-Sequence-ID", "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    EmptyWords, HostileCreation,
    testing::Values(
        HostileRow{.name = "RequestKeyAndBlank",
                   .request = creation(),
                   .outcome = "no reply, no status",
                   .errors = {"[Error]: Create certificate: request data structure error."},
                   .message = REQUEST + " "},
        HostileRow{.name = "BlankAndStatusKey",
                   .request = creation(),
                   .outcome = "no reply, EXCEPTION " + UNREADABLE,
                   .errors = {"[Error]: Create certificate: request data structure error."},
                   .message = " " + STATUS},
        HostileRow{.name = "BlankAlone",
                   .request = creation(),
                   .outcome = "no reply, no status",
                   .errors = {"[Error]: Create certificate: request data structure error."},
                   .message = " "},
        HostileRow{.name = "PercentSignsAlone",
                   .request = creation(),
                   .outcome = "no reply, no status",
                   .errors = {RECORD_UNREADABLE},
                   .message = "requests/" + PERCENT},
        HostileRow{.name = "MegabyteWithoutBlank",
                   .request = creation(),
                   .outcome = "no reply, no status",
                   .errors = {RECORD_UNREADABLE},
                   .message = "status/" + megabyte()}),
    rowName);

class HostileDeletion : public HostileRoad {};

TEST_P(HostileDeletion, IsAnsweredOrRefusedAndHarmsNothing) {
    run(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, HostileDeletion,
    testing::Values(
        HostileRow{.name = "UriOfAMegabyte",
                   .request = deletion("/c/" + megabyte()),
                   .outcome = "OK_EMPTY",
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        // The collection's URI is empty: the event command is a word short.
        HostileRow{.name = "UriWithoutCollection",
                   .request = deletion("/" + PERCENT),
                   .outcome = "OK_EMPTY",
                   .errors = {"[Error]: Failed to generate life cycle event.",
                              "[Error]: ERR Number of keys can't be greater than number of args",
                              "[Error]: Delete certificate: create certificate error."},
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "RecordOfTenThousandLevels",
                   .request = deletion(CERTIFICATE),
                   .outcome = "OK_EMPTY",
                   .prepare = deep(REQUEST),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "RecordOfAHundredThousandElements",
                   .request = deletion(CERTIFICATE),
                   .outcome = "OK_EMPTY",
                   .prepare = wide(REQUEST, "Further"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "PercentSignsInUriChannelAndKeys",
                   .request = namedBy(deletion("/" + PERCENT + "/" + PERCENT), PERCENT),
                   .outcome = "OK_EMPTY",
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "BlanksAndLineEndsInUriChannelAndKeys",
                   .request = namedBy(deletion("/a b\nc/1"), "a b\r\nc"),
                   .outcome = "OK_EMPTY",
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "UriWithoutSlash",
                   .request = deletion("x"),
                   .outcome = "OK_EMPTY",
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "UriThatIsNotUtf8",
                   .request = deletion("/c/" + NOT_UTF8),
                   .outcome = "OK_EMPTY",
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "RefusalWithPercentSigns",
                   .request = deletion(CERTIFICATE),
                   .outcome = "FAILURE " + PERCENT + " (" + PERCENT + ")",
                   .backendAnswers = R"({"delete":{"code":400,"message":{"MessageId":")" + PERCENT +
                                     R"(","MessageArgs":[")" + PERCENT + R"("]}}})"},
        HostileRow{.name = "RecordThatHoldsItself",
                   .request = deletion(CERTIFICATE),
                   .outcome = "no reply, EXCEPTION " + UNREADABLE,
                   .errors = {"[Error]: Delete certificate: get request data structure failed."},
                   .storeMessages = {holdsItself(REQUEST)},
                   .prepare = setField(REQUEST, "&&Object Self " + REQUEST, "")},
        HostileRow{.name = "RecordIsAString",
                   .request = deletion(CERTIFICATE),
                   .outcome = "no reply, EXCEPTION " + UNREADABLE,
                   .errors = {"[Error]: Delete certificate: get request data structure failed."},
                   .prepare = spoil(REQUEST, "string")},
        HostileRow{.name = "RecordIsASet",
                   .request = deletion(CERTIFICATE),
                   .outcome = "no reply, EXCEPTION " + UNREADABLE,
                   .errors = {"[Error]: Delete certificate: get request data structure failed."},
                   .prepare = spoil(REQUEST, "set")},
        HostileRow{.name = "RecordIsAList",
                   .request = deletion(CERTIFICATE),
                   .outcome = ABORTS,
                   .prepare = spoil(REQUEST, "list")},
        HostileRow{.name = "StatusIsAString",
                   .request = deletion(CERTIFICATE),
                   .outcome = "no status",
                   .storeMessages = {NOT_STORED},
                   .prepare = spoil(STATUS, "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "StatusIsAList",
                   .request = deletion(CERTIFICATE),
                   .outcome = "OK_EMPTY",
                   .prepare = spoil(STATUS, "list"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "EventCounterIsAList",
                   .request = deletion(CERTIFICATE),
                   .outcome = "OK_EMPTY",
                   .prepare = spoil("/redfish/v1/EventService", "list"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "ScriptDigestsAreAString",
                   .request = deletion(CERTIFICATE),
                   .outcome = "OK_EMPTY",
                   .errors = {"[Error]: Cannot get SHA script resourceChange.",
                              "[Error]: Delete certificate: create certificate error."},
                   .prepare = spoil("redisSHAScripts", "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "RequestKeyAndBlank",
                   .request = deletion(CERTIFICATE),
                   .outcome = "no reply, no status",
                   .errors = {"[Error]: Delete certificate: request data structure error."},
                   .message = REQUEST + " "},
        HostileRow{.name = "BlankAndStatusKey",
                   .request = deletion(CERTIFICATE),
                   .outcome = "no reply, EXCEPTION " + UNREADABLE,
                   .errors = {"[Error]: Delete certificate: request data structure error."},
                   .message = " " + STATUS},
        HostileRow{.name = "BlankAlone",
                   .request = deletion(CERTIFICATE),
                   .outcome = "no reply, no status",
                   .errors = {"[Error]: Delete certificate: request data structure error."},
                   .message = " "}),
    rowName);

namespace {

const std::string ACTION_RECORD_UNREADABLE =
    "[Error]: Certificate action: get request data structure failed.";
const std::string ACTION_WITHOUT_KEYS =
    "[Error]: Certificate action: request data structure error.";
const std::string SIGNING_BODY_UNREADABLE = "[Error]: generateCSR: get request data failed.";
const std::string REPLACEMENT_BODY_UNREADABLE =
    "[Error]: ReplaceCertificate: get request data failed.";
const std::string NO_RESOURCE =
    "[Error]: generateCSR: the value of CertificateCollection is not a resource.";
const std::string RSA = R"("KeyPairAlgorithm":"TPM_ALG_RSA")";

FrontEndRequest signingFor(const std::string& collectionUri) {
    return with(signing(""),
                R"({"CertificateCollection":{"@odata.id":")" + collectionUri + R"("}})");
}

FrontEndRequest withTask(FrontEndRequest request, const std::string& taskUri) {
    request.fields["&&Task"] = taskUri;
    return request;
}

std::string notACertificate(const std::string& uri) {
    return "[Error]: ReplaceCertificate: " + uri + " is not a certificate resource.";
}

// Waits until the task's end has been announced; without that the worker may still be at work.
std::function<void(RedisClient&)> taskEnds(const std::string& taskUri, const std::string& word) {
    return [=](RedisClient& client) {
        const std::string key = "&&" + taskUri + "/Result";
        EXPECT_TRUE(waitUntil([&] { return client.hash(key)["&&ReturnStatus"] == word; }));
    };
}

} // namespace

class HostileSigning : public HostileRoad {};

TEST_P(HostileSigning, IsAnsweredOrRefusedAndHarmsNothing) {
    run(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, HostileSigning,
    testing::Values(
        HostileRow{.name = "ParameterOfAMegabyte",
                   .request = signing(R"("City":")" + megabyte() + "\""),
                   .outcome = "OK_RES"},
        HostileRow{.name = "ParameterNameOfAMegabyte",
                   .request = signing("\"" + megabyte() + R"(":"x")"),
                   .outcome = "OK_RES"},
        HostileRow{.name = "CollectionOfAMegabyte",
                   .request = signingFor("/" + megabyte()),
                   .outcome = "FAILURE Base.1.9.ResourceMissingAtURI (/<MiB>)",
                   .errors = {NO_RESOURCE}},
        HostileRow{.name = "ActionOfAMegabyte",
                   .request = aimedAt(signing(""), "/" + megabyte()),
                   .outcome = "FAILURE Base.1.9.ActionNotSupported (/<MiB>)"},
        HostileRow{.name = "RecordOfTenThousandLevels",
                   .request = signing(""),
                   .outcome = "OK_RES",
                   .prepare = deep(REQUEST)},
        HostileRow{.name = "ParameterOfTenThousandLevels",
                   .request = signing(""),
                   .outcome = ABORTS,
                   .prepare = deep(BODY)},
        HostileRow{.name = "ParameterOfAHundredThousandElements",
                   .request = signing(""),
                   .outcome = "OK_RES",
                   .prepare = wide(BODY, "AlternativeNames")},
        HostileRow{.name = "PercentSignsInParametersChannelAndKeys",
                   .request = namedBy(signing("\"" + PERCENT + "\":\"" + PERCENT + "\""), PERCENT),
                   .outcome = "OK_RES"},
        HostileRow{.name = "PercentSignsInCollection",
                   .request = signingFor("/" + PERCENT),
                   .outcome = "FAILURE Base.1.9.ResourceMissingAtURI (/" + PERCENT + ")",
                   .errors = {NO_RESOURCE}},
        HostileRow{.name = "BlanksInCollection",
                   .request = signingFor("/a b/Certificates"),
                   .outcome = ABORTS},
        HostileRow{.name = "PercentSignsInAction",
                   .request = aimedAt(signing(""), PERCENT),
                   .outcome = "FAILURE Base.1.9.ActionNotSupported (" + PERCENT + ")"},
        HostileRow{.name = "PercentSignsInTask",
                   .request = withTask(signing(RSA), "/tasks/" + PERCENT),
                   .outcome = "PROCESSING",
                   .inspect = taskEnds("/tasks/" + PERCENT, "OK_RES")},
        HostileRow{.name = "BlanksAndLineEndsInTask",
                   .request = withTask(signing(RSA), "/tasks/a b\nc"),
                   .outcome = "PROCESSING",
                   .inspect = taskEnds("/tasks/a b\nc", "OK_RES")},
        HostileRow{.name = "BlanksAndLineEndsInChannelAndKeys",
                   .request = namedBy(signing(""), "a b\r\nc"),
                   .outcome = "OK_RES"},
        HostileRow{.name = "ParameterThatIsNotUtf8",
                   .request = signing(""),
                   .outcome = "OK_RES",
                   .prepare = setField(BODY, "City", NOT_UTF8)},
        HostileRow{.name = "ActionThatIsNotUtf8",
                   .request = aimedAt(signing(""), NOT_UTF8),
                   .outcome = "FAILURE Base.1.9.ActionNotSupported ()",
                   .storeMessages = {notText("FF", 0)}},
        HostileRow{.name = "RecordThatHoldsItself",
                   .request = signing(""),
                   .outcome = "no reply, no status",
                   .errors = {ACTION_RECORD_UNREADABLE},
                   .storeMessages = {holdsItself(REQUEST)},
                   .prepare = setField(REQUEST, "&&Object Self " + REQUEST, "")},
        HostileRow{.name = "BodyThatHoldsItself",
                   .request = signing(""),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {SIGNING_BODY_UNREADABLE},
                   .storeMessages = {holdsItself(BODY)},
                   .prepare = setField(BODY, "&&Object Self " + BODY, "")},
        HostileRow{.name = "RecordAndBodyThatHoldEachOther",
                   .request = signing(""),
                   .outcome = "no reply, no status",
                   .errors = {ACTION_RECORD_UNREADABLE},
                   .storeMessages = {holdsItself(REQUEST)},
                   .prepare = nameEachOther},
        HostileRow{.name = "RecordIsAString",
                   .request = signing(""),
                   .outcome = "no reply, no status",
                   .errors = {ACTION_RECORD_UNREADABLE},
                   .prepare = spoil(REQUEST, "string")},
        HostileRow{.name = "RecordIsAList",
                   .request = signing(""),
                   .outcome = ABORTS,
                   .prepare = spoil(REQUEST, "list")},
        HostileRow{.name = "BodyIsASet",
                   .request = signing(""),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {SIGNING_BODY_UNREADABLE},
                   .prepare = spoil(BODY, "set")},
        HostileRow{.name = "BodyIsAList",
                   .request = signing(""),
                   .outcome = ABORTS,
                   .prepare = spoil(BODY, "list")},
        HostileRow{.name = "CollectionIsAString",
                   .request = signing(""),
                   .outcome = "FAILURE Base.1.9.ResourceMissingAtURI (" + COLLECTION + ")",
                   .errors = {NO_RESOURCE},
                   .prepare = spoil(COLLECTION, "string")},
        HostileRow{.name = "CollectionIsAList",
                   .request = signing(""),
                   .outcome = "FAILURE Base.1.9.ResourceMissingAtURI (" + COLLECTION + ")",
                   .errors = {NO_RESOURCE},
                   .prepare = spoil(COLLECTION, "list")},
        HostileRow{.name = "StatusIsAString",
                   .request = signing(""),
                   .outcome = "no status",
                   .storeMessages = {NOT_STORED, NOT_STORED},
                   .prepare = spoil(STATUS, "string")},
        HostileRow{.name = "ResponseIsASet",
                   .request = signing(""),
                   .outcome = "OK_RES",
                   .storeMessages = {NOT_STORED, NOT_STORED},
                   .prepare = spoil(STATUS + "/ResponseData", "set")},
        HostileRow{.name = "TaskResultIsAList",
                   .request = signing(RSA),
                   .outcome = "PROCESSING",
                   .prepare = spoil("&&/tasks/1/Result", "list"),
                   .inspect = taskEnds("/tasks/1", "OK_RES")},
        HostileRow{
            .name = "TaskResultIsAString",
            .request = signing(RSA),
            .outcome = "PROCESSING",
            .storeMessages = {NOT_STORED, NOT_STORED},
            .prepare = spoil("&&/tasks/1/Result", "string"),
            .inspect =
                [](RedisClient& client) {
                    EXPECT_TRUE(waitUntil([&] {
                        return client.command("EXISTS", "&&/tasks/1/ExtendedInfo").integer == 1;
                    }));
                    EXPECT_EQ(client.command("GET", "&&/tasks/1/Result").text, "kept");
                }},
        HostileRow{.name = "RequestKeyAndBlank",
                   .request = signing(""),
                   .outcome = "no reply, no status",
                   .errors = {ACTION_WITHOUT_KEYS},
                   .message = REQUEST + " "},
        HostileRow{.name = "BlankAndStatusKey",
                   .request = signing(""),
                   .outcome = "no reply, no status",
                   .errors = {ACTION_WITHOUT_KEYS},
                   .message = " " + STATUS},
        HostileRow{.name = "BlankAlone",
                   .request = signing(""),
                   .outcome = "no reply, no status",
                   .errors = {ACTION_WITHOUT_KEYS},
                   .message = " "}),
    rowName);

class HostileReplacement : public HostileRoad {};

TEST_P(HostileReplacement, IsAnsweredOrRefusedAndHarmsNothing) {
    run(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, HostileReplacement,
    testing::Values(
        HostileRow{.name = "TextOfAMegabyte",
                   .request = with(replacement(""), R"({"CertificateUri":{"@odata.id":")" +
                                                        CERTIFICATE +
                                                        R"("},"CertificateString":")" + megabyte() +
                                                        R"(","CertificateType":"PEM"})"),
                   .outcome = "OK_RES",
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "TypeOfAMegabyte",
                   .request = with(replacement(""),
                                   R"({"CertificateUri":{"@odata.id":")" + CERTIFICATE +
                                       R"("},"CertificateString":"x","CertificateType":")" +
                                       megabyte() + "\"}"),
                   .outcome = NOT_IN_LIST + "(<MiB>, CertificateType)"},
        HostileRow{.name = "CertificateOfAMegabyte",
                   .request = replacement("/" + megabyte()),
                   .outcome = "FAILURE Base.1.9.ResourceMissingAtURI (/<MiB>)",
                   .errors = {notACertificate("/<MiB>")}},
        HostileRow{.name = "BodyOfTenThousandLevels",
                   .request = replacement(CERTIFICATE),
                   .outcome = "OK_RES",
                   .prepare = deep(BODY),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "BodyOfAHundredThousandElements",
                   .request = replacement(CERTIFICATE),
                   .outcome = "OK_RES",
                   .prepare = wide(BODY, "Further"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "PercentSignsInCertificate",
                   .request = namedBy(replacement("/" + PERCENT), PERCENT),
                   .outcome = "FAILURE Base.1.9.ResourceMissingAtURI (/" + PERCENT + ")",
                   .errors = {notACertificate("/" + PERCENT)}},
        // A reference to a URI with a blank is none, so that the body has no "CertificateUri".
        HostileRow{
            .name = "BlanksInCertificate", .request = replacement("/a b/c"), .outcome = ABORTS},
        HostileRow{.name = "BlanksAndLineEndsInChannelAndKeys",
                   .request = namedBy(replacement(CERTIFICATE), "a b\r\nc"),
                   .outcome = "OK_RES",
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "TextThatIsNotUtf8",
                   .request = replacement(CERTIFICATE),
                   .outcome = "OK_RES",
                   .prepare = setField(BODY, "CertificateString", NOT_UTF8),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "TypeThatIsNotUtf8",
                   .request = replacement(CERTIFICATE),
                   .outcome = NOT_IN_LIST + "(CertificateType)",
                   .storeMessages = {notText("FF", 0)},
                   .prepare = setField(BODY, "CertificateType", NOT_UTF8)},
        HostileRow{.name = "BodyThatHoldsItself",
                   .request = replacement(CERTIFICATE),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {REPLACEMENT_BODY_UNREADABLE},
                   .storeMessages = {holdsItself(BODY)},
                   .prepare = setField(BODY, "&&Object Self " + BODY, "")},
        HostileRow{.name = "BodyIsAString",
                   .request = replacement(CERTIFICATE),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {REPLACEMENT_BODY_UNREADABLE},
                   .prepare = spoil(BODY, "string")},
        HostileRow{.name = "BodyIsAList",
                   .request = replacement(CERTIFICATE),
                   .outcome = ABORTS,
                   .prepare = spoil(BODY, "list")},
        HostileRow{.name = "CertificateIsAString",
                   .request = replacement(CERTIFICATE),
                   .outcome = "FAILURE Base.1.9.ResourceMissingAtURI (" + CERTIFICATE + ")",
                   .errors = {notACertificate(CERTIFICATE)},
                   .prepare = spoil(CERTIFICATE, "string")},
        HostileRow{.name = "TypesAreASet",
                   .request = replacement(CERTIFICATE),
                   .outcome = NOT_IN_LIST + "(PEM, CertificateType)",
                   .prepare = spoil("&&" + COLLECTION + "/@Redfish.SupportedCertificates", "set")},
        HostileRow{.name = "StatusIsAString",
                   .request = replacement(CERTIFICATE),
                   .outcome = "no status",
                   .prepare = spoil(STATUS, "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "EventCounterIsAString",
                   .request = replacement(CERTIFICATE),
                   .outcome = "OK_RES",
                   .prepare = spoil("/redfish/v1/EventService", "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS},
        HostileRow{.name = "ScriptDigestsAreAString",
                   .request = replacement(CERTIFICATE),
                   .outcome = "EXCEPTION " + UNREADABLE,
                   .errors = {"[Error]: Cannot get SHA script resourceChange.",
                              "[Error]: Failed to generate event."},
                   .prepare = spoil("redisSHAScripts", "string"),
                   .touches = Touches::COLLECTION_AND_LOCATIONS}),
    rowName);
