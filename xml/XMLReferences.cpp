// Character and entity references.
//
// Decoding and encoding are each documented as a fixed series of
// ReplaceAllString passes. They are done here in a single pass that gives
// exactly the same text: no replacement contains anything a later pass looks
// for, except the "&" that decoding "&amp;" yields, which the &apos; &lt; and
// &gt; passes still see. The tests hold both forms against each other.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "xml/ByteSearch.h"
#include "xml/XMLUtility.h"

namespace {

// What a character reference's digits would give: strtoul in base 0 with a
// lower-case "x" read as hexadecimal, cut to 16 bits.
unsigned short CharacterReferenceUnit(const std::string& text, std::size_t begin, std::size_t end) {
    std::string digits = text.substr(begin, end - begin);
    if (!digits.empty() && digits[0] == 'x') {
        digits.insert(0, "0");
    }
    return static_cast<unsigned short>(std::strtoul(digits.c_str(), nullptr, 0));
}

// True when `key` (of `length` bytes) stands at `p`, with `end` the text's end.
bool KeyAt(const char* p, const char* end, const char* key, std::size_t length) {
    return static_cast<std::size_t>(end - p) >= length && std::memcmp(p, key, length) == 0;
}

// The escape for a byte, or null when it stands for itself.
constexpr const char* EscapeFor(unsigned char byte) {
    switch (byte) {
    case '&':
        return "&amp;";
    case '"':
        return "&quot;";
    case '\'':
        return "&apos;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '\r':
        return "&#13;";
    case '\n':
        return "&#10;";
    default:
        return nullptr;
    }
}

// Every byte's encoded form, padded to eight bytes so that it can be copied
// with one fixed-size store, and its length (1 for bytes that stand for
// themselves).
struct EncodedByte {
    char bytes[8];
    unsigned char length;
};

constexpr std::array<EncodedByte, 256> kEncoded = [] {
    std::array<EncodedByte, 256> table{};
    for (int byte = 0; byte < 256; ++byte) {
        EncodedByte& entry = table[byte];
        const char* escape = EscapeFor(static_cast<unsigned char>(byte));
        if (escape == nullptr) {
            entry.bytes[0] = static_cast<char>(byte);
            entry.length = 1;
            continue;
        }
        while (escape[entry.length] != '\0') {
            entry.bytes[entry.length] = escape[entry.length];
            ++entry.length;
        }
    }
    return table;
}();

// True when one of the eight bytes at `p` is an "&".
bool HasAmpersand(const char* p) {
    std::uint64_t word;
    std::memcpy(&word, p, sizeof word);
    const std::uint64_t x = word ^ 0x2626262626262626ull; // "&" bytes become 0
    return ((x - 0x0101010101010101ull) & ~x & 0x8080808080808080ull) != 0;
}

// Decodes the reference at `p` (an "&") to `*out`; returns the bytes used.
std::size_t DecodeEntityAt(const char* p, const char* end, char* out) {
    // &quot; first, then &amp;, whose "&" may start &apos; &lt; or &gt; in
    // turn, since those are decoded after it.
    if (KeyAt(p, end, "&quot;", 6)) {
        *out = '"';
        return 6;
    }
    const bool amp = KeyAt(p, end, "&amp;", 5);
    const char* name = amp ? p + 5 : p + 1;
    const std::size_t used = name - p;
    if (name < end) {
        switch (*name) {
        case 'a':
            if (KeyAt(name, end, "apos;", 5)) {
                *out = '\'';
                return used + 5;
            }
            break;
        case 'l':
        case 'g':
            if (KeyAt(name + 1, end, "t;", 2)) {
                *out = *name == 'l' ? '<' : '>';
                return used + 3;
            }
            break;
        default:
            break;
        }
    }
    *out = '&';
    return used;
}

} // namespace

bool XMLUtility::ConvertStringReferenceToUTF8(const std::string& text, std::string& result) {
    result.clear();
    std::string withoutCharacters;
    if (!ConvertStringCharacterReferenceToUTF8(text, withoutCharacters)) {
        return false;
    }
    return ConvertStringEntityReferenceToUTF8(withoutCharacters, result);
}

bool XMLUtility::ConvertStringCharacterReferenceToUTF8(const std::string& text,
                                                       std::string& result) {
    result.clear();
    if (text.empty()) {
        return false;
    }
    std::string out;
    out.reserve(text.size());
    std::u16string run; // the references' units: collected and dropped, deliberately never written
    std::size_t work = 0; // where the unprocessed rest of the text begins
    while (text.size() - work >= 2) {
        const std::size_t amp = xmlsearch::Find(text, "&#", work);
        if (amp == xmlsearch::kNotFound || amp + 2 >= text.size()) {
            break;
        }
        if (amp != work) {
            run.clear();
            out.append(text, work, amp - work);
        }
        work = amp + 2;
        const std::size_t semicolon = text.find(';', work);
        if (semicolon == std::string::npos) {
            break; // only the "&#" is lost
        }
        if (semicolon != work) {
            run.push_back(CharacterReferenceUnit(text, work, semicolon));
        }
        work = semicolon + 1;
    }
    run.clear();
    out.append(text, work, std::string::npos);
    result = std::move(out);
    return true;
}

bool XMLUtility::ConvertStringEntityReferenceToUTF8(const std::string& text, std::string& result) {
    result.clear();
    if (text.empty()) {
        return false;
    }
    std::string out(text.size(), '\0'); // decoding never grows the text
    char* w = out.data();
    const char* p = text.data();
    const char* const end = p + text.size();
    while (p < end) {
        // Copy eight plain bytes at a time, then byte by byte up to the "&".
        while (end - p >= 8 && !HasAmpersand(p)) {
            std::memcpy(w, p, 8);
            w += 8;
            p += 8;
        }
        while (p < end && *p != '&') {
            *w++ = *p++;
        }
        if (p < end) {
            p += DecodeEntityAt(p, end, w++);
        }
    }
    out.resize(w - out.data());
    result = std::move(out);
    return true;
}

bool XMLUtility::ConvertStringUTF8ToReference(const std::string& text, std::string& result) {
    result.clear();
    std::string encoded;
    if (!ConvertStringUTF8ToEntityReference(text, encoded)) {
        return false;
    }
    result = std::move(encoded);
    return true;
}

bool XMLUtility::ConvertStringUTF8ToEntityReference(const std::string& text, std::string& result) {
    result.clear();
    if (text.empty()) {
        return false;
    }
    std::size_t length = 0;
    for (const char c : text) {
        length += kEncoded[static_cast<unsigned char>(c)].length;
    }
    std::string out(length + 8, '\0'); // room for the last padded store
    char* w = out.data();
    for (const char c : text) {
        const EncodedByte& encoded = kEncoded[static_cast<unsigned char>(c)];
        std::memcpy(w, encoded.bytes, sizeof encoded.bytes);
        w += encoded.length;
    }
    out.resize(length);
    result = std::move(out);
    return true;
}

bool XMLUtility::ConvertStringUTF8ToCharacterReference(const std::string& /*text*/,
                                                       std::string& /*result*/) {
    return true; // inert on purpose; the result is not touched
}
