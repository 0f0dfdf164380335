// Handlers that run at the same time on different threads.

#include "platform/x509/memory_text.h"
#include "tools/backend_check/checks.h"

#include <openssl/pem.h>

#include <array>
#include <atomic>
#include <thread>

namespace {

constexpr int THREADS = 8;
constexpr int ROUNDS = 4;

std::string nameOf(int index) {
    return "thread-" + std::to_string(index) + ".backend-check.example";
}

template <typename Work>
void onThreads(const Work& work) {
    std::array<std::thread, THREADS> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.at(static_cast<std::size_t>(i)) = std::thread(work, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void expectOwnName(const Trial& trial, const std::string& what, const CreateCertResult& result,
                   int index) {
    if (!expectSuccess(trial, what, result.code, result.message)) {
        return;
    }
    const auto name = result.subject.find("CommonName");
    if (name == result.subject.end() || name->second != nameOf(index)) {
        trial.fault(what + ": the result is another thread's");
    }
}

void expectOwnRequest(const Trial& trial, int index) {
    const std::string what = "a signing request on a thread";
    CSRRequest request = curveRequest(trial);
    request.stringParameters["CommonName"] = nameOf(index);
    const CSRResult result = generateCsr(trial, what, request);
    if (!expectSuccess(trial, what, result.code, result.message)) {
        return;
    }
    const RequestHandle read(
        PEM_read_bio_X509_REQ(readableText(result.csr).get(), nullptr, noPassphrase, nullptr));
    std::array<char, 128> name{};
    if (!read ||
        X509_NAME_get_text_by_NID(X509_REQ_get_subject_name(read.get()), NID_commonName,
                                  name.data(), static_cast<int>(name.size())) <= 0 ||
        name.data() != nameOf(index)) {
        trial.fault(what + ": the result is another thread's");
    }
}

// One thread's certificate: installed, replaced and removed, beside the others'.
void oneLife(const Trial& trial, int index, const KeyPair& pair, const KeyPair& other) {
    const std::string id = "t" + std::to_string(index);
    const CreateCertRequest request = creationOf(trial, id, withKey(pair));
    expectOwnName(trial, "a creation on a thread", create(trial, "a creation on a thread", request),
                  index);
    expectOwnName(
        trial, "a replacement on a thread",
        replace(trial, "a replacement on a thread", replacementOf(trial, id, withKey(other))),
        index);
    const DeleteCertResult gone = remove(trial, "a deletion on a thread", uriOf(request));
    expectSuccess(trial, "a deletion on a thread", gone.code, gone.message);
}

void eachTheirOwn(const Trial& trial) {
    std::vector<std::pair<KeyPair, KeyPair>> pairs;
    pairs.reserve(THREADS);
    for (int i = 0; i < THREADS; ++i) {
        pairs.emplace_back(makeServer(trial.material, nameOf(i)),
                           makeServer(trial.material, nameOf(i)));
    }
    onThreads([&](int index) {
        const auto& [pair, other] = pairs[static_cast<std::size_t>(index)];
        for (int round = 0; round < ROUNDS; ++round) {
            oneLife(trial, index, pair, other);
            expectOwnRequest(trial, index);
        }
    });
}

void oneOfEight(const Trial& trial) {
    std::vector<KeyPair> pairs;
    pairs.reserve(THREADS);
    for (int i = 0; i < THREADS; ++i) {
        pairs.push_back(makeServer(trial.material, nameOf(i)));
    }
    std::atomic<int> carriedOut = 0;
    onThreads([&](int index) {
        const auto request =
            creationOf(trial, "same", withKey(pairs[static_cast<std::size_t>(index)]));
        if (create(trial, "the same creation on eight threads", request).code == CODE_SUCCESS) {
            ++carriedOut;
        }
    });
    if (carriedOut != 1) {
        trial.fault("of eight creations with one identifier " + std::to_string(carriedOut) +
                    " were carried out");
    }
    static_cast<void>(
        remove(trial, "its deletion", uriOf(creationOf(trial, "same", std::string()))));
}

} // namespace

std::vector<Check> threadChecks() {
    return {{"On eight threads at once each gets its own result", eachTheirOwn},
            {"Of eight creations with one identifier one is carried out", oneOfEight}};
}
