#pragma once

// Certificate texts in files of this machine.

#include <string>

// The text of the file, or of standard input for "-". Throws FrontEndError with EXIT_LOCAL_FILE
// when it cannot be read, is longer than 1 MiB, or is not a text with a certificate in it (PEM or
// PKCS #7, RFC 7468). Whether the certificate is any good is the daemon's to say.
[[nodiscard]] std::string readCertificateFile(const std::string& path);

// The same without looking for a certificate.
[[nodiscard]] std::string readTextFile(const std::string& path);

// Writes the text to the file, or to standard output for "-". Throws FrontEndError with
// EXIT_LOCAL_FILE.
void writeTextFile(const std::string& path, const std::string& text);

// The Redfish certificate type that the text looks like: "PKCS7", "PEMchain" for several
// certificates, else "PEM".
[[nodiscard]] std::string guessCertificateType(const std::string& text);
