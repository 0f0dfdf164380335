// A board's own backend takes the place of the reference one without a rebuild.

#include "tests/support/temp_files.h"
#include "tests/system/request_road.h"

#include <array>
#include <cstdio>
#include <memory>

namespace {

using BackendSwap = RequestRoad;

std::string outputOf(const std::string& shellCommand) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(shellCommand.c_str(), "r"), pclose);
    std::string output;
    std::array<char, 4096> buffer{};
    while (pipe && std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) {
        output += buffer.data();
    }
    return output;
}

TEST_F(BackendSwap, DaemonLinksTheThreeLibrariesDynamically) {
    const std::string dynamic = outputOf("readelf -d '" + daemonProgram() + "'");
    for (const std::string library : {"libcertificate_backend.so.1",
                                      "libservice_configuration.so.1", "libdata_decryption.so.1"}) {
        EXPECT_NE(dynamic.find("(NEEDED)             Shared library: [" + library + "]"),
                  std::string::npos)
            << dynamic;
    }
    // Unlike DT_RPATH this leaves LD_LIBRARY_PATH the first word.
    EXPECT_EQ(dynamic.find("(RPATH)"), std::string::npos) << dynamic;
}

TEST_F(BackendSwap, DaemonHoldsNoHandlerOfItsOwn) {
    const std::string symbols = outputOf("nm -D -C '" + daemonProgram() + "'");
    for (const std::string handler : {"createCertificateHandler(CreateCertRequest const&)",
                                      "generateCSRHandler(CSRRequest const&)",
                                      "replaceCertificateHandler(ReplaceCertRequest const&)"}) {
        EXPECT_NE(symbols.find("U " + handler), std::string::npos) << symbols;
    }
    EXPECT_NE(symbols.find("U deleteCertificateHandler("), std::string::npos);
}

TEST_F(BackendSwap, LibraryOfTheBuildRefusesWhatIsNoCertificate) {
    start({}, "");
    const FrontEndAnswer answer = send(creation());
    EXPECT_TRUE(describeAnswer(answer).starts_with("FAILURE ")) << describeAnswer(answer);
    EXPECT_TRUE(backendCalls().empty());
}

TEST_F(BackendSwap, LibraryFoundFirstTakesEveryCall) {
    storeResource(client, COLLECTION + "/1",
                  R"({"@odata.type":"#Certificate.v1_2_2.Certificate"})");
    start();
    EXPECT_EQ(describeAnswer(send(creation(1))), "OK");
    EXPECT_EQ(describeAnswer(send(replacement(COLLECTION + "/1", 2))), "OK_RES");
    EXPECT_EQ(describeAnswer(send(signing("", 3))), "OK_RES");
    EXPECT_EQ(describeAnswer(send(deletion(COLLECTION + "/1", 4))), "OK_EMPTY");
    std::string handlers;
    for (const std::string& call : backendCalls()) {
        const std::string label = "\"handler\":\"";
        const auto begin = call.find(label) + label.size();
        handlers += call.substr(begin, call.find('"', begin) - begin) + " ";
    }
    EXPECT_EQ(handlers, "create replace generateCSR delete ");
}

} // namespace
