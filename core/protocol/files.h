#pragma once

// Files that the board prepares for the daemon.

// Settings, lines of KEY=value (platform/configuration.h).
inline constexpr char CONFIG_FILE[] = "/usr/local/etc/nginx/CertificateService.conf";

// The key with which the front end encrypts challenge passwords (platform/data_decryption.h).
inline constexpr char PRIVATE_KEY_TEMP_FILE[] = "/var/nginx/pkey.tmp";
