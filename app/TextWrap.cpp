#include "app/TextWrap.h"

#include <cstdint>
#include <vector>

namespace TextWrap {

namespace {

// One character as it is drawn: its bytes and its width.
struct Glyph {
    std::string bytes;
    std::size_t columns;
    bool blank;
};

bool IsWide(std::uint32_t c) {
    return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF && c != 0x303F) ||
           (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) ||
           (c >= 0xFE30 && c <= 0xFE4F) || (c >= 0xFF00 && c <= 0xFF60) ||
           (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x20000 && c <= 0x3FFFD);
}

// The characters of `line`. A malformed byte counts as one narrow character,
// so nothing is lost or split.
std::vector<Glyph> Glyphs(const std::string& line) {
    std::vector<Glyph> glyphs;
    for (std::size_t i = 0; i < line.size();) {
        const auto lead = static_cast<unsigned char>(line[i]);
        std::size_t length = lead < 0x80    ? 1
                             : lead >= 0xF0 ? 4
                             : lead >= 0xE0 ? 3
                             : lead >= 0xC0 ? 2
                                            : 1;
        for (std::size_t k = 1; k < length; ++k) {
            if (i + k >= line.size() || (static_cast<unsigned char>(line[i + k]) & 0xC0) != 0x80) {
                length = 1;
                break;
            }
        }
        std::uint32_t code = length == 1 ? lead : lead & (0x3F >> (length - 1));
        for (std::size_t k = 1; k < length; ++k) {
            code = (code << 6) | (static_cast<unsigned char>(line[i + k]) & 0x3F);
        }
        glyphs.push_back({line.substr(i, length), IsWide(code) ? 2u : 1u, lead == ' '});
        i += length;
    }
    return glyphs;
}

// One paragraph broken into lines of at most `columns`.
std::string WrapLine(const std::string& line, std::size_t columns) {
    const std::vector<Glyph> glyphs = Glyphs(line);
    std::string out, word, pending; // pending: blanks between the line and the word
    std::size_t used = 0, wordColumns = 0, pendingColumns = 0;
    const auto flushWord = [&] {
        if (word.empty()) {
            return;
        }
        if (used > 0 && used + pendingColumns + wordColumns > columns) {
            out += '\n';
            used = 0;
        } else if (used > 0) {
            out += pending;
            used += pendingColumns;
        }
        out += word;
        used += wordColumns;
        word.clear();
        wordColumns = 0;
        pending.clear();
        pendingColumns = 0;
    };
    for (const Glyph& glyph : glyphs) {
        if (glyph.blank) {
            flushWord();
            pending += glyph.bytes;
            pendingColumns += glyph.columns;
            continue;
        }
        // A word that fills a line by itself is cut here; so is a wide
        // character, since text in such scripts has no blanks between words.
        if (wordColumns + glyph.columns > columns || (glyph.columns == 2 && !word.empty())) {
            flushWord();
        }
        word += glyph.bytes;
        wordColumns += glyph.columns;
    }
    flushWord();
    return out;
}

} // namespace

std::string Wrap(const std::string& text, std::size_t columns) {
    if (columns == 0) {
        return text;
    }
    std::string out;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = text.find('\n', start);
        out += WrapLine(text.substr(start, end - start), columns);
        if (end == std::string::npos) {
            return out;
        }
        out += '\n';
        start = end + 1;
    }
}

} // namespace TextWrap
