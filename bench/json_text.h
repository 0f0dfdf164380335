#pragma once

// What one would do without the store: the whole document as one JSON text under one key. It is
// shown beside the store's operations; other programs could not share its members.

#include "bench/exchange.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>

struct redisContext;

// The command that stores the text. Its key is none of the store's.
[[nodiscard]] Exchange jsonTextContent(const nlohmann::json& document);

// Each throws std::runtime_error when Redis does not answer as it should.
void readJsonText(redisContext* context, nlohmann::json& document);
void writeJsonText(redisContext* context, const nlohmann::json& document);

// Reads the document, has it changed and writes it back.
void updateJsonText(redisContext* context, const std::function<void(nlohmann::json&)>& change);
