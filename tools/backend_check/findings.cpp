#include "tools/backend_check/findings.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>

namespace {

constexpr char STEP = 'S';
constexpr char FAULT = 'F';
constexpr char NOTE = 'N';
constexpr char INSTALLED = 'I';
constexpr char REMOVED = 'R';

// Below what a pipe takes in one piece.
constexpr std::size_t LONGEST = 1000;

} // namespace

void Teller::write(char kind, const std::string& text) const {
    std::string line = kind + text.substr(0, LONGEST);
    std::replace_if(
        line.begin(), line.end(), [](unsigned char byte) { return std::iscntrl(byte) != 0; }, '?');
    line += '\n';
    // A parent that has gone takes no interest in the rest.
    static_cast<void>(::write(descriptor, line.data(), line.size()) == 0);
}

void Teller::step(const std::string& what) const {
    write(STEP, what);
}

void Teller::find(Severity severity, const std::string& text) const {
    write(severity == Severity::FAULT ? FAULT : NOTE, text);
}

void Teller::installed(const std::string& uri) const {
    write(INSTALLED, uri);
}

void Teller::removed(const std::string& uri) const {
    write(REMOVED, uri);
}

void readTold(const std::string& line, Outcome& outcome) {
    const std::string text = line.substr(1);
    switch (line.front()) {
    case STEP:
        outcome.lastStep = text;
        break;
    case FAULT:
        outcome.findings.push_back({Severity::FAULT, text});
        break;
    case NOTE:
        outcome.findings.push_back({Severity::NOTE, text});
        break;
    case INSTALLED:
        outcome.installed.push_back(text);
        break;
    case REMOVED:
        std::erase(outcome.installed, text);
        break;
    default:
        break;
    }
}
