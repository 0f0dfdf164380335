#pragma once

// Sending a replacement, from whichever text it comes.

#include "frontend/ctl/certificate_file.h"
#include "frontend/ctl/commands.h"

#include <string>

// Has the daemon put the certificate in the place of the installed one, refreshes the resource, and
// shows what came of it. The text, which may hold a private key, is wiped whatever comes of it.
// Throws as sendRequest does.
void replaceAndShow(const CommonOptions& common, const std::string& uri,
                    CertificateText certificateText);
