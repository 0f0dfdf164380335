// Raising resource events through the event service's script.

#include "core/logger.h"
#include "requests/resource_events.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/output_capture.h"

#include <unistd.h>

namespace {

const std::vector<std::string> TWO_TEXTS = {"a", "b"};

class ResourceEvents : public RequestFixture {
protected:
    int runScript(const std::vector<std::string>& arguments = TWO_TEXTS) {
        return runResourceChangeScript(context(), arguments, gLogger);
    }
};

TEST_F(ResourceEvents, ComeInGroupsOfFiveTexts) {
    const std::string id = "4294967295";
    EXPECT_EQ(memberEventArguments("add", "/c/1", "/c", 4294967295),
              (std::vector<std::string>{
                  "add", "/c/1", "Certificate", "EventGroupId", id,            //
                  "change", "/c", "CertificateCollection", "EventGroupId", id, //
                  "change", LOCATIONS, "CertificateLocations", "EventGroupId", id}));
    EXPECT_EQ(replacementEventArguments("/c/1", 4294967295),
              (std::vector<std::string>{"change", "/c/1", "Certificate", "EventGroupId", id}));
}

// The lines of a configuration that leave events on.
class EventsOn : public ResourceEvents,
                 public testing::WithParamInterface<std::map<std::string, std::string>> {};

TEST_P(EventsOn, AreRaised) {
    configure(GetParam());
    loadEventScript();
    EXPECT_EQ(commandsOf([this] { EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1); }),
              "HGET redisSHAScripts resourceChange\nEVALSHA " + loadEventScript() + " 2 a b\n");
    EXPECT_EQ(log(), EVENTS_ON_LINE);
}

std::map<std::string, std::string> setting(const std::string& value) {
    return {{"GenerateResourceEvent", value}};
}

INSTANTIATE_TEST_SUITE_P(With, EventsOn,
                         testing::Values(std::map<std::string, std::string>(), setting(""),
                                         setting("no"), setting("0"), setting("FALSE"),
                                         setting("falsehood"), setting("true")));

TEST_F(ResourceEvents, AreOnWithoutConfigurationFile) {
    loadEventScript();
    ASSERT_EQ(unlink("/usr/local/etc/nginx/CertificateService.conf"), 0);
    EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1);
    EXPECT_EQ(log(), EVENTS_ON_LINE);
}

TEST_F(ResourceEvents, SendNothingWhenSetToFalse) {
    configure({{"GenerateResourceEvent", "false"}});
    EXPECT_EQ(commandsOf([this] {
                  EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1);
                  EXPECT_EQ(generateResourceEvent(context(), {}), 1);
              }),
              "");
    EXPECT_EQ(log(), "[Debug]: CertificateService will not generate events when resource is "
                     "created/updated/removed.\n");
}

TEST_F(ResourceEvents, ReadTheirSettingOnce) {
    loadEventScript();
    EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1);
    configure({{"GenerateResourceEvent", "false"}});
    EXPECT_NE(commandsOf([this] { EXPECT_EQ(generateResourceEvent(context(), TWO_TEXTS), 1); }),
              "");
    EXPECT_EQ(log(), "");
}

TEST_F(ResourceEvents, PassTheirTextsAsKeys) {
    loadEventScript("return redis.call('RPUSH', 'seen', unpack(KEYS))");
    const std::vector<std::string> texts = {"add", "/c/%s%n%d%%/1%", "Certificate"};
    EXPECT_EQ(runScript(texts), 1);
    EXPECT_EQ(client.list("seen"), texts);
    EXPECT_EQ(log(), "");
}

TEST_F(ResourceEvents, AreNoneWithFewerThanTwoTexts) {
    loadEventScript();
    EXPECT_EQ(commandsOf([this] {
                  EXPECT_EQ(runScript({}), 0);
                  EXPECT_EQ(runScript({"add"}), 0);
              }),
              "");
    EXPECT_EQ(log(), "");
}

TEST_F(ResourceEvents, FailWithoutADigest) {
    EXPECT_EQ(commandsOf([this] { EXPECT_EQ(runScript(), 0); }),
              "HGET redisSHAScripts resourceChange\n");
    EXPECT_EQ(log(), "[Error]: Cannot get SHA script resourceChange.\n");
}

TEST_F(ResourceEvents, FailWithTheServersTextWhenTheScriptIsUnknown) {
    client.command("HSET", "redisSHAScripts", "resourceChange", std::string(40, '0'));
    EXPECT_EQ(runScript(), 0);
    EXPECT_EQ(log(), "[Error]: Failed to generate life cycle event.\n"
                     "[Error]: NOSCRIPT No matching script. Please use EVAL.\n");
}

TEST_F(ResourceEvents, SucceedOnlyWithAnInteger) {
    const std::string failed = "[Error]: Failed to generate life cycle event.";
    const std::string unknown = failed + " (Unknown error)\n";
    struct Row {
        std::string script;
        int result;
        std::string log;
    };
    const std::vector<Row> table = {
        {"return 0", 1, ""},
        {"return -1", 1, ""},
        {"return 15", 1, ""},
        // Percent signs of the event service are no format.
        {"return redis.error_reply('E 100%s %n %')", 0, failed + "\n[Error]: E 100%s %n %\n"},
        {"return {'code', 'Queue is 100%s full'}", 0, failed + "\n[Error]: Queue is 100%s full\n"},
        {"return {1, 2}", 0, failed + "\n[Error]: \n"},
        {"return 'text'", 0, unknown},
        {"return nil", 0, unknown},
        {"return {}", 0, unknown},
        {"return {'one'}", 0, unknown},
        {"return {1, 2, 3}", 0, unknown},
        {"return redis.status_reply('OK')", 0, unknown},
    };
    for (const Row& row : table) {
        configure();
        loadEventScript(row.script);
        EXPECT_EQ(runScript(), row.result) << row.script;
        EXPECT_EQ(log(), row.log) << row.script;
    }
}

TEST_F(ResourceEvents, FailSilentlyWhenTheConnectionIsLost) {
    loadEventScript();
    const RedisProxy proxy(server, answerOnce({"EVALSHA"}, CLOSE_CONNECTION));
    EXPECT_EQ(runResourceChangeScript(proxy.context(), TWO_TEXTS, gLogger), 0);
    EXPECT_EQ(log(), "");
}

TEST_F(ResourceEvents, FailOnStandardErrorWithoutALogger) {
    loadEventScript("return redis.error_reply('EVENT 100%s')");
    const OutputCapture errors(2);
    EXPECT_EQ(runResourceChangeScript(context(), TWO_TEXTS, nullptr), 0);
    EXPECT_EQ(errors.text(), "[Error] Failed to generate life cycle event.\n"
                             "[Error] EVENT 100%s\n");
}

} // namespace
