// The reference backend with one fault, which the environment variable PLANTED_FAULT names.

#include "tools/backend_check/backend_library.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <stdexcept>

namespace {

constexpr const char* DIRECTORY = "/var/lib/CertificateService";

bool isPlanted(const std::string& fault) {
    const char* planted = std::getenv("PLANTED_FAULT");
    return planted != nullptr && fault == planted;
}

// Where a key lies open for everybody.
std::string openFile() {
    const char* folder = std::getenv("OPEN_FOLDER");
    return std::string(folder != nullptr ? folder : "/tmp") + "/key.pem";
}

const BackendLibrary& reference() {
    static const BackendLibrary LIBRARY = loadBackend(REFERENCE_BACKEND);
    return LIBRARY;
}

void writeTo(const std::string& file, const std::string& text, mode_t mode) {
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, mode);
    if (descriptor >= 0) {
        static_cast<void>(write(descriptor, text.data(), text.size()) == 0);
        static_cast<void>(fchmod(descriptor, mode));
        static_cast<void>(close(descriptor));
    }
}

// The text's last block without its first and last line and without line ends.
std::string lastBlock(const std::string& text) {
    const std::size_t begin = text.find("-----BEGIN PRIVATE");
    if (begin == std::string::npos) {
        return {};
    }
    const std::size_t start = text.find('\n', begin) + 1;
    std::string block = text.substr(start, text.find("-----END", start) - start);
    std::erase(block, '\n');
    return block;
}

void changeProcess() {
    if (isPlanted("descriptor stays open")) {
        static_cast<void>(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    if (isPlanted("mask is set")) {
        static_cast<void>(umask(0777));
    }
    if (isPlanted("folder is changed") && chdir("/tmp") != 0) {
        std::abort();
    }
    if (isPlanted("signal is ignored")) {
        static_cast<void>(std::signal(SIGALRM, SIG_IGN));
    }
}

void endHere() {
    if (isPlanted("killed")) {
        static_cast<void>(raise(SIGKILL));
    }
    if (isPlanted("exits")) {
        _exit(7);
    }
    if (isPlanted("never returns")) {
        while (true) {
            static_cast<void>(pause());
        }
    }
    if (isPlanted("exception")) {
        throw std::runtime_error("a planted exception");
    }
    if (isPlanted("exception of no known kind")) {
        throw 7;
    }
}

void spoilMessage(std::int32_t& code, MessageInfo& message) {
    if (code == 400 && isPlanted("refusals are faults")) {
        code = 500;
    }
    if (code == 400 && isPlanted("no code")) {
        code = 0;
    }
    if (code == 400 && isPlanted("argument is missing")) {
        message.MessageArgs.pop_back();
    }
    if (code == 400 && isPlanted("identifier without registry")) {
        message.MessageId = "InternalError";
    }
}

void spoilSuccess(CreateCertResult& result, const std::string& sent) {
    if (isPlanted("key in the text")) {
        result.certificateString += sent;
    }
    if (isPlanted("key as its place")) {
        result.privateKeyValue = lastBlock(sent);
    }
    if (isPlanted("text is missing")) {
        result.certificateString.clear();
    }
    if (isPlanted("local time")) {
        result.validNotAfter.replace(result.validNotAfter.size() - 1, 1, "+02:00");
    }
    if (isPlanted("wrong date")) {
        result.validNotAfter = "2049-12-31T23:59:59Z";
    }
    if (isPlanted("short names")) {
        result.subject = {{"CN", "first.backend-check.example"}};
    }
    if (isPlanted("usage by another name")) {
        result.keyUsage = {"digitalSignature"};
    }
    if (isPlanted("name that is no text")) {
        result.subject["CommonName"] = "\xff";
    }
}

// Whoever comes next changes the result of the one before, who waits for that, but not for ever:
// after the last one nobody comes.
template <typename Result>
Result throughOnePlace(const Result& own) {
    static std::mutex mutex;
    static std::condition_variable written;
    static Result place;
    static int writings = 0;
    std::unique_lock lock(mutex);
    place = own;
    const int mine = ++writings;
    written.notify_all();
    written.wait_for(lock, std::chrono::seconds(1), [&] { return writings != mine; });
    return place;
}

void keepKey(const CreateCertRequest& request) {
    if (isPlanted("key stays")) {
        writeTo(std::string(DIRECTORY) + "/kept.pem", request.certificateString, 0600);
    }
    if (isPlanted("key for everybody")) {
        writeTo(openFile(), request.certificateString, 0644);
    }
    if (isPlanted("path is followed")) {
        writeTo(std::string(DIRECTORY) + request.certificateId, "", 0600);
    }
    if (isPlanted("key is printed")) {
        static_cast<void>(std::printf("%s\n", request.certificateString.c_str()));
    }
}

CreateCertRequest spoiled(CreateCertRequest request) {
    static std::atomic<int> count = 0;
    if (isPlanted("root is passed over")) {
        request.rootCaFile.clear();
    }
    if (isPlanted("identifiers are not compared")) {
        request.certificateId += "-" + std::to_string(count++);
    }
    return request;
}

CreateCertResult createWithFaults(const CreateCertRequest& request) {
    if (isPlanted("creation overwrites")) {
        static_cast<void>(reference().remove(request.collectionUri + "/" + request.certificateId));
    }
    CreateCertResult result = reference().create(spoiled(request));
    if (result.code == 200) {
        keepKey(request);
        spoilSuccess(result, request.certificateString);
    } else if (isPlanted("refusal leaves a file")) {
        writeTo(std::string(DIRECTORY) + "/refused", "", 0600);
    }
    if (result.code != 200 && isPlanted("everything is accepted")) {
        result.code = 200;
    }
    return result;
}

// Not all or nothing: the old one goes first.
CreateCertResult replaceInTwoSteps(const ReplaceCertRequest& request) {
    static_cast<void>(reference().remove(request.certificateUri));
    static_cast<void>(usleep(1000));
    const std::size_t slash = request.certificateUri.rfind('/');
    return reference().create({request.certificateUri.substr(0, slash), request.certificateString,
                               request.certificateType, request.certificateUri.substr(slash + 1),
                               request.rootCaFile});
}

bool isUnchanged(const ReplaceCertRequest& request) {
    return request.certificateString.find("PRIVATE KEY") == std::string::npos;
}

} // namespace

CreateCertResult createCertificateHandler(const CreateCertRequest& request) {
    endHere();
    changeProcess();
    CreateCertResult result = createWithFaults(request);
    spoilMessage(result.code, result.message);
    return isPlanted("results are shared") ? throughOnePlace(result) : result;
}

DeleteCertResult deleteCertificateHandler(const std::string& certificateUri) {
    endHere();
    if (isPlanted("deletion follows paths")) {
        static_cast<void>(rmdir((DIRECTORY + certificateUri).c_str()));
    }
    if (isPlanted("key for everybody")) {
        static_cast<void>(unlink(openFile().c_str()));
    }
    if (isPlanted("deletion does nothing")) {
        return {200, {}};
    }
    return reference().remove(certificateUri);
}

CSRResult generateCSRHandler(const CSRRequest& request) {
    endHere();
    if (isPlanted("one key for all")) {
        static const CSRResult FIRST = reference().generateCsr(request);
        return FIRST;
    }
    CSRRequest asked = request;
    if (isPlanted("subject is cut")) {
        asked.stringParameters.erase("Organization");
    }
    if (isPlanted("longer key") && asked.keyBitLength == 2048) {
        asked.keyBitLength = 3072;
    }
    CSRResult result = reference().generateCsr(asked);
    if (isPlanted("request is none")) {
        result.csr = "nothing";
    }
    if (result.code == 400 && isPlanted("password is told")) {
        result.message.MessageArgs.front() = asked.stringParameters["ChallengePassword"];
    }
    return isPlanted("requests are shared") ? throughOnePlace(result) : result;
}

CreateCertResult replaceCertificateHandler(const ReplaceCertRequest& request) {
    endHere();
    if (isPlanted("replacement in two steps") && !isUnchanged(request)) {
        return replaceInTwoSteps(request);
    }
    CreateCertResult result = reference().replace(request);
    if (isPlanted("no operation is not told")) {
        result.message.MessageId.clear();
    }
    if (isPlanted("replacement describes another")) {
        result.subject["CommonName"] = "first.backend-check.example";
    }
    if (isPlanted("replacement where nothing is") && result.message.MessageArgs.size() == 1) {
        result = reference().create({"/redfish/v1/Elsewhere/Certificates",
                                     request.certificateString, request.certificateType, "1", ""});
    }
    if (result.code == 200 && isPlanted("everything is no operation")) {
        result.message.MessageId = "Base.1.9.NoOperation";
    }
    return result;
}
