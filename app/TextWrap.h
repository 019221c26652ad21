// Word wrapping for questions shown as plain text: on a terminal, and in
// debconf frontends that show a line as it is given (GNOME's labels do not
// wrap). Widths are counted in terminal columns: East Asian wide characters
// take two.
#pragma once

#include <string>

namespace TextWrap {

// `text` with each paragraph (lines split on "\n") broken at blanks so that
// no line is wider than `columns`. A word wider than a line is broken
// between characters, never inside one; text without blanks (Japanese)
// therefore breaks between its characters. Line breaks already there stay.
std::string Wrap(const std::string& text, std::size_t columns);

} // namespace TextWrap
