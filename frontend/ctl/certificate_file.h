#pragma once

// Certificate texts in files of this machine. They may hold private keys, so that the one who reads
// a text wipes it.

#include <string>
#include <string_view>

// As the command line names a certificate.
struct CertificateSource {
    std::string file; // "-": standard input
    std::string type; // a Redfish certificate type; empty: as the text looks
};

struct CertificateText {
    std::string text;
    std::string type;
};

// The text of the file, byte for byte. Throws FrontEndError (LOCAL_FILE) when it cannot be read, is
// longer than 1 MiB, or is not a text with a certificate in it (PEM or PKCS #7, RFC 7468). Whether
// the certificate is any good is for the daemon to say.
[[nodiscard]] CertificateText readCertificate(const CertificateSource& source);

// "PKCS7", "PEMchain" for several certificates, else "PEM".
[[nodiscard]] std::string guessCertificateType(std::string_view text);

// The text of any file, or of standard input for "-". Throws FrontEndError (LOCAL_FILE) when it
// cannot be read or is longer than 1 MiB.
[[nodiscard]] std::string readTextFile(const std::string& path);

// Writes the text to the file, or to standard output for "-". Throws FrontEndError (LOCAL_FILE).
void writeTextFile(const std::string& path, const std::string& text);
