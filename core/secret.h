#pragma once

// Secrets in memory: they are overwritten as soon as they have served.

#include <string>

// Overwrites the whole buffer of the text, its unused capacity included, and empties it.
void wipeText(std::string& text);

// Keeps the process's memory out of core files and away from other processes' eyes. Best effort.
void forbidCoreFiles();
