#include "utils/TextPieces.h"

namespace TextPieces {

std::string Trim(const std::string& text) {
    const char* const blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) {
        return "";
    }
    const std::size_t last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

std::vector<std::string> Split(const std::string& text, char delimiter) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = text.find(delimiter, start);
        if (end == std::string::npos) {
            pieces.push_back(text.substr(start));
            return pieces;
        }
        pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
}

std::vector<std::string> SplitTrimmed(const std::string& text, char delimiter) {
    std::vector<std::string> pieces;
    for (const std::string& piece : Split(text, delimiter)) {
        std::string trimmed = Trim(piece);
        if (!trimmed.empty()) {
            pieces.push_back(std::move(trimmed));
        }
    }
    return pieces;
}

} // namespace TextPieces
