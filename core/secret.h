#pragma once

// Secrets in memory: they are overwritten as soon as they have served.
//
// These functions overwrite what is still owned. The daemon's heap overwrites what has been given
// back (core/daemon/wiped_heap.cpp); other programs that use them have no such heap, and copies
// that a text made while it grew are out of reach there.

#include <nlohmann/json_fwd.hpp>

#include <string>

// Overwrites the whole buffer of the text, its unused capacity included, and empties it.
void wipeText(std::string& text);

// Does the same to every text value of the document, at any depth. The document keeps its shape and
// the names of its members.
void wipeDocument(nlohmann::json& document);

// Overwrites the 64 KiB of stack below the caller: what functions that have returned left there.
void wipeUnusedStack();

// Keeps the process's memory out of core files and away from other processes' eyes. Best effort.
void forbidCoreFiles();
