#include "platform/certificate_backend/csr_parameters.h"

#include "platform/certificate_backend/alternative_names.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/requested_usage.h"
#include "platform/x509/utf8.h"

#include <openssl/objects.h>

#include <algorithm>
#include <array>
#include <set>
#include <span>
#include <string_view>

namespace {

using Refusal = std::optional<MessageInfo>;

struct SubjectParameter {
    const char* name;
    int attribute;
    std::size_t longest; // characters; the upper bounds of RFC 5280, appendix A.1
};

// In the order in which they stand in the name.
constexpr std::array<SubjectParameter, 11> SUBJECT_PARAMETERS = {{
    {"Country", NID_countryName, 2},
    {"State", NID_stateOrProvinceName, 128},
    {"City", NID_localityName, 128},
    {"Organization", NID_organizationName, 64},
    {"OrganizationalUnit", NID_organizationalUnitName, 64},
    {"CommonName", NID_commonName, 64},
    {"GivenName", NID_givenName, 64},
    {"Surname", NID_surname, 64},
    {"Initials", NID_initials, 64},
    {"ContactPerson", NID_name, 64},
    {"Email", NID_pkcs9_emailAddress, 128},
}};
constexpr std::array<std::string_view, 4> OTHER_TEXT_PARAMETERS = {
    "ChallengePassword", "KeyCurveId", "KeyPairAlgorithm", "UnstructuredName"};
constexpr std::array<std::string_view, 2> ARRAY_PARAMETERS = {"AlternativeNames", "KeyUsage"};
constexpr std::array<std::string_view, 2> PARAMETERS_ELSEWHERE = {"CertificateCollection",
                                                                  "KeyBitLength"};
constexpr std::size_t LONGEST_ATTRIBUTE = 255; // of PKCS #9 (RFC 2985, 5.4.1)
constexpr std::size_t MOST_ALTERNATIVE_NAMES = 100;
constexpr const char* HIDDEN = "******";

struct Curve {
    std::string_view redfishName;
    const char* name;
    std::int32_t bits;
};
constexpr std::array<Curve, 3> CURVES = {{
    {"TPM_ECC_NIST_P256", "P-256", 256},
    {"TPM_ECC_NIST_P384", "P-384", 384},
    {"TPM_ECC_NIST_P521", "P-521", 521},
}};
constexpr std::array<std::string_view, 3> CURVE_NAMES = {
    CURVES[0].redfishName, CURVES[1].redfishName, CURVES[2].redfishName};
constexpr std::array<std::int32_t, 3> RSA_BITS = {2048, 3072, 4096};
constexpr std::array<std::string_view, 3> RSA_LENGTHS = {"2048", "3072", "4096"};
constexpr std::array<std::string_view, 3> ALGORITHMS = {"TPM_ALG_RSA", "TPM_ALG_ECDSA",
                                                        "TPM_ALG_ECDH"};
constexpr const char* COUNTRY_ADVICE = "Give the two letters of the country (ISO 3166).";
constexpr const char* EMAIL_ADVICE =
    "Give one address of at most 128 characters, such as someone@example.com.";

// A sentence that says what is wrong and what would be accepted.
Refusal refuse(const std::string& sentence, const std::string& parameter) {
    return parameterValueFormatError(sentence, parameter, GENERATE_CSR_ACTION);
}

Refusal wrongFormat(std::string_view value, const std::string& parameter,
                    const std::string& advice) {
    return refuse("'" + shownInMessage(value) + "' is not accepted. " + advice, parameter);
}

// The list is a sequence of texts.
template <typename List>
std::string acceptedAmong(const List& list) {
    std::string accepted;
    for (const auto& each : list) {
        accepted += (accepted.empty() ? " (accepted: " : ", ") + std::string(each);
    }
    return accepted + ")";
}

template <typename List>
Refusal notInList(std::string_view value, const std::string& parameter, const List& list) {
    return parameterValueNotInList(shownInMessage(value) + acceptedAmong(list), parameter,
                                   GENERATE_CSR_ACTION);
}

template <typename Names>
bool holds(const Names& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isTextParameter(std::string_view name) {
    return holds(OTHER_TEXT_PARAMETERS, name) ||
           std::any_of(SUBJECT_PARAMETERS.begin(), SUBJECT_PARAMETERS.end(),
                       [&](const SubjectParameter& known) { return known.name == name; });
}

bool isIgnored(std::string_view name) {
    return name.find('@') != std::string_view::npos || name.starts_with("&&");
}

// The text parameter in its place, because a copy of a secret would outlive it; nothing when not
// given.
std::optional<std::string_view> textOf(const CSRRequest& request, const std::string& name) {
    const auto found = request.stringParameters.find(name);
    return found == request.stringParameters.end() ? std::nullopt
                                                   : std::optional<std::string_view>(found->second);
}

// The same for a parameter that counts as not given when it is empty.
std::string_view optionalText(const CSRRequest& request, const std::string& name) {
    return textOf(request, name).value_or(std::string_view());
}

// Refuses a parameter that has the wrong type or that the action does not have.
Refusal strangeParameter(const std::string& name, std::string_view value, bool rightType) {
    if (rightType || isIgnored(name)) {
        return std::nullopt;
    }
    if (isTextParameter(name) || holds(ARRAY_PARAMETERS, name) ||
        holds(PARAMETERS_ELSEWHERE, name)) {
        const std::string shown = name == "ChallengePassword" ? HIDDEN : shownInMessage(value);
        return parameterValueTypeError(shown, name, GENERATE_CSR_ACTION);
    }
    return parameterUnknown(GENERATE_CSR_ACTION, shownInMessage(name));
}

// Sorted by name, so that of several wrong parameters it is always the same one that is reported.
Refusal checkNames(const CSRRequest& request) {
    std::set<std::string> names;
    for (const auto& [name, value] : request.stringParameters) {
        names.insert(name);
    }
    for (const auto& [name, values] : request.arrayParameters) {
        names.insert(name);
    }
    for (const std::string& name : names) {
        const std::optional<std::string_view> text = textOf(request, name);
        Refusal refusal = text ? strangeParameter(name, *text, isTextParameter(name))
                               : strangeParameter(name, "[]", holds(ARRAY_PARAMETERS, name));
        if (refusal) {
            return refusal;
        }
    }
    return std::nullopt;
}

bool isAsciiLetters(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); });
}

std::string inUpperCase(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return upper;
}

// The attribute is an IA5String, so what follows the form of an address is ASCII as well.
bool isEmailAddress(std::string_view text) {
    return alternativeName("email:" + std::string(text)) != nullptr;
}

std::string lengthAdvice(std::size_t longest) {
    return "Give at most " + std::to_string(longest) + " printable characters.";
}

std::string adviceFor(const SubjectParameter& known) {
    if (known.attribute == NID_countryName) {
        return COUNTRY_ADVICE;
    }
    return known.attribute == NID_pkcs9_emailAddress ? EMAIL_ADVICE : lengthAdvice(known.longest);
}

Refusal readSubjectAttribute(const SubjectParameter& known, std::string_view value,
                             CsrParameters& parameters) {
    const std::optional<std::size_t> length = printableLength(value);
    const bool country = known.attribute == NID_countryName;
    const bool email = known.attribute == NID_pkcs9_emailAddress;
    if (!length || *length > known.longest ||
        (country && (value.size() != 2 || !isAsciiLetters(value))) ||
        (email && !isEmailAddress(value))) {
        return wrongFormat(value, known.name, adviceFor(known));
    }
    parameters.subject.push_back(
        {known.attribute, country ? inUpperCase(value) : std::string(value)});
    return std::nullopt;
}

Refusal readSubject(const CSRRequest& request, CsrParameters& parameters) {
    const std::optional<std::string_view> commonName = textOf(request, "CommonName");
    if (!commonName) {
        return parameterMissing(GENERATE_CSR_ACTION, "CommonName");
    }
    if (commonName->empty()) {
        return refuse("The common name is empty. Give the name of the host or device.",
                      "CommonName");
    }
    for (const SubjectParameter& known : SUBJECT_PARAMETERS) {
        const std::string_view value = optionalText(request, known.name);
        if (value.empty()) {
            continue;
        }
        Refusal refusal = readSubjectAttribute(known, value, parameters);
        if (refusal) {
            return refusal;
        }
    }
    return std::nullopt;
}

Refusal readAttributes(const CSRRequest& request, CsrParameters& parameters) {
    const std::optional<std::string_view> password = textOf(request, "ChallengePassword");
    if (password) {
        const std::size_t length = printableLength(*password).value_or(0);
        if (length == 0 || length > LONGEST_ATTRIBUTE) {
            return refuse(std::string(HIDDEN) +
                              " cannot be used. Give a password of 1 to 255 printable characters, "
                              "encrypted with this service's key.",
                          "ChallengePassword");
        }
        parameters.challengePassword = *password;
    }
    parameters.unstructuredName = optionalText(request, "UnstructuredName");
    const std::optional<std::size_t> length = printableLength(parameters.unstructuredName);
    return length && *length <= LONGEST_ATTRIBUTE
               ? std::nullopt
               : wrongFormat(parameters.unstructuredName, "UnstructuredName",
                             lengthAdvice(LONGEST_ATTRIBUTE));
}

std::span<const std::string> arrayOf(const CSRRequest& request, const std::string& name) {
    const auto found = request.arrayParameters.find(name);
    return found == request.arrayParameters.end() ? std::span<const std::string>()
                                                  : std::span(found->second);
}

// Servers and clients look for their names there alone (RFC 6125, 6.4.4).
void addCommonName(const CSRRequest& request, CsrParameters& parameters) {
    if (GeneralNameHandle name = nameOfHost(optionalText(request, "CommonName"))) {
        parameters.alternativeNames.push_back(std::move(name));
    }
}

Refusal readAlternativeNames(const CSRRequest& request, CsrParameters& parameters) {
    const std::span<const std::string> names = arrayOf(request, "AlternativeNames");
    if (names.empty()) {
        addCommonName(request, parameters);
    }
    if (names.size() > MOST_ALTERNATIVE_NAMES) {
        return refuse("There are more than " + std::to_string(MOST_ALTERNATIVE_NAMES) +
                          " names. Give fewer.",
                      "AlternativeNames");
    }
    for (const std::string& value : names) {
        GeneralNameHandle name = alternativeName(value);
        if (!name) {
            return refuse(alternativeNameRefusal(value), "AlternativeNames");
        }
        parameters.alternativeNames.push_back(std::move(name));
    }
    return std::nullopt;
}

Refusal readKeyUsage(const CSRRequest& request, CsrParameters& parameters) {
    const std::span<const std::string> usages = arrayOf(request, "KeyUsage");
    for (const std::string& value : usages) {
        const std::optional<KeyUsageValue> usage = keyUsageNamed(value);
        if (!usage) {
            return notInList(value, "KeyUsage", requestableUsages());
        }
        parameters.keyUsage.push_back(*usage);
    }
    return std::nullopt;
}

Refusal readRsaKey(const CSRRequest& request, std::string_view curveId, CsrParameters& parameters) {
    if (!curveId.empty()) {
        return wrongFormat(curveId, "KeyCurveId",
                           "An RSA key has no curve: leave it out, or give KeyPairAlgorithm "
                           "TPM_ALG_ECDSA.");
    }
    const std::int32_t bits = request.keyBitLength == 0 ? RSA_BITS.front() : request.keyBitLength;
    if (std::find(RSA_BITS.begin(), RSA_BITS.end(), bits) == RSA_BITS.end()) {
        return notInList(std::to_string(bits), "KeyBitLength", RSA_LENGTHS);
    }
    parameters.rsaBits = static_cast<unsigned int>(bits);
    return std::nullopt;
}

Refusal readEcKey(const CSRRequest& request, std::string_view curveId, CsrParameters& parameters) {
    const auto* curve = curveId.empty()
                            ? CURVES.begin()
                            : std::find_if(CURVES.begin(), CURVES.end(), [&](const Curve& known) {
                                  return known.redfishName == curveId;
                              });
    if (curve == CURVES.end()) {
        return notInList(curveId, "KeyCurveId", CURVE_NAMES);
    }
    if (request.keyBitLength != 0 && request.keyBitLength != curve->bits) {
        return wrongFormat(std::to_string(request.keyBitLength), "KeyBitLength",
                           "The curve has " + std::to_string(curve->bits) +
                               " bits: leave it out, or give KeyPairAlgorithm TPM_ALG_RSA.");
    }
    parameters.curve = curve->name;
    return std::nullopt;
}

// An algorithm that is not named follows from the rest: a curve means EC, a key length alone RSA,
// and nothing at all EC on P-256.
Refusal readKey(const CSRRequest& request, CsrParameters& parameters) {
    const std::string_view algorithm = optionalText(request, "KeyPairAlgorithm");
    const std::string_view curveId = optionalText(request, "KeyCurveId");
    const bool lengthAlone = algorithm.empty() && curveId.empty() && request.keyBitLength != 0;
    if (algorithm == "TPM_ALG_RSA" || lengthAlone) {
        return readRsaKey(request, curveId, parameters);
    }
    if (algorithm.empty() || algorithm == "TPM_ALG_ECDSA" || algorithm == "TPM_ALG_ECDH") {
        return readEcKey(request, curveId, parameters);
    }
    return notInList(algorithm, "KeyPairAlgorithm", ALGORITHMS);
}

Refusal checkUsage(const CSRRequest& /*request*/, CsrParameters& parameters) {
    const Fault conflict = keyUsageConflict(parameters.keyUsage, parameters.rsaBits == 0);
    return conflict ? refuse(*conflict, "KeyUsage") : std::nullopt;
}

} // namespace

std::optional<MessageInfo> readCsrParameters(const CSRRequest& request, CsrParameters& parameters) {
    Refusal strange = checkNames(request);
    if (strange) {
        return strange;
    }
    for (const auto& read :
         {readSubject, readAttributes, readAlternativeNames, readKeyUsage, readKey, checkUsage}) {
        Refusal refusal = read(request, parameters);
        if (refusal) {
            return refusal;
        }
    }
    return std::nullopt;
}
