#pragma once

// A certificate backend that is loaded while the program runs.

#include "platform/certificate_backend.h"

#include <string>

struct BackendLibrary {
    CreateCertResult (*create)(const CreateCertRequest&) = nullptr;
    DeleteCertResult (*remove)(const std::string&) = nullptr;
    CSRResult (*generateCsr)(const CSRRequest&) = nullptr;
    CreateCertResult (*replace)(const ReplaceCertRequest&) = nullptr;
    std::string soname; // empty: it has none
};

inline constexpr char BACKEND_SONAME[] = "libcertificate_backend.so.1";

// Loads the library for good, all of its symbols bound at once. Throws std::runtime_error that says
// what is wrong: it cannot be loaded, or lacks handlers, and why that may be.
[[nodiscard]] BackendLibrary loadBackend(const std::string& path);
