// What stays of a request: on disk, and in the process that the daemon shares with the backend.

#include "tools/backend_check/checks.h"
#include "tools/backend_check/directories.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <map>

namespace {

constexpr int ROUNDS = 10;

void keyFilesAreTheOwners(const Trial& trial, const KeyPair& pair) {
    for (const std::string& file : filesWithKey(trial.places.directories, pair.privateKey)) {
        if (!isOwnersAlone(file, trial.places.directories)) {
            trial.fault("others may read the private key in " + file);
        }
    }
}

// A key that is kept in hardware, or where nobody looked.
void keyIsSomewhere(const Trial& trial, const KeyPair& pair) {
    if (filesWithKey(trial.places.directories, pair.privateKey).empty()) {
        trial.note("no file with the private key was found: name the backend's folders with "
                   "--directory, unless it keeps keys elsewhere or encrypted");
    }
}

void keyIsGone(const Trial& trial, const KeyPair& pair) {
    for (const std::string& file : filesWithKey(trial.places.directories, pair.privateKey)) {
        trial.fault("the private key is still in " + file);
    }
}

// With keys of its own: other checks' are no business of this one.
void theKeyGoes(const Trial& trial) {
    const KeyPair first = makeServer(trial.material, FIRST_NAME);
    const KeyPair second = makeServer(trial.material, SECOND_NAME);
    const CreateCertRequest request = creationOf(trial, "1", withKey(first));
    const CreateCertResult result = create(trial, "a creation", request);
    expectSuccess(trial, "a creation", result.code, result.message);
    keyIsSomewhere(trial, first);
    keyFilesAreTheOwners(trial, first);
    static_cast<void>(replace(trial, "a replacement", replacementOf(trial, "1", withKey(second))));
    keyFilesAreTheOwners(trial, first);
    keyFilesAreTheOwners(trial, second);
    static_cast<void>(remove(trial, "a deletion", uriOf(request)));
    keyIsGone(trial, first);
    keyIsGone(trial, second);
}

void aRefusalLeavesNothing(const Trial& trial) {
    const DiskState before = diskState(trial.places.directories);
    const KeyPair& pair = trial.material.first;
    for (const std::string& text :
         {std::string("nothing"), trial.material.second.certificate + pair.privateKey,
          pair.privateKey, pair.certificate.substr(0, 300) + pair.privateKey}) {
        static_cast<void>(create(trial, "a refused creation", creationOf(trial, "1", text)));
    }
    for (const std::string& file : changedFiles(before, diskState(trial.places.directories))) {
        trial.fault("a refused creation has written " + file);
    }
    keyIsGone(trial, pair);
}

// What the whole process shares, by name.
using ProcessState = std::map<std::string, std::string>;

std::string handlerOf(int signal) {
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) != 0) {
        return {};
    }
    const bool isDefault = action.sa_handler == SIG_DFL; // NOLINT: the macro's own cast
    const bool isIgnored = action.sa_handler == SIG_IGN; // NOLINT
    return isDefault ? "default" : isIgnored ? "ignored" : "a handler";
}

std::string openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::to_string(std::distance(begin(all), end(all)));
}

ProcessState processState() {
    const mode_t mask = umask(0);
    static_cast<void>(umask(mask));
    ProcessState state = {{"the number of open descriptors", openDescriptors()},
                          {"the working folder", std::filesystem::current_path().string()},
                          {"the mask of file modes", std::to_string(mask)},
                          {"the locale", std::setlocale(LC_ALL, nullptr)}};
    for (const int signal : {SIGPIPE, SIGCHLD, SIGTERM, SIGALRM, SIGSEGV, SIGABRT}) {
        state[std::string("what is done about ") + sigabbrev_np(signal)] = handlerOf(signal);
    }
    return state;
}

void oneOfEach(const Trial& trial) {
    const CreateCertRequest request = creationOf(trial, "1", withKey(trial.material.first));
    static_cast<void>(create(trial, "a creation", request));
    static_cast<void>(create(trial, "a refused creation", creationOf(trial, "2", "nothing")));
    static_cast<void>(
        replace(trial, "a replacement", replacementOf(trial, "1", withKey(trial.material.second))));
    static_cast<void>(remove(trial, "a deletion", uriOf(request)));
    static_cast<void>(generateCsr(trial, "a signing request", curveRequest(trial)));
}

void tellChange(const Trial& trial, const std::string& name, const std::string& before,
                const std::string& after) {
    trial.fault(name + " is " + after + " now, it was " + before);
}

// The first round may open what stays open for good, such as a log.
void theProcessStays(const Trial& trial) {
    const ProcessState atFirst = processState();
    oneOfEach(trial);
    const ProcessState before = processState();
    for (int round = 0; round < ROUNDS; ++round) {
        oneOfEach(trial);
    }
    for (const auto& [name, value] : processState()) {
        const bool mayGrowOnce = name == "the number of open descriptors";
        const std::string& expected = mayGrowOnce ? before.at(name) : atFirst.at(name);
        if (value != expected) {
            tellChange(trial, name, expected, value);
        }
    }
}

} // namespace

std::vector<Check> machineChecks() {
    return {
        {"A private key is its owner's alone on disk, and goes with its certificate", theKeyGoes},
        {"A refused creation leaves nothing on disk", aRefusalLeavesNothing},
        {"The process stays as it was", theProcessStays}};
}
