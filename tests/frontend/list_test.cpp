// list and show.

#include "tests/frontend/front_end_program.h"
#include "tests/support/child_process.h"
#include "tests/support/request.h"

#include <ctime>

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::time_t HOUR = 3600;
constexpr std::time_t DAY = 24 * HOUR;

// The moment so many seconds from now, as a resource shows it.
std::string timeFromNow(std::time_t seconds) {
    const std::time_t moment = std::time(nullptr) + seconds;
    std::tm utc{};
    (void)gmtime_r(&moment, &utc);
    std::string text(32, '\0');
    text.resize(std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc));
    return text;
}

// Certificates as a front end finds them in Redis, without a daemon.
class Listing : public FrontEndTest {
protected:
    void store(const std::string& uri, const std::string& commonName, const std::string& expiry) {
        const json resource = {{"@odata.type", "#Certificate.v1_2_2.Certificate"},
                               {"Subject", {{"CommonName", commonName}, {"Country", "DE"}}},
                               {"Issuer", {{"CommonName", "Root"}}},
                               {"ValidNotBefore", "2020-01-01T00:00:00Z"},
                               {"ValidNotAfter", expiry},
                               {"CertificateType", "PEM"},
                               {"KeyUsage", json::array()},
                               {"SerialNumber", "0a:0b"}};
        storeResource(client, uri, resource.dump());
        client.command("LPUSH", "&&" + uri.substr(0, uri.rfind('/')) + "/Members",
                       "&&ObjectRef " + uri);
        client.command("LPUSH", "&&" + LOCATIONS + "/Links/Certificates", "&&ObjectRef " + uri);
    }

    // One that has expired, one that soon will, and one that is good for long.
    void storeThree() {
        store(COLLECTION + "/1", "gone", expired);
        store(COLLECTION + "/2", "Grüße", soon);
        store(COLLECTION + "/10", "good", late);
    }

    const std::string expired = timeFromNow(-HOUR);
    const std::string soon = timeFromNow(5 * DAY + HOUR);
    const std::string late = timeFromNow(400 * DAY + HOUR);
};

std::vector<std::string> commonNames(const ProgramResult& result) {
    std::vector<std::string> names;
    for (const json& listed : result.json()) {
        names.push_back(listed["subject"]);
    }
    return names;
}

TEST_F(Listing, TheCertificatesStandInATableWithTheDaysLeftToThem) {
    storeThree();
    const std::string rest = "  CN=Root  ";
    EXPECT_EQ(runFrontEnd({"list"}),
              (ProgramResult{0,
                             "CERTIFICATE" + std::string(COLLECTION.size() - 6, ' ') +
                                 "SUBJECT         ISSUER   EXPIRES     DAYS LEFT\n" + COLLECTION +
                                 "/1   CN=gone, C=DE " + rest + expired.substr(0, 10) +
                                 "  expired\n" + COLLECTION + "/2   CN=Grüße, C=DE" + rest +
                                 soon.substr(0, 10) + "  5\n" + COLLECTION + "/10  CN=good, C=DE " +
                                 rest + late.substr(0, 10) + "  400\n",
                             ""}));
}

TEST_F(Listing, ACertificateIsListedAsJson) {
    store(COLLECTION + "/1", "gone", expired);
    const json wanted = json::array({{{"uri", COLLECTION + "/1"},
                                      {"subject", "CN=gone, C=DE"},
                                      {"issuer", "CN=Root"},
                                      {"expires", expired},
                                      {"daysLeft", -1}}});
    EXPECT_EQ(runFrontEnd({"list", "--json"}).json(), wanted);
}

TEST_F(Listing, OneCollectionIsListedAlone) {
    EXPECT_EQ(runFrontEnd({"init", "--collection", "/a/Certificates"}).status, 0);
    store(COLLECTION + "/1", "one", late);
    store("/a/Certificates/1", "other", late);
    const auto both = commonNames(runFrontEnd({"list", "--json"}));
    EXPECT_THAT(both, ElementsAre("CN=other, C=DE", "CN=one, C=DE"));
    const auto other = commonNames(runFrontEnd({"list", "/a/Certificates/", "--json"}));
    EXPECT_THAT(other, ElementsAre("CN=other, C=DE"));
}

TEST_F(Listing, ExpiringCertificatesAreToldByAnExitCodeOfTheirOwn) {
    storeThree();
    struct Row {
        const char* days;
        int status;
        std::size_t count;
    };
    for (const Row& row : {Row{"0", 6, 1}, Row{"5", 6, 1}, Row{"6", 6, 2}, Row{"1000", 6, 3}}) {
        const ProgramResult result = runFrontEnd({"list", "--expiring", row.days, "--json"});
        EXPECT_EQ(result.status, row.status) << row.days;
        EXPECT_EQ(result.json().size(), row.count) << row.days;
    }
}

TEST_F(Listing, WithoutExpiringCertificatesTheExitCodeIsZero) {
    store(COLLECTION + "/1", "good", late);
    EXPECT_EQ(runFrontEnd({"list", "--expiring", "399"}),
              (ProgramResult{0, "There is no such certificate.\n", ""}));
    EXPECT_EQ(runFrontEnd({"list", "--expiring", "399", "--json"}).json(), json::array());
}

TEST_F(Listing, AnExpiryThatCannotBeReadCountsAsExpiring) {
    store(COLLECTION + "/1", "odd", "in spring");
    client.command("LPUSH", "&&" + COLLECTION + "/Members", "&&ObjectRef " + COLLECTION + "/2");
    const ProgramResult result = runFrontEnd({"list", "--expiring", "1"});
    EXPECT_EQ(result.status, 6);
    EXPECT_THAT(result.output, HasSubstr(COLLECTION + "/1  CN=odd, C=DE  CN=Root  unknown  "
                                                      "unknown\n"));
    EXPECT_THAT(result.output, HasSubstr("\n" + COLLECTION + "/2 "));
}

TEST_F(Listing, ACollectionThatIsNotThereIsReportedWithWhatSetsItUp) {
    EXPECT_EQ(
        runFrontEnd({"list", "/a/Certificates"}),
        (ProgramResult{1, "",
                       "certificatectl: There is no certificate collection at "
                       "/a/Certificates.\n"
                       "  `certificatectl init --collection /a/Certificates` sets it up.\n"}));
}

TEST_F(Listing, OnATerminalRowsAreColouredByTheirExpiry) {
    storeThree();
    ChildProcessOptions options;
    options.arguments = {"script", "-qec", std::string(FRONT_END_PROGRAM) + " list", "/dev/null"};
    options.outputFile = directory.file("screen");
    EXPECT_EQ(ChildProcess(options).waitForExit(60), 0);
    const std::string screen = readFile(options.outputFile);
    EXPECT_THAT(screen, HasSubstr("\033[31m" + COLLECTION + "/1 "));
    EXPECT_THAT(screen, HasSubstr("\033[33m" + COLLECTION + "/2 "));
    EXPECT_THAT(screen, HasSubstr("\n" + COLLECTION + "/10 "));
}

TEST_F(Listing, ACertificateOfTheDaemonIsShownInWords) {
    startDaemon();
    const std::string uri = install(identity());
    const ProgramResult result = runFrontEnd({"show", uri});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, testing::StartsWith(uri + "\n"
                                                         "  subject     CN=a.example\n"
                                                         "  issuer      CN=a.example\n"));
    EXPECT_EQ(runFrontEnd({"show", uri, "--json"}).json(), runFrontEnd({"get", uri}).json());
}

TEST_F(Listing, EverythingKnownOfACertificateIsShown) {
    store(COLLECTION + "/1", "gone", expired);
    EXPECT_EQ(runFrontEnd({"show", COLLECTION + "/1"}).output,
              COLLECTION +
                  "/1\n"
                  "  subject     CN=gone, C=DE\n"
                  "  issuer      CN=Root\n"
                  "  valid       2020-01-01T00:00:00Z to " +
                  expired +
                  "\n"
                  "  key usage   (not restricted)\n"
                  "  type        PEM\n"
                  "  serial      0a:0b\n"
                  "  expires     has expired\n");
}

TEST_F(Listing, TheDaysLeftAreToldAsASentenceWould) {
    const std::vector<std::pair<std::time_t, std::string>> rows = {{-HOUR, "has expired"},
                                                                   {HOUR, "within a day"},
                                                                   {DAY + HOUR, "in 1 day"},
                                                                   {9 * DAY + HOUR, "in 9 days"}};
    for (const auto& [seconds, text] : rows) {
        store("/x/Certificates/1", "a", timeFromNow(seconds));
        EXPECT_THAT(runFrontEnd({"show", "/x/Certificates/1"}).output,
                    HasSubstr("\n  expires     " + text + "\n"));
    }
}

TEST_F(Listing, OnlyCertificatesAreShownInWords) {
    EXPECT_EQ(runFrontEnd({"show", "/nowhere"}),
              (ProgramResult{1, "",
                             "certificatectl: There is no resource at /nowhere.\n"
                             "  `certificatectl list` names the certificates.\n"}));
    EXPECT_EQ(runFrontEnd({"show", COLLECTION}),
              (ProgramResult{1, "",
                             "certificatectl: The resource at " + COLLECTION +
                                 " is no certificate.\n  `certificatectl get " + COLLECTION +
                                 "` shows it as JSON.\n"}));
}

} // namespace
