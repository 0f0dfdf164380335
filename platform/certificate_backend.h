#pragma once

// The certificate backend: the library that does the cryptographic and file work.
//
// A closed interface: header and soname (libcertificate_backend.so.1) are the contract, so that a
// board's own library replaces the reference implementation without a rebuild of the daemon. The
// order and the types of the members below are part of the binary interface.
//
// The functions have C++ linkage, so the binary interface is that of libstdc++ with GCC's strings
// since version 5 (_GLIBCXX_USE_CXX11_ABI=1): a library that is built with the older ones or with
// libc++ exports other names and is not found. certificate-backend-check tells that, and tries the
// rest of the contract.
//
// Result codes follow HTTP: 200 is success, 400 a request that is wrong in itself, any other code
// a fault of the service. The message says what went wrong in terms of a Redfish message registry
// (DMTF DSP0268 message registries); with an empty MessageId the caller chooses a general message.
//
// The four handlers may run at the same time on different threads. An exception that leaves a
// handler ends the daemon, or the task worker when it leaves a signing request that runs as a task.

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

struct MessageInfo {
    std::string MessageId;                      // registry prefix and message name, or empty
    std::vector<std::string> MessageArgs;       // in registry order
    std::vector<std::string> RelatedProperties; // the properties concerned
};

// A certificate to be validated and installed in a collection.
struct CreateCertRequest {
    std::string collectionUri;
    std::string certificateString; // as the client sent it
    std::string certificateType;   // Redfish CertificateType
    std::string certificateId;     // last segment of the new resource's URI
    std::string rootCaFile;        // PEM file of trusted roots, or empty for none
};

struct CreateCertResult {
    std::int32_t code = 0;
    std::vector<std::string> keyUsage; // Redfish KeyUsage values
    // Redfish Identifier properties; of an attribute with several values the most specific.
    std::unordered_map<std::string, std::string> issuer;
    std::unordered_map<std::string, std::string> subject;
    std::string validNotBefore;    // ISO 8601, UTC
    std::string validNotAfter;     // ISO 8601, UTC
    std::string certificateString; // the backend's form of the certificate
    std::string privateKeyValue;   // where the private key is kept, never the key; or empty
    MessageInfo message;
};

struct DeleteCertResult {
    std::int32_t code = 0;
    MessageInfo message;
};

// A signing request to be made. The maps are keyed by the Redfish names of the action's parameters.
struct CSRRequest {
    std::string collectionUri;
    std::int32_t keyBitLength = 0; // 0: not given
    std::unordered_map<std::string, std::vector<std::string>> arrayParameters;
    std::unordered_map<std::string, std::string> stringParameters;
};

struct CSRResult {
    std::int32_t code = 0;
    std::string csr; // PEM text of the signing request (RFC 2986), when code is 200
    MessageInfo message;
};

// A certificate that takes the place of an installed one.
struct ReplaceCertRequest {
    std::string certificateUri;
    std::string certificateString; // as the client sent it
    std::string certificateType;   // Redfish CertificateType
    std::string rootCaFile;        // PEM file of trusted roots, or empty for none
};

// Validates the certificate and installs it as collectionUri + "/" + certificateId.
CreateCertResult createCertificateHandler(const CreateCertRequest& request);

// Removes what is installed for the certificate resource.
DeleteCertResult deleteCertificateHandler(const std::string& certificateUri);

// Makes a key pair, keeps its private key, and returns the signing request for it.
CSRResult generateCSRHandler(const CSRRequest& request);

// Puts another certificate in the place of an installed one, all or nothing. When the text is the
// installed one already: code 200 with MessageId "Base.1.9.NoOperation", and nothing is changed.
CreateCertResult replaceCertificateHandler(const ReplaceCertRequest& request);
