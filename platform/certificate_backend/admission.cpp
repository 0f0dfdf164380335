#include "platform/certificate_backend/admission.h"

#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/certificate_naming.h"
#include "platform/certificate_backend/key_rules.h"

namespace {

constexpr std::size_t MOST_NAME_COMPARISONS = 65536;

bool isSelfSigned(X509* certificate) {
    return (X509_get_extension_flags(certificate) & EXFLAG_SS) != 0;
}

KeyRules keyRulesFor(X509* certificate, std::size_t depth, CollectionKind kind) {
    if (isIdentity(kind)) {
        return depth == 0 ? IDENTITY_KEY_RULES : ISSUER_KEY_RULES;
    }
    return isSelfSigned(certificate) ? ROOT_KEY_RULES : ISSUER_KEY_RULES;
}

Fault certificateFault(X509* certificate, std::size_t depth, const PathRules& rules) {
    if (Fault fault = extensionCountFault(certificate)) {
        return fault;
    }
    if (Fault fault =
            keyFault(X509_get0_pubkey(certificate), keyRulesFor(certificate, depth, rules.kind))) {
        return fault;
    }
    if (Fault fault = extensionsFault(certificate)) {
        return fault;
    }
    if (Fault fault = validityFault(certificate, rules.clock)) {
        return fault;
    }
    const bool signatureCounts =
        !isSelfSigned(certificate) || (depth == 0 && isIdentity(rules.kind));
    return signatureCounts ? signatureFault(certificate) : std::nullopt;
}

// Names of the certificate that name constraints are compared with (RFC 5280, 4.2.1.10).
std::size_t comparedNames(X509* certificate) {
    const GeneralNamesHandle names(static_cast<GENERAL_NAMES*>(
        X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
    const int alternative = names ? sk_GENERAL_NAME_num(names.get()) : 0;
    return static_cast<std::size_t>(alternative) +
           static_cast<std::size_t>(X509_NAME_entry_count(X509_get_subject_name(certificate)));
}

std::size_t countOf(const STACK_OF(GENERAL_SUBTREE) * subtrees) {
    return subtrees == nullptr ? 0 : static_cast<std::size_t>(sk_GENERAL_SUBTREE_num(subtrees));
}

std::size_t constraintsOf(X509* certificate) {
    const NameConstraintsHandle constraints(static_cast<NAME_CONSTRAINTS*>(
        X509_get_ext_d2i(certificate, NID_name_constraints, nullptr, nullptr)));
    return constraints
               ? countOf(constraints->permittedSubtrees) + countOf(constraints->excludedSubtrees)
               : 0;
}

// Each name of a chain may be compared with each constraint of it.
Fault comparisonsFault(const CertificateChain& chain) {
    std::size_t constraints = 0;
    for (const CertificateHandle& certificate : chain) {
        constraints += constraintsOf(certificate.get());
    }
    std::size_t names = 0;
    for (const CertificateHandle& certificate : chain) {
        names += constraints == 0 ? 0 : comparedNames(certificate.get());
    }
    if (names * constraints <= MOST_NAME_COMPARISONS) {
        return std::nullopt;
    }
    return "The chain has too many alternative names and name constraints to compare. Send one "
           "with fewer.";
}

Fault pathFault(const CertificateChain& chain, const AdmissionRules& rules) {
    Fault fault = chainFault(chain, rules.path);
    const bool rootsCount = rules.roots != nullptr && isIdentity(rules.path.kind);
    return fault || !rootsCount ? fault : rootFault(chain, rules.roots, rules.path);
}

} // namespace

Fault admissionFault(const CertificateChain& chain, const AdmissionRules& rules) {
    for (std::size_t depth = 0; depth < chain.size(); ++depth) {
        X509* const certificate = chain[depth].get();
        if (const Fault fault = certificateFault(certificate, depth, rules.path)) {
            return saidOf(certificate, depth, fault);
        }
    }
    X509* const first = chain.front().get();
    if (isIdentity(rules.path.kind)) {
        if (const Fault fault = identityUseFault(first, rules.path.kind)) {
            return saidOf(first, 0, fault);
        }
    }
    Fault fault = comparisonsFault(chain);
    return fault ? fault : pathFault(chain, rules);
}
