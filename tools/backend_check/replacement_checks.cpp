// Replacement: all or nothing, and nothing for what is installed already.

#include "tools/backend_check/checks.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>

namespace {

constexpr int KILLS = 16;

constexpr const char* NO_OPERATION = "Base.1.9.NoOperation";

bool isNoOperation(const CreateCertResult& result) {
    return result.code == CODE_SUCCESS && result.message.MessageId == NO_OPERATION;
}

// A certificate that is installed for the time of a scope.
class Installed {
public:
    explicit Installed(const Trial& inTrial)
        : trial(inTrial), request(creationOf(inTrial, "1", withKey(inTrial.material.first))) {
        const CreateCertResult result = create(trial, "a creation", request);
        expectSuccess(trial, "a creation", result.code, result.message);
    }
    ~Installed() {
        static_cast<void>(remove(trial, "its deletion", uriOf(request)));
    }
    Installed(const Installed&) = delete;
    Installed& operator=(const Installed&) = delete;

    [[nodiscard]] CreateCertResult replaceBy(const std::string& what,
                                             const std::string& text) const {
        return replace(trial, what, replacementOf(trial, "1", text));
    }

    // Whether a replacement by it changes nothing.
    [[nodiscard]] bool holds(const KeyPair& pair) const {
        return isNoOperation(
            replaceBy("a replacement by what should be installed", pair.certificate));
    }

private:
    const Trial& trial;
    CreateCertRequest request;
};

void takesThePlace(const Trial& trial) {
    const Installed certificate(trial);
    const std::string what = "another certificate with its key";
    const CreateCertResult result = certificate.replaceBy(what, withKey(trial.material.second));
    expectSuccess(trial, what, result.code, result.message);
    if (isNoOperation(result)) {
        trial.fault(what + ": is told to be the installed one");
    }
    const auto name = result.subject.find("CommonName");
    if (name == result.subject.end() || name->second != SECOND_NAME) {
        trial.fault(what + ": the result describes another certificate");
    }
    if (!isNoOperation(
            certificate.replaceBy("the same once more", withKey(trial.material.second)))) {
        trial.fault("the same once more: code 200 with " + std::string(NO_OPERATION) +
                    " was expected");
    }
}

void aRefusalChangesNothing(const Trial& trial) {
    const Installed certificate(trial);
    const Material& material = trial.material;
    for (const auto& [what, text] : std::vector<std::pair<std::string, std::string>>{
             {"an empty text", ""},
             {"a text that is no certificate", "nothing"},
             {"a certificate with another one's key",
              material.second.certificate + material.first.privateKey}}) {
        expectRefusal(trial, what, certificate.replaceBy(what, text).code);
        if (!certificate.holds(material.first)) {
            trial.fault(what + ": the installed certificate is another one afterwards");
            return;
        }
    }
}

void nowhere(const Trial& trial) {
    const std::string what = "a replacement where nothing is installed";
    expectRefusal(
        trial, what,
        replace(trial, what, replacementOf(trial, "nowhere", withKey(trial.material.first))).code);
}

// Replaces one by the other until it is killed.
[[noreturn]] void replaceForEver(const Trial& trial) {
    const ReplaceCertRequest first = replacementOf(trial, "1", withKey(trial.material.first));
    const ReplaceCertRequest second = replacementOf(trial, "1", withKey(trial.material.second));
    while (true) {
        static_cast<void>(trial.backend.replace(second));
        static_cast<void>(trial.backend.replace(first));
    }
}

void killAfter(const Trial& trial, useconds_t microseconds) {
    const pid_t replacer = fork();
    if (replacer == 0) {
        replaceForEver(trial);
    }
    static_cast<void>(usleep(microseconds));
    static_cast<void>(kill(replacer, SIGKILL));
    while (waitpid(replacer, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// How long it takes to replace one by the other and that by the first again, in microseconds.
useconds_t timeOfTwo(const Installed& certificate, const Material& material) {
    const auto begin = std::chrono::steady_clock::now();
    static_cast<void>(certificate.replaceBy("a replacement", withKey(material.second)));
    static_cast<void>(certificate.replaceBy("another replacement", withKey(material.first)));
    const auto spent = std::chrono::steady_clock::now() - begin;
    return static_cast<useconds_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(spent).count());
}

void killedAnywhere(const Trial& trial) {
    const Installed certificate(trial);
    const useconds_t step = timeOfTwo(certificate, trial.material) / KILLS;
    for (int i = 1; i <= KILLS; ++i) {
        trial.teller.step("replacements, killed in their middle");
        killAfter(trial, step * static_cast<useconds_t>(i));
        if (!certificate.holds(trial.material.first) && !certificate.holds(trial.material.second)) {
            trial.fault("after a kill neither the old nor the new certificate is installed");
            return;
        }
    }
}

} // namespace

std::vector<Check> replacementChecks() {
    return {{"Another certificate takes the place, the same is no operation", takesThePlace},
            {"A refused replacement changes nothing", aRefusalChangesNothing},
            {"Nothing is replaced where nothing is installed", nowhere},
            {"A replacement that is killed leaves the old or the new", killedAnywhere}};
}
