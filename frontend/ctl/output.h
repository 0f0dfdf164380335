#pragma once

// What the commands show: words for a person, or one JSON document for a script.
//
// Results go to standard output, progress and errors to standard error. Words are coloured when
// they go to a terminal and NO_COLOR is not set. Texts from elsewhere are shown without control
// characters.

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>
#include <vector>

struct FrontEndError;
struct ServiceAnswer;

enum class Colour { NONE, GOOD, WARNING, BAD, SOFT };

// Those of the three standard streams that are closed get descriptors that nothing can be read from
// or written to, so that no connection takes their place. To be called before anything is opened.
void occupyStandardStreams();

// Functions that write to standard output throw FrontEndError (LOCAL_FILE) when it takes no more;
// what cannot be said on standard error stays unsaid.

// The text as it is.
void printText(const std::string& text);

// The line with a line end. colour has an effect on a terminal only.
void printLine(const std::string& line, Colour colour = Colour::NONE);

// The same on standard error.
void printNote(const std::string& line, Colour colour = Colour::NONE);

// "  name     text"
void printField(const std::string& name, const std::string& text);

// Indented over several lines, or on one line; with a line end.
void printJson(const nlohmann::json& document, bool compact = false);

// The service's refusal: in words on standard error, and as JSON on standard output when asked for.
// The hint, which may be empty, tells what to do about it. The exit code that goes with it.
int reportRefusal(const ServiceAnswer& answer, const std::string& hint, bool json);

// An error of the front end, in the same way.
int reportError(const FrontEndError& error, bool json);

// The text with control characters, which would steer the terminal, as \n, \t or \xHH.
[[nodiscard]] std::string printableText(std::string_view text);

// "a, b, c"
[[nodiscard]] std::string joined(const std::vector<std::string>& texts);

// "12 ms", "3.2 s"
[[nodiscard]] std::string durationText(double seconds);
