// Recording with MONITOR, and reading its lines.
//
// The end of a recording is a command with a text that nobody else sends: the server lists commands
// in the order in which it runs them, so nothing earlier is missing once that text has come.

#include "tests/support/command_monitor.h"

#include "tests/support/wait.h"

#include <stdexcept>

namespace {

const std::string END_MARKER = "end of recording 5e8d3a71";

int hexDigit(char c) {
    const std::string digits = "0123456789abcdef";
    const auto value = digits.find(c);
    if (value == std::string::npos) {
        throw std::runtime_error("no hexadecimal digit in a MONITOR line");
    }
    return static_cast<int>(value);
}

// The byte of the escape whose letter is at position; position ends on the escape's last character.
char unescape(const std::string& line, std::size_t& position) {
    const std::string letters = "nrtab";
    const std::string bytes = "\n\r\t\a\b";
    const char letter = line.at(position);
    if (letter == 'x') {
        const int value = hexDigit(line.at(position + 1)) * 16 + hexDigit(line.at(position + 2));
        position += 2;
        return static_cast<char>(value);
    }
    const auto index = letters.find(letter);
    return index == std::string::npos ? letter : bytes[index];
}

// The quoted word that begins at position; position ends behind its closing quote.
std::string quotedWord(const std::string& line, std::size_t& position) {
    if (line.at(position) != '"') {
        throw std::runtime_error("no quoted word in a MONITOR line: " + line);
    }
    std::string word;
    for (++position; line.at(position) != '"'; ++position) {
        if (line[position] == '\\') {
            ++position;
            word += unescape(line, position);
        } else {
            word += line[position];
        }
    }
    ++position;
    return word;
}

// One line of MONITOR: '1700000000.123456 [0 127.0.0.1:6000] "SET" "a\\x00b" "1"'.
MonitoredCommand parseMonitorLine(const std::string& line) {
    const auto open = line.find(" [");
    const auto blank = line.find(' ', open + 2);
    const auto close = line.find("] \"", open + 2);
    if (open == std::string::npos || blank == std::string::npos || close == std::string::npos ||
        blank > close) {
        throw std::runtime_error("not a MONITOR line: " + line);
    }
    MonitoredCommand command;
    command.client = line.substr(blank + 1, close - blank - 1);
    for (std::size_t position = close + 1; position < line.size();) {
        ++position; // the blank in front of a word
        command.words.push_back(quotedWord(line, position));
    }
    return command;
}

} // namespace

CommandMonitor::CommandMonitor(const RedisServer& server) : mMonitor(server), mMarker(server) {
    mMonitor.command("MONITOR");
}

const std::vector<MonitoredCommand>& CommandMonitor::stop() {
    if (mStopped) {
        return mRecorded;
    }
    mMarker.command("ECHO", END_MARKER);
    RedisAnswer line;
    while (mMonitor.nextMessage(line, WAIT_LIMIT_SECONDS)) {
        auto command = parseMonitorLine(line.text);
        if (command.words == Command{"ECHO", END_MARKER}) {
            mStopped = true;
            return mRecorded;
        }
        mRecorded.push_back(std::move(command));
    }
    throw std::runtime_error("the recording of commands does not end");
}

Commands CommandMonitor::commands() {
    return commandsFrom("");
}

Commands CommandMonitor::commandsFrom(const std::string& clientPrefix) {
    Commands result;
    for (const auto& command : stop()) {
        if (command.client.starts_with(clientPrefix)) {
            result.push_back(command.words);
        }
    }
    return result;
}
