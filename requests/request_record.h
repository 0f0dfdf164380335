#pragma once

// The request side of the envelope: reading the front end's request record and request body.
//
// A body may hold a private key or a password. Whoever reads one wipes the document (wipeDocument,
// core/secret.h) when it has served, on every path.

#include <nlohmann/json_fwd.hpp>

#include <string>

struct redisContext;

// Reads the body, and overwrites what the connection's buffers still hold of it. False when it
// cannot be read; the document may then hold a part.
[[nodiscard]] bool readRequestBody(redisContext* context, const std::string& requestDataKey,
                                   nlohmann::json& body);

// The string member of a record or request body. Throws nlohmann::json::type_error when it is
// missing or no string; the listeners let it end the daemon.
[[nodiscard]] std::string stringMember(nlohmann::json& record, const std::string& name);

// The same for a text that may hold a secret: the member is overwritten and left empty, so that the
// caller has the only copy.
[[nodiscard]] std::string takeSecretMember(nlohmann::json& body, const std::string& name);
