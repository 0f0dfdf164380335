// Hostile requests: none of them ends the process, lets an exception out, gets a key or anything
// outside the backend's own folders.

#include "tools/backend_check/checks.h"

#include <filesystem>
#include <limits>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t MEBIBYTE = std::size_t{1024} * 1024;
constexpr std::size_t CUT_STEP = 97; // bytes between the places where a certificate is damaged

// Far enough up from any folder.
constexpr const char* UPWARDS = "/../../../../../../../../../../../../../../../..";

struct HostileText {
    std::string what;
    std::string text;
};

std::string repeated(const std::string& piece, std::size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

std::string allBytes() {
    std::string text;
    for (int i = 0; i < 256; ++i) {
        text += static_cast<char>(i);
    }
    return text;
}

// For any field at all.
std::vector<HostileText> hostileTexts() {
    return {{"an empty text", ""},
            {"a NUL", std::string(1, '\0')},
            {"a text with a NUL inside", std::string("a\0b", 3)},
            {"all bytes there are", allBytes()},
            {"bytes that are no UTF-8", "\xff\xfe\xc0\x80"},
            {"percent signs", "%s%s%s%n%n%n%100000d"},
            {"line ends", "\r\n\r\n[Error] no line of mine\n"},
            {"quotes and backslashes", R"("\"\\"'`$(reboot);|&)"},
            {"dots and slashes", "../../../.."},
            {"a text of 1 MiB", std::string(MEBIBYTE, 'A')}};
}

std::string asBlock(const std::string& content) {
    return "-----BEGIN CERTIFICATE-----\n" + content + "\n-----END CERTIFICATE-----\n";
}

// For certificate texts.
std::vector<HostileText> hostileCertificates() {
    return {{"a block without content", asBlock("")},
            {"a block without an end", "-----BEGIN CERTIFICATE-----\nMIIB"},
            {"a block that is no base64", asBlock("!!!!????")},
            {"an object of 4 GiB that is not there", asBlock("MIT/////AAAA")},
            {"open sequences within each other", asBlock(repeated("MIAwgDCA", 4000))},
            {"zeros", asBlock(repeated("AAAA", 4000))},
            {"10,000 beginnings", repeated("-----BEGIN CERTIFICATE-----\n", 10000)},
            {"10,000 empty blocks", repeated(asBlock(""), 10000)},
            {"1 MiB of blanks", std::string(MEBIBYTE, ' ')}};
}

// The certificate with one character changed, here and there.
std::vector<HostileText> damagedCertificates(const Material& material) {
    std::vector<HostileText> texts;
    const std::string whole = withKey(material.first);
    for (std::size_t place = 30; place < whole.size(); place += CUT_STEP) {
        std::string damaged = whole;
        damaged[place] = damaged[place] == 'A' ? 'B' : 'A';
        texts.push_back(
            {"a certificate and key, damaged at byte " + std::to_string(place), damaged});
    }
    return texts;
}

void removeIfInstalled(const Trial& trial, const CreateCertRequest& request, std::int32_t code) {
    if (code == CODE_SUCCESS) {
        static_cast<void>(remove(trial, "its deletion", uriOf(request)));
    }
}

void mustBeRefused(const Trial& trial, const std::string& what, const CreateCertRequest& request) {
    const std::int32_t code = create(trial, what, request).code;
    expectRefusal(trial, what, code);
    removeIfInstalled(trial, request, code);
}

void hostileCreations(const Trial& trial) {
    for (const auto& texts : {hostileTexts(), hostileCertificates()}) {
        for (const auto& [what, text] : texts) {
            mustBeRefused(trial, what, creationOf(trial, "1", text));
        }
    }
    for (const auto& [what, text] : damagedCertificates(trial.material)) {
        const CreateCertRequest request = creationOf(trial, "1", text);
        removeIfInstalled(trial, request, create(trial, what, request).code);
    }
    for (const auto& [what, text] : hostileTexts()) {
        CreateCertRequest request = creationOf(trial, "1", withKey(trial.material.first));
        request.certificateType = text;
        mustBeRefused(trial, what + " as type", request);
    }
}

// What these answer is the backend's own; they may even be carried out.
void hostilePlaces(const Trial& trial) {
    for (const auto& [what, text] : hostileTexts()) {
        CreateCertRequest request = creationOf(trial, "1", withKey(trial.material.first));
        request.certificateId = text;
        removeIfInstalled(trial, request, create(trial, what + " as identifier", request).code);
        request = creationOf(trial, "1", withKey(trial.material.first));
        request.collectionUri = text;
        removeIfInstalled(trial, request, create(trial, what + " as collection", request).code);
        static_cast<void>(remove(trial, what + " as certificate to be deleted", text));
        request = creationOf(trial, "1", withKey(trial.material.first));
        request.rootCaFile = text.empty() ? "/" : text;
        removeIfInstalled(trial, request, create(trial, what + " as root file", request).code);
    }
}

void hostileReplacements(const Trial& trial) {
    const CreateCertRequest request = creationOf(trial, "1", withKey(trial.material.first));
    const CreateCertResult result = create(trial, "a creation", request);
    expectSuccess(trial, "a creation", result.code, result.message);
    for (const auto& texts : {hostileTexts(), hostileCertificates()}) {
        for (const auto& [what, text] : texts) {
            expectRefusal(trial, what, replace(trial, what, replacementOf(trial, "1", text)).code);
        }
    }
    for (const auto& [what, text] : hostileTexts()) {
        ReplaceCertRequest elsewhere = replacementOf(trial, "1", withKey(trial.material.second));
        elsewhere.certificateUri = text;
        expectRefusal(trial, what + " as certificate to be replaced",
                      replace(trial, what + " as certificate to be replaced", elsewhere).code);
    }
    static_cast<void>(remove(trial, "its deletion", uriOf(request)));
}

// Every text as each parameter, and as a parameter's name.
void hostileParameters(const Trial& trial) {
    for (const auto& [what, text] : hostileTexts()) {
        for (const char* name : {"CommonName", "KeyCurveId", "KeyPairAlgorithm", "Email",
                                 "ChallengePassword", "Surname"}) {
            CSRRequest request = curveRequest(trial);
            request.stringParameters[name] = text;
            static_cast<void>(generateCsr(trial, what + " as " + name, request));
        }
        CSRRequest request = curveRequest(trial);
        request.arrayParameters = {{"AlternativeNames", {text, text}}, {"KeyUsage", {text}}};
        static_cast<void>(generateCsr(trial, what + " in lists", request));
        request = curveRequest(trial);
        request.stringParameters[text] = "value";
        request.arrayParameters[text] = {};
        static_cast<void>(generateCsr(trial, what + " as a parameter's name", request));
        request = curveRequest(trial);
        request.collectionUri = text;
        static_cast<void>(generateCsr(trial, what + " as collection", request));
    }
}

void veryManyParameters(const Trial& trial) {
    CSRRequest request = curveRequest(trial);
    for (int i = 0; i < 10000; ++i) {
        request.arrayParameters["AlternativeNames"].push_back("n" + std::to_string(i) + ".example");
    }
    static_cast<void>(generateCsr(trial, "10,000 alternative names", request));
    request = curveRequest(trial);
    for (int i = 0; i < 10000; ++i) {
        request.stringParameters["Parameter" + std::to_string(i)] = "value";
    }
    static_cast<void>(generateCsr(trial, "10,000 parameters", request));
    static_cast<void>(generateCsr(trial, "no parameters at all", {}));
    request = curveRequest(trial);
    request.keyBitLength = std::numeric_limits<std::int32_t>::min();
    static_cast<void>(generateCsr(trial, "the smallest key length there is", request));
}

void nothingElsewhere(const Trial& trial) {
    const std::string escaped = trial.places.scratch + "/escaped";
    CreateCertRequest request = creationOf(trial, "1", withKey(trial.material.first));
    request.certificateId = UPWARDS + escaped;
    const std::string what = "an identifier that leads elsewhere";
    removeIfInstalled(trial, request, create(trial, what, request).code);
    request = creationOf(trial, "1", withKey(trial.material.first));
    request.collectionUri = UPWARDS + trial.places.scratch;
    request.certificateId = "escaped";
    const CreateCertResult created = create(trial, "a collection that leads elsewhere", request);
    CSRRequest signing = curveRequest(trial);
    signing.collectionUri = UPWARDS + escaped;
    static_cast<void>(generateCsr(trial, "a collection that leads elsewhere", signing));
    for (const auto& entry : fs::directory_iterator(trial.places.scratch)) {
        if (entry.path().filename().string().find("escaped") != std::string::npos) {
            trial.fault("a path out of the backend's folders was followed, to " +
                        entry.path().string());
        }
    }
    removeIfInstalled(trial, request, created.code);
}

void nothingIsDeletedElsewhere(const Trial& trial) {
    const std::string keep = trial.places.scratch + "/keep";
    fs::create_directory(keep);
    for (const std::string& uri :
         {UPWARDS + keep, keep, trial.places.collection + UPWARDS + keep}) {
        static_cast<void>(remove(trial, "a deletion that leads elsewhere", uri));
    }
    if (!fs::exists(keep)) {
        trial.fault("a deletion followed a path out of the backend's folders");
    }
    fs::remove(keep);
}

} // namespace

std::vector<Check> hostileChecks() {
    return {{"Hostile certificate texts and types are refused", hostileCreations},
            {"Hostile places of certificates do no harm", hostilePlaces},
            {"Hostile replacements are refused", hostileReplacements},
            {"Hostile parameters of signing requests do no harm", hostileParameters},
            {"Very many parameters of signing requests do no harm", veryManyParameters},
            {"Paths in identifiers lead nowhere else", nothingElsewhere},
            {"Paths in deletions lead nowhere else", nothingIsDeletedElsewhere}};
}
