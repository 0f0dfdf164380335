// Many clients at a time.

#include "tests/support/certificates.h"
#include "tests/web/web_process.h"

#include <openssl/pem.h>

#include <algorithm>
#include <set>
#include <thread>

namespace {

using nlohmann::json;
using WebLoad = WebTest;

constexpr std::size_t CLIENTS = 50;

// Does the work CLIENTS times at a time, each with its number; what each came to.
template <typename Work>
auto inParallel(std::size_t count, const Work& work) {
    using Result = decltype(work(std::size_t{}));
    std::vector<Result> results(count);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back([&, i] { results[i] = work(i); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return results;
}

// The public key of a signing request as PEM; empty when it is none.
std::string publicKeyOf(const std::string& request) {
    BIO* const memory = BIO_new_mem_buf(request.data(), static_cast<int>(request.size()));
    X509_REQ* const read = PEM_read_bio_X509_REQ(memory, nullptr, nullptr, nullptr);
    BIO* const written = BIO_new(BIO_s_mem());
    std::string text;
    if (read != nullptr && PEM_write_bio_PUBKEY(written, X509_REQ_get0_pubkey(read)) == 1) {
        char* data = nullptr;
        const long size = BIO_get_mem_data(written, &data);
        text.assign(data, static_cast<std::size_t>(size));
    }
    BIO_free(written);
    X509_REQ_free(read);
    BIO_free(memory);
    return text;
}

TEST_F(WebLoad, FiftyReadersAreAllAnswered) {
    const std::string uri = install(serverIdentity());
    const auto statuses =
        inParallel(CLIENTS, [&](std::size_t) { return newClient()->get(uri).status; });
    EXPECT_EQ(std::count(statuses.begin(), statuses.end(), 200), CLIENTS);
}

TEST_F(WebLoad, FiftySigningRequestsEachGetTheirOwnAnswerAndKey) {
    const auto requests = inParallel(CLIENTS, [&](std::size_t number) {
        const HttpsAnswer answer =
            newClient()->post(GENERATE_CSR, {{"CertificateCollection", {{"@odata.id", COLLECTION}}},
                                             {"CommonName", "n" + std::to_string(number)},
                                             {"KeyPairAlgorithm", "TPM_ALG_ECDSA"},
                                             {"KeyCurveId", "TPM_ECC_NIST_P256"}});
        EXPECT_EQ(answer.status, 200) << answer.body;
        return answer.status == 200 ? answer.json().value("CSRString", "") : std::string();
    });
    std::set<std::string> keys;
    for (const std::string& request : requests) {
        keys.insert(publicKeyOf(request));
    }
    EXPECT_EQ(keys.size(), CLIENTS);
    EXPECT_EQ(keys.count(""), 0U);
}

TEST_F(WebLoad, ParallelInstallationsAndDeletionsLeaveMembersCountAndLocationsConsistent) {
    const auto uris = inParallel(10, [&](std::size_t number) {
        return newClient()
            ->post(COLLECTION,
                   creationOf(serverIdentity("n" + std::to_string(number) + ".example")))
            .header("Location");
    });
    const auto removed =
        inParallel(5, [&](std::size_t number) { return newClient()->remove(uris[number]).status; });
    EXPECT_EQ(std::count(removed.begin(), removed.end(), 204), 5);
    const json collection = client->get(COLLECTION).json();
    const json locations = client->get(LOCATIONS).json();
    EXPECT_EQ(collection["Members"].size(), 5U);
    EXPECT_EQ(collection["Members@odata.count"], 5);
    EXPECT_EQ(collection["Members"], locations["Links"]["Certificates"]);
    for (const json& member : collection["Members"]) {
        EXPECT_EQ(client->get(member["@odata.id"].get<std::string>()).status, 200);
    }
}

} // namespace
