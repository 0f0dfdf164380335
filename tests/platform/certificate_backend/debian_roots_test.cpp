// The roots that the world's servers are judged by, as Debian ships them.

#include "tests/platform/certificate_backend/backend_fixture.h"

#include <filesystem>
#include <iostream>
#include <map>

using DebianRoots = CertificateBackend;

TEST_F(DebianRoots, GoIntoACollectionOfTrust) {
    surroundings.clock = systemClock();
    std::map<std::string, int> refusals;
    int accepted = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator("/usr/share/ca-certificates/mozilla")) {
        const std::string id = entry.path().stem();
        const CreateCertResult result = create(readFile(entry.path()), "PEM", TRUSTED, id);
        if (result.code == 200) {
            ++accepted;
            EXPECT_FALSE(result.subject.empty()) << id;
            EXPECT_FALSE(result.validNotAfter.empty()) << id;
            continue;
        }
        ASSERT_EQ(result.code, 400) << id;
        const std::string& phrase = result.message.MessageArgs.at(0);
        EXPECT_NE(phrase.find("expired at "), std::string::npos) << id << ": " << phrase;
        ++refusals["expired"];
    }
    std::cout << accepted << " roots accepted\n";
    for (const auto& [phrase, count] : refusals) {
        std::cout << count << " refused: " << phrase << "\n";
    }
    EXPECT_GT(accepted, 100);
    EXPECT_EQ(filesIn("installed").size(), static_cast<std::size_t>(accepted));
}
