#pragma once

// Owners of OpenSSL objects: each frees its object at the end of its scope.

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

// Calls one of OpenSSL's free functions.
template <auto release>
struct OpenSSLRelease {
    template <typename Object>
    void operator()(Object* object) const {
        release(object);
    }
};

using CertificateHandle = std::unique_ptr<X509, OpenSSLRelease<X509_free>>;
using KeyHandle = std::unique_ptr<EVP_PKEY, OpenSSLRelease<EVP_PKEY_free>>;
using KeyContextHandle = std::unique_ptr<EVP_PKEY_CTX, OpenSSLRelease<EVP_PKEY_CTX_free>>;
using DigestContextHandle = std::unique_ptr<EVP_MD_CTX, OpenSSLRelease<EVP_MD_CTX_free>>;
using CipherContextHandle =
    std::unique_ptr<EVP_CIPHER_CTX, OpenSSLRelease<EVP_CIPHER_CTX_free>>; // wipes the expanded key
using BioHandle = std::unique_ptr<BIO, OpenSSLRelease<BIO_free_all>>;
using SignedDataHandle = std::unique_ptr<PKCS7, OpenSSLRelease<PKCS7_free>>;
using RootsHandle = std::unique_ptr<X509_STORE, OpenSSLRelease<X509_STORE_free>>;
using ValidationHandle = std::unique_ptr<X509_STORE_CTX, OpenSSLRelease<X509_STORE_CTX_free>>;
using RequestHandle = std::unique_ptr<X509_REQ, OpenSSLRelease<X509_REQ_free>>;
using NameHandle = std::unique_ptr<X509_NAME, OpenSSLRelease<X509_NAME_free>>;
using BitStringHandle = std::unique_ptr<ASN1_BIT_STRING, OpenSSLRelease<ASN1_BIT_STRING_free>>;
using OctetStringHandle = std::unique_ptr<ASN1_STRING, OpenSSLRelease<ASN1_STRING_free>>;
using ExtensionHandle = std::unique_ptr<X509_EXTENSION, OpenSSLRelease<X509_EXTENSION_free>>;
using GeneralNameHandle = std::unique_ptr<GENERAL_NAME, OpenSSLRelease<GENERAL_NAME_free>>;
using GeneralNamesHandle = std::unique_ptr<GENERAL_NAMES, OpenSSLRelease<GENERAL_NAMES_free>>;
using NameConstraintsHandle =
    std::unique_ptr<NAME_CONSTRAINTS, OpenSSLRelease<NAME_CONSTRAINTS_free>>;
using ExtendedKeyUsageHandle =
    std::unique_ptr<EXTENDED_KEY_USAGE, OpenSSLRelease<EXTENDED_KEY_USAGE_free>>;

// The list and what is in it.
struct ReleaseExtensions {
    void operator()(STACK_OF(X509_EXTENSION) * list) const {
        sk_X509_EXTENSION_pop_free(list, X509_EXTENSION_free);
    }
};
using ExtensionsHandle = std::unique_ptr<STACK_OF(X509_EXTENSION), ReleaseExtensions>;

// The list alone: the certificates in it stay their owners'.
struct ReleaseList {
    void operator()(STACK_OF(X509) * list) const {
        sk_X509_free(list);
    }
};
using CertificateListHandle = std::unique_ptr<STACK_OF(X509), ReleaseList>;
