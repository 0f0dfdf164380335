// Raising resource events through the event service's script, and closing a replacement.

#include "core/logger.h"
#include "requests/resource_events.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

namespace {

const std::string ON_LINE = "[Debug]: CertificateService will generate events when resource is "
                            "created/updated/removed.\n";
const std::string OFF_LINE = "[Debug]: CertificateService will not generate events when resource "
                             "is created/updated/removed.\n";
const std::vector<std::string> TWO_TEXTS = {"a", "b"};

class ResourceEvents : public RequestFixture {
protected:
    int runScript(const std::vector<std::string>& arguments = TWO_TEXTS) {
        return runResourceChangeScript(context(), arguments, gLogger);
    }
};

TEST_F(ResourceEvents, CreationTellsOfCertificateCollectionAndLocations) {
    EXPECT_EQ(memberEventArguments("add", "/c/1", "/c", 4294967295),
              (std::vector<std::string>{"add", "/c/1", "Certificate", "EventGroupId", "4294967295",
                                        "change", "/c", "CertificateCollection", "EventGroupId",
                                        "4294967295", "change", LOCATIONS, "CertificateLocations",
                                        "EventGroupId", "4294967295"}));
}

TEST_F(ResourceEvents, EventsAreOnWithoutSetting) {
    loadEventScript();
    EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1);
    EXPECT_EQ(log(), ON_LINE);
}

TEST_F(ResourceEvents, EventsAreOnWithoutConfigurationFile) {
    loadEventScript();
    writeFile("/usr/local/etc/nginx/CertificateService.conf", "");
    EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1);
    EXPECT_EQ(log(), ON_LINE);
}

class OtherEventSetting : public ResourceEvents, public testing::WithParamInterface<const char*> {};

TEST_P(OtherEventSetting, MeansOn) {
    configure({{"GenerateResourceEvent", GetParam()}});
    loadEventScript();
    CommandMonitor monitor(server);
    EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1);
    EXPECT_EQ(monitor.commands().size(), 2U);
    EXPECT_EQ(log(), ON_LINE);
}

INSTANTIATE_TEST_SUITE_P(Values, OtherEventSetting,
                         testing::Values("", "no", "0", "FALSE", "False", "falsehood", "true"));

TEST_F(ResourceEvents, SettingFalseSendsNothing) {
    configure({{"GenerateResourceEvent", "false"}});
    CommandMonitor monitor(server);
    EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1);
    EXPECT_EQ(generateResourceEvent(context(), {}), 1);
    EXPECT_EQ(describeCommands(monitor.commands()), "");
    EXPECT_EQ(log(), OFF_LINE);
}

TEST_F(ResourceEvents, SettingIsReadOnce) {
    loadEventScript();
    EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1);
    configure({{"GenerateResourceEvent", "false"}});
    CommandMonitor monitor(server);
    EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1);
    EXPECT_EQ(monitor.commands().size(), 2U);
    EXPECT_EQ(log(), "");
}

TEST_F(ResourceEvents, TextsArePassedAsKeys) {
    const std::string digest = loadEventScript("return redis.call('RPUSH', 'seen', unpack(KEYS))");
    CommandMonitor monitor(server);
    EXPECT_EQ(runScript({"add", "/c/1", "Certificate", "EventGroupId", "7"}), 1);
    const Commands commands = monitor.commandsNotFrom("lua");
    EXPECT_EQ(describeCommands(commands), "HGET redisSHAScripts resourceChange\n"
                                          "EVALSHA " +
                                              digest + " 5 add /c/1 Certificate EventGroupId 7\n");
    EXPECT_EQ(client.list("seen"),
              (std::vector<std::string>{"add", "/c/1", "Certificate", "EventGroupId", "7"}));
    EXPECT_EQ(log(), "");
}

TEST_F(ResourceEvents, PercentSignsArriveAsTheyAre) {
    loadEventScript("return redis.call('RPUSH', 'seen', unpack(KEYS))");
    EXPECT_EQ(runScript({"add", "/c/%s%n%d%%/1%"}), 1);
    EXPECT_EQ(client.list("seen"), (std::vector<std::string>{"add", "/c/%s%n%d%%/1%"}));
}

TEST_F(ResourceEvents, FewerThanTwoTextsAreNoEvent) {
    loadEventScript();
    CommandMonitor monitor(server);
    EXPECT_EQ(runScript({}), 0);
    EXPECT_EQ(runScript({"add"}), 0);
    EXPECT_EQ(describeCommands(monitor.commands()), "");
    EXPECT_EQ(log(), "");
}

TEST_F(ResourceEvents, MissingDigestIsLogged) {
    CommandMonitor monitor(server);
    EXPECT_EQ(runScript(), 0);
    EXPECT_EQ(describeCommands(monitor.commands()), "HGET redisSHAScripts resourceChange\n");
    EXPECT_EQ(log(), "[Error]: Cannot get SHA script resourceChange.\n");
}

TEST_F(ResourceEvents, UnknownScriptIsLoggedWithTheServersText) {
    client.command("HSET", "redisSHAScripts", "resourceChange",
                   "0123456789012345678901234567890123456789");
    EXPECT_EQ(runScript(), 0);
    EXPECT_EQ(log(), "[Error]: Failed to generate life cycle event.\n"
                     "[Error]: NOSCRIPT No matching script. Please use EVAL.\n");
}

TEST_F(ResourceEvents, ErrorTextWithPercentSignsIsLoggedLiterally) {
    loadEventScript("return redis.error_reply('EVENT 100%s %n full%')");
    EXPECT_EQ(runScript(), 0);
    EXPECT_EQ(log(), "[Error]: Failed to generate life cycle event.\n"
                     "[Error]: EVENT 100%s %n full%\n");
}

TEST_F(ResourceEvents, ArrayOfTwoIsTheScriptsOwnFailure) {
    loadEventScript("return {'code', 'Queue is 100%s full'}");
    EXPECT_EQ(runScript(), 0);
    EXPECT_EQ(log(), "[Error]: Failed to generate life cycle event.\n"
                     "[Error]: Queue is 100%s full\n");
}

TEST_F(ResourceEvents, ArrayOfTwoWithoutTextLogsAnEmptyLine) {
    loadEventScript("return {1, 2}");
    EXPECT_EQ(runScript(), 0);
    EXPECT_EQ(log(), "[Error]: Failed to generate life cycle event.\n"
                     "[Error]: \n");
}

TEST_F(ResourceEvents, AnyIntegerIsSuccess) {
    for (const std::string script : {"return 0", "return -1", "return 15"}) {
        loadEventScript(script);
        EXPECT_EQ(runScript(), 1) << script;
    }
    EXPECT_EQ(log(), "");
}

class UnknownScriptReply : public ResourceEvents,
                           public testing::WithParamInterface<const char*> {};

TEST_P(UnknownScriptReply, IsLogged) {
    loadEventScript(GetParam());
    EXPECT_EQ(runScript(), 0);
    EXPECT_EQ(log(), "[Error]: Failed to generate life cycle event. (Unknown error)\n");
}

INSTANTIATE_TEST_SUITE_P(Replies, UnknownScriptReply,
                         testing::Values("return 'text'", "return nil", "return {}",
                                         "return {'one'}", "return {1, 2, 3}",
                                         "return redis.status_reply('OK')"));

TEST_F(ResourceEvents, LostConnectionIsSilent) {
    loadEventScript();
    const RedisProxy proxy(server, answerOnce({"EVALSHA"}, CLOSE_CONNECTION));
    EXPECT_EQ(runResourceChangeScript(proxy.context(), TWO_TEXTS, gLogger), 0);
    EXPECT_EQ(log(), "");
}

TEST_F(ResourceEvents, WithoutLoggerFailuresGoToStandardError) {
    loadEventScript("return redis.error_reply('EVENT 100%s')");
    const OutputCapture errors(2);
    EXPECT_EQ(runResourceChangeScript(context(), TWO_TEXTS, nullptr), 0);
    EXPECT_EQ(errors.text(), "[Error] Failed to generate life cycle event.\n"
                             "[Error] EVENT 100%s\n");
}

class FinishReplace : public ResourceEvents {
protected:
    static CreateCertResult resultWithKey(const std::string& privateKeyValue) {
        CreateCertResult result;
        result.code = 200;
        result.privateKeyValue = privateKeyValue;
        return result;
    }
};

TEST_F(FinishReplace, RecordsTheKeyRaisesTheEventAndAnswers) {
    const std::string digest = loadEventScript();
    CommandMonitor monitor(server);
    finishCertificateReplace(context(), "/c/1", resultWithKey("keys/2"), "q/42");
    EXPECT_EQ(describeCommands(monitor.commands()),
              "HINCRBY /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 1\n"
              "HGET webDefaultValue MAX_EVENT_GROUP_ID\n"
              "HSET /c/1 &&CertPrivateKey keys/2\n"
              "HGET redisSHAScripts resourceChange\n"
              "EVALSHA " +
                  digest +
                  " 5 change /c/1 Certificate EventGroupId 1\n"
                  "HSET q/42 &&ReturnStatus OK_RES\n"
                  "HSET q/42 &&Location /c/1\n");
}

TEST_F(FinishReplace, RemovesTheKeyOfACertificateWithoutOne) {
    const std::string digest = loadEventScript();
    client.command("HSET", "/c/1", "&&CertPrivateKey", "keys/1", "Id", "\"1\"");
    CommandMonitor monitor(server);
    finishCertificateReplace(context(), "/c/1", resultWithKey(""), "q/42");
    EXPECT_EQ(monitor.commands().at(2), (Command{"HDEL", "/c/1", "&&CertPrivateKey"}));
    EXPECT_EQ(client.hash("/c/1"), (std::map<std::string, std::string>{{"Id", "\"1\""}}));
    EXPECT_EQ(answer("q/42"), "OK_RES");
}

TEST_F(FinishReplace, StatusFieldsAreAddedToWhatIsThere) {
    loadEventScript();
    client.command("HSET", "q/42", "&&Other", "kept");
    finishCertificateReplace(context(), "/c/1", resultWithKey("keys/2"), "q/42");
    EXPECT_EQ(client.hash("q/42"),
              (std::map<std::string, std::string>{
                  {"&&Location", "/c/1"}, {"&&Other", "kept"}, {"&&ReturnStatus", "OK_RES"}}));
}

TEST_F(FinishReplace, FailedKeyRecordIsIgnored) {
    loadEventScript();
    client.command("SET", "/c/1", "no hash");
    finishCertificateReplace(context(), "/c/1", resultWithKey("keys/2"), "q/42");
    EXPECT_EQ(answer("q/42"), "OK_RES");
}

TEST_F(FinishReplace, FailedEventIsAnException) {
    client.command("HSET", "q/42", "&&Other", "gone");
    finishCertificateReplace(context(), "/c/1", resultWithKey("keys/2"), "q/42");
    EXPECT_EQ(answer("q/42"), "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()");
    EXPECT_EQ(client.hash("q/42").count("&&Other"), 0U);
    EXPECT_EQ(client.hash("/c/1").at("&&CertPrivateKey"), "keys/2");
    EXPECT_GT(client.command("TTL", "q/ExtendedInfo").integer, 0);
    EXPECT_EQ(log(), "[Debug]: Max EventGroupId value type error stoi\n" + ON_LINE +
                         "[Error]: Cannot get SHA script resourceChange.\n"
                         "[Error]: Failed to generate event.\n");
}

TEST_F(FinishReplace, WithEventsOffItAnswersAllTheSame) {
    configure({{"GenerateResourceEvent", "false"}});
    finishCertificateReplace(context(), "/c/1", resultWithKey("keys/2"), "q/42");
    EXPECT_EQ(client.hash("q/42"), (std::map<std::string, std::string>{
                                       {"&&Location", "/c/1"}, {"&&ReturnStatus", "OK_RES"}}));
}

} // namespace
