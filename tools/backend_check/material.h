#pragma once

// The certificates and keys with which a backend is tried, made afresh with OpenSSL.
//
// Functions throw std::runtime_error when OpenSSL fails.

#include <ctime>
#include <string>

struct KeyPair {
    std::string certificate; // PEM
    std::string privateKey;  // PEM, PKCS #8
};

struct Material {
    KeyPair authority;
    KeyPair stranger;
    KeyPair first;       // for servers, issued by the authority
    KeyPair second;      // the same with another key and name
    KeyPair expired;     // the same, over since yesterday
    std::time_t from{};  // validity of first and second
    std::time_t until{}; // the same
};

inline constexpr char FIRST_NAME[] = "first.backend-check.example";
inline constexpr char SECOND_NAME[] = "second.backend-check.example";
inline constexpr char AUTHORITY_NAME[] = "Backend Check Authority";
inline constexpr char ORGANIZATION_NAME[] = "Backend Check";

[[nodiscard]] Material makeMaterial();

// Another pair like Material::first, issued by the authority.
[[nodiscard]] KeyPair makeServer(const Material& material, const std::string& commonName);

// A server's certificate, issued by the authority, for the key of the signing request (PEM). Throws
// also when the request is none or its signature is wrong.
[[nodiscard]] std::string certifyRequest(const Material& material, const std::string& request);

// Certificate and key, as a client sends them.
[[nodiscard]] std::string withKey(const KeyPair& pair);

// Whether the text holds the private key (PEM), in whatever form: a PEM block, or the number itself
// as bytes, in hexadecimal or in base64.
[[nodiscard]] bool holdsKey(const std::string& text, const std::string& privateKey);
