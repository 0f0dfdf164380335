#pragma once

// What each request to the daemon takes, and whether a body is that. The daemon ends on a value of
// a wrong JSON type and takes texts that begin with "&&" for markers of the stored form, so nothing
// may reach it unchecked. What it or the backend refuses in words of their own is left to them:
// values out of a list, lengths, forms of names, resources that are not there.

#include "frontend/web/http/http_message.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class ParameterType {
    LINE,      // a text without control characters
    TEXT,      // a text that may hold line ends and other control characters
    FREE_TEXT, // any text; for what the service itself compares and the daemon never sees
    LINES,     // an array of texts without control characters
    INTEGER,   // of 32 bits
    REFERENCE, // {"@odata.id": URI}
};

struct RequestParameter {
    const char* name;
    ParameterType type;
    bool isRequired = false;
    bool isSecret = false;                        // never shown in a message
    std::vector<std::string_view> allowable = {}; // what clients are offered; the backend judges
};

struct RequestForm {
    std::string_view action; // "CertificateService.GenerateCSR"; empty: the body is a new resource
    std::vector<RequestParameter> parameters; // properties, when it is a new resource
};

// POST to a certificate collection.
[[nodiscard]] const RequestForm& newCertificateForm();

// The actions of the certificate service.
[[nodiscard]] const RequestForm& generateCsrForm();
[[nodiscard]] const RequestForm& replaceCertificateForm();

// The most messages that one refusal holds.
inline constexpr std::size_t MOST_MESSAGES = 20;

// Throws Refusal (400) with a message for each fault of the body, which is an object; returns when
// it has none. Property messages for a new resource, action parameter messages for an action:
//   Missing           a required parameter is not there
//   Unknown           a member that the form does not have, also beside "@odata.id" in a reference
//   ValueTypeError    a value of another JSON type
//   ValueFormatError  a text that begins with "&&" or holds control characters; a reference without
//                     "@odata.id", or whose URI is none below /redfish/, or holds blanks; a number
//                     that 32 bits do not hold
void checkBody(const nlohmann::json& body, const RequestForm& form);

// The body of the request, read and checked. Throws Refusal as readJsonBody and checkBody do; the
// texts of a body that is refused are wiped.
[[nodiscard]] nlohmann::json readCheckedBody(const HttpRequest& request, const RequestForm& form);
