#pragma once

// What a check has at hand in its child process, and its ways to ask the backend. Each of them
// tells the parent beforehand what is asked, and afterwards every fault that any result can have.

#include "tools/backend_check/backend_library.h"
#include "tools/backend_check/findings.h"
#include "tools/backend_check/material.h"

#include <string>
#include <vector>

// Where the backend is tried.
struct Places {
    std::string collection;               // an identity's collection, without a "/" at its end
    std::string idPrefix;                 // of certificates of this run
    std::vector<std::string> directories; // where the backend keeps files, as far as it is known
    std::string scratch;                  // an empty folder of this run
};

struct Trial {
    BackendLibrary backend;
    const Material& material;
    const Places& places;
    Teller teller;

    void fault(const std::string& text) const {
        teller.find(Severity::FAULT, text);
    }
    void note(const std::string& text) const {
        teller.find(Severity::NOTE, text);
    }
};

// Requests as the daemon makes them: PEM into the run's collection, without a root file.
[[nodiscard]] CreateCertRequest creationOf(const Trial& trial, const std::string& id,
                                           const std::string& text);
[[nodiscard]] ReplaceCertRequest replacementOf(const Trial& trial, const std::string& id,
                                               const std::string& text);
[[nodiscard]] CSRRequest curveRequest(const Trial& trial);

[[nodiscard]] std::string uriOf(const CreateCertRequest& request);

// Ask the backend. An exception that leaves the handler is a fault, and shows as code 0.
CreateCertResult create(const Trial& trial, const std::string& what,
                        const CreateCertRequest& request);
CreateCertResult replace(const Trial& trial, const std::string& what,
                         const ReplaceCertRequest& request);
DeleteCertResult remove(const Trial& trial, const std::string& what, const std::string& uri);
CSRResult generateCsr(const Trial& trial, const std::string& what, const CSRRequest& request);

inline constexpr std::int32_t CODE_SUCCESS = 200;
inline constexpr std::int32_t CODE_BAD_REQUEST = 400;
inline constexpr std::int32_t CODE_EXCEPTION = 0; // of none of HTTP's codes

// A fault unless the request was carried out; true when it was.
bool expectSuccess(const Trial& trial, const std::string& what, std::int32_t code,
                   const MessageInfo& message);

// A fault unless it was refused as the client's mistake.
void expectRefusal(const Trial& trial, const std::string& what, std::int32_t code);
