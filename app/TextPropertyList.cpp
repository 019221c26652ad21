// Old-style text property lists and the strings format:
//
//   { key = value; list = (a, "b c"); data = <0fa1>; }     text property list
//   "IDS_UI_BUTTON_OK" = "OK";  /* comment */  "same";      strings file
//
// Strings are quoted (with C-like escapes and \Uxxxx) or bare words. The
// file may be UTF-8 or UTF-16 with a byte order mark. Anything malformed
// rejects the whole file.
#include <cctype>

#include "app/PropertyList.h"

namespace {

void AppendUtf8(std::string& out, unsigned long code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// UTF-16 (after its byte order mark) to UTF-8; a lone surrogate becomes U+FFFD.
std::string FromUtf16(const std::string& bytes, bool bigEndian) {
    std::string out;
    auto unit = [&](std::size_t i) {
        const auto a = static_cast<unsigned char>(bytes[i]),
                   b = static_cast<unsigned char>(bytes[i + 1]);
        return bigEndian ? (a << 8 | b) : (b << 8 | a);
    };
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        unsigned long code = unit(i);
        if (code >= 0xD800 && code < 0xDC00 && i + 3 < bytes.size() && unit(i + 2) >= 0xDC00 &&
            unit(i + 2) < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (unit(i + 2) - 0xDC00);
            i += 2;
        } else if (code >= 0xD800 && code < 0xE000) {
            code = 0xFFFD;
        }
        AppendUtf8(out, code);
    }
    return out;
}

int HexValue(char c) {
    return std::isdigit(static_cast<unsigned char>(c))
               ? c - '0'
               : std::tolower(static_cast<unsigned char>(c)) - 'a' + 10;
}

class Parser {
public:
    explicit Parser(std::string text) : text_(std::move(text)) {}

    // A file with nothing in it is no property list at all.
    std::unique_ptr<PlistDictionary> ParseFile() {
        if (!SkipSpace() || pos_ == text_.size()) {
            return nullptr;
        }
        if (Peek() == '{') {
            std::optional<PlistValue> root = ParseValue(0);
            if (!root || !SkipSpace() || pos_ != text_.size()) {
                return nullptr;
            }
            auto* dictionary = std::get_if<PlistDictionary>(&root->value);
            return dictionary ? std::make_unique<PlistDictionary>(std::move(*dictionary)) : nullptr;
        }
        auto strings = std::make_unique<PlistDictionary>();
        return ParseEntries(*strings, '\0', 0) && pos_ == text_.size() ? std::move(strings)
                                                                       : nullptr;
    }

private:
    char Peek() const { return pos_ < text_.size() ? text_[pos_] : '\0'; }

    // Skips blanks and both kinds of comment; false for an unterminated one.
    bool SkipSpace() {
        while (pos_ < text_.size()) {
            if (std::isspace(static_cast<unsigned char>(text_[pos_]))) {
                ++pos_;
            } else if (text_.compare(pos_, 2, "//") == 0) {
                pos_ = std::min(text_.find('\n', pos_), text_.size());
            } else if (text_.compare(pos_, 2, "/*") == 0) {
                const std::size_t end = text_.find("*/", pos_ + 2);
                if (end == std::string::npos) {
                    pos_ = text_.size();
                    return false;
                }
                pos_ = end + 2;
            } else {
                break;
            }
        }
        return true;
    }

    bool Expect(char c) {
        if (!SkipSpace() || Peek() != c) {
            return false;
        }
        ++pos_;
        return true;
    }

    // key = value; ... up to `close` (or the end of the text for '\0').
    bool ParseEntries(PlistDictionary& dictionary, char close, int depth) {
        for (;;) {
            if (!SkipSpace()) {
                return false;
            }
            if (Peek() == close) {
                if (close != '\0') {
                    ++pos_;
                }
                return true;
            }
            std::optional<std::string> key = ParseString();
            if (!key || !SkipSpace()) {
                return false;
            }
            if (Peek() == ';' && close == '\0') { // strings format: "key"; means key = key
                ++pos_;
                dictionary[*key] = PlistValue{*key};
                continue;
            }
            if (!Expect('=')) {
                return false;
            }
            std::optional<PlistValue> value = ParseValue(depth + 1);
            if (!value || !Expect(';')) {
                return false;
            }
            dictionary[*key] = std::move(*value);
        }
    }

    // `depth` counts the containers around the value (0 for the root).
    std::optional<PlistValue> ParseValue(int depth) {
        if (!SkipSpace() || ((Peek() == '{' || Peek() == '(') && depth >= kMaxPlistNesting)) {
            return std::nullopt;
        }
        switch (Peek()) {
        case '{': {
            ++pos_;
            PlistDictionary dictionary;
            if (!ParseEntries(dictionary, '}', depth)) {
                return std::nullopt;
            }
            return PlistValue{std::move(dictionary)};
        }
        case '(':
            return ParseArray(depth);
        case '<':
            return ParseData();
        default: {
            std::optional<std::string> text = ParseString();
            return text ? std::optional<PlistValue>(PlistValue{std::move(*text)}) : std::nullopt;
        }
        }
    }

    std::optional<PlistValue> ParseArray(int depth) {
        ++pos_;
        PlistArray array;
        for (;;) {
            if (!SkipSpace()) {
                return std::nullopt;
            }
            if (Peek() == ')') {
                ++pos_;
                return PlistValue{std::move(array)};
            }
            std::optional<PlistValue> item = ParseValue(depth + 1);
            if (!item || !SkipSpace()) {
                return std::nullopt;
            }
            array.push_back(std::move(*item));
            if (Peek() == ',') {
                ++pos_;
            } else if (Peek() != ')') {
                return std::nullopt;
            }
        }
    }

    std::optional<PlistValue> ParseData() {
        ++pos_;
        PlistData data;
        int pending = -1;
        while (pos_ < text_.size() && text_[pos_] != '>') {
            const char c = text_[pos_++];
            if (std::isspace(static_cast<unsigned char>(c))) {
                continue;
            }
            if (!std::isxdigit(static_cast<unsigned char>(c))) {
                return std::nullopt;
            }
            const int digit = HexValue(c);
            if (pending < 0) {
                pending = digit;
            } else {
                data.push_back(static_cast<std::uint8_t>(pending << 4 | digit));
                pending = -1;
            }
        }
        if (pos_ >= text_.size() || pending >= 0) {
            return std::nullopt;
        }
        ++pos_;
        return PlistValue{std::move(data)};
    }

    std::optional<std::string> ParseString() {
        if (Peek() == '"') {
            return ParseQuoted();
        }
        const std::size_t start = pos_;
        while (pos_ < text_.size() &&
               (std::isalnum(static_cast<unsigned char>(text_[pos_])) ||
                std::string("_$+/:.-").find(text_[pos_]) != std::string::npos)) {
            ++pos_;
        }
        if (pos_ == start) {
            return std::nullopt;
        }
        return text_.substr(start, pos_ - start);
    }

    std::optional<std::string> ParseQuoted() {
        ++pos_;
        std::string out;
        while (pos_ < text_.size()) {
            const char c = text_[pos_++];
            if (c == '"') {
                return out;
            }
            if (c != '\\') {
                out += c;
                continue;
            }
            if (pos_ >= text_.size()) {
                return std::nullopt;
            }
            if (!ParseEscape(out)) {
                return std::nullopt;
            }
        }
        return std::nullopt; // unterminated
    }

    // Four hex digits after the \U just read; nullopt when they are not.
    std::optional<unsigned long> ParseHex4() {
        unsigned long code = 0;
        for (int i = 0; i < 4; ++i, ++pos_) {
            if (pos_ >= text_.size() || !std::isxdigit(static_cast<unsigned char>(text_[pos_]))) {
                return std::nullopt;
            }
            code = code * 16 + HexValue(text_[pos_]);
        }
        return code;
    }

    // A high surrogate takes the \U low surrogate that follows it, as
    // UTF-16 writers split a character beyond U+FFFF; a surrogate without
    // its partner becomes U+FFFD, as in UTF-16 files.
    unsigned long CombinedWithLowSurrogate(unsigned long code) {
        if (code < 0xD800 || code >= 0xE000) {
            return code;
        }
        if (code < 0xDC00 && text_.compare(pos_, 2, "\\U") == 0) {
            const std::size_t saved = pos_;
            pos_ += 2;
            const std::optional<unsigned long> low = ParseHex4();
            if (low && *low >= 0xDC00 && *low < 0xE000) {
                return 0x10000 + ((code - 0xD800) << 10) + (*low - 0xDC00);
            }
            pos_ = saved; // not a partner: read again as an escape of its own
        }
        return 0xFFFD;
    }

    bool ParseEscape(std::string& out) {
        const char c = text_[pos_++];
        switch (c) {
        case 'n':
            out += '\n';
            return true;
        case 't':
            out += '\t';
            return true;
        case 'r':
            out += '\r';
            return true;
        case 'a':
            out += '\a';
            return true;
        case 'b':
            out += '\b';
            return true;
        case 'f':
            out += '\f';
            return true;
        case 'v':
            out += '\v';
            return true;
        case 'U': {
            const std::optional<unsigned long> code = ParseHex4();
            if (!code) {
                return false;
            }
            AppendUtf8(out, CombinedWithLowSurrogate(*code));
            return true;
        }
        default:
            if (c >= '0' && c <= '7') {
                unsigned code = c - '0';
                for (int i = 0;
                     i < 2 && pos_ < text_.size() && text_[pos_] >= '0' && text_[pos_] <= '7';
                     ++i) {
                    code = code * 8 + (text_[pos_++] - '0');
                }
                out += static_cast<char>(code & 0xFF);
                return true;
            }
            out += c; // \" \\ \' and anything else stand for themselves
            return true;
        }
    }

    std::string text_;
    std::size_t pos_ = 0;
};

} // namespace

std::unique_ptr<PlistDictionary> ParseTextPropertyList(const std::string& bytes) {
    std::string text;
    if (bytes.compare(0, 2, "\xFF\xFE") == 0 || bytes.compare(0, 2, "\xFE\xFF") == 0) {
        text = FromUtf16(bytes, bytes[0] == '\xFE');
    } else if (bytes.compare(0, 3, "\xEF\xBB\xBF") == 0) {
        text = bytes.substr(3);
    } else {
        text = bytes;
    }
    return Parser(std::move(text)).ParseFile();
}
