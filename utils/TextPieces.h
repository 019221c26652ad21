// Trimming and splitting of plain text, shared by the library and the app.
//
// Environment lists, proxy lists, os-release lines and answers typed at a
// terminal are all cut the same way; these two functions are the one place
// that does it. No locale is consulted: blanks are ASCII space, tab, CR and
// LF.
#pragma once

#include <string>
#include <vector>

namespace TextPieces {

// `text` without leading and trailing blanks (space, tab, CR, LF).
std::string Trim(const std::string& text);

// The pieces of `text` between each `delimiter`, in order and as written:
// "a,,b" gives "a", "", "b"; an empty text gives one empty piece.
std::vector<std::string> Split(const std::string& text, char delimiter);

// The pieces of `text` between each `delimiter`, trimmed, empty ones left
// out: " a , ,b " gives "a", "b".
std::vector<std::string> SplitTrimmed(const std::string& text, char delimiter);

} // namespace TextPieces
