#pragma once

// Secrets in memory: they are overwritten as soon as they have served.
//
// These functions overwrite what is still owned. The heap of the daemon and of the front ends
// overwrites what has been given back (core/wiped_heap.cpp); in other programs copies that a text
// made while it grew are out of reach.

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
