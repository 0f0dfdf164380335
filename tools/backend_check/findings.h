#pragma once

// What a check finds, and the way on which it is told while the check runs: line by line through a
// pipe, so that a crash loses nothing that was found before.

#include <string>
#include <vector>

enum class Severity {
    FAULT, // the contract is broken
    NOTE,  // allowed, but worth a look
};

struct Finding {
    Severity severity = Severity::FAULT;
    std::string text;
};

// What came of one check.
struct Outcome {
    std::vector<Finding> findings;
    std::string lastStep;               // what the library was asked last; empty: nothing yet
    std::vector<std::string> installed; // certificates that the check has left installed
    std::string end;                    // how the check ended early; empty: it did not
    std::string output;                 // what the library has printed
};

// The child's end of the pipe. Safe on any thread: each line is one write.
class Teller {
public:
    explicit Teller(int pipeDescriptor) : descriptor(pipeDescriptor) {}

    void step(const std::string& what) const;
    void find(Severity severity, const std::string& text) const;
    void installed(const std::string& uri) const;
    void removed(const std::string& uri) const;

private:
    void write(char kind, const std::string& text) const;

    int descriptor;
};

// Adds a line that a Teller has written, without its line end.
void readTold(const std::string& line, Outcome& outcome);
