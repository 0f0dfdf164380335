#include "tests/models/tokens.h"

#include <sstream>

std::vector<std::string> tokensOf(const std::string& text) {
    std::vector<std::string> tokens;
    std::istringstream stream(text);
    std::string piece;
    while (std::getline(stream, piece, ' ')) {
        if (!piece.empty()) {
            tokens.push_back(piece);
        }
    }
    return tokens;
}
