#pragma once

// Redis commands as a test compares them.

#include <string>
#include <vector>

// A command's words: its name as it was sent, then its arguments.
using Command = std::vector<std::string>;
using Commands = std::vector<Command>;

// The text in double quotes when it is empty or holds a blank, a quote or a byte that does not
// print; such bytes are written as \n, \r, \t, \" , \\ or \xHH. Any other text as it is.
[[nodiscard]] std::string describeText(const std::string& text);

// One line for each command, words separated by blanks, each as describeText gives it. Every line
// ends in a line feed.
[[nodiscard]] std::string describeCommands(const Commands& commands);
