#pragma once

// The commands of certificatectl. Each has a file of its own that holds its options, its help and
// its work.

#include <functional>

namespace CLI {
class App;
}

struct CommonOptions {
    bool json = false;
    double timeout = 0; // seconds; 0: the command's own
};

// Ends a command that has shown what differs, with the exit code of a refusal.
struct LeftDifferent {};

// Ends a command that has shown certificates which expire too soon, with an exit code of its own.
struct CertificatesExpire {};

// The work of a command whose options have been read. Returns when all is done; throws
// ServiceRefusal when the service refuses, LeftDifferent or CertificatesExpire as above,
// FrontEndError for any other early end.
using Command = std::function<void(const CommonOptions&)>;

// Each adds one command to the command line. Reading a command line that names the command makes
// its work the chosen one.
void addInit(CLI::App& app, Command& chosen);
void addGet(CLI::App& app, Command& chosen);
void addList(CLI::App& app, Command& chosen);
void addShow(CLI::App& app, Command& chosen);
void addCreate(CLI::App& app, Command& chosen);
void addDelete(CLI::App& app, Command& chosen);
void addReplace(CLI::App& app, Command& chosen);
void addGenerateCsr(CLI::App& app, Command& chosen);
void addAction(CLI::App& app, Command& chosen);
void addRequests(CLI::App& app, Command& chosen);
void addRollback(CLI::App& app, Command& chosen);
void addCheck(CLI::App& app, Command& chosen);
void addTasks(CLI::App& app, Command& chosen);
void addWatch(CLI::App& app, Command& chosen);
void addPing(CLI::App& app, Command& chosen);
