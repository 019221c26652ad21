// URL and form encoding.
#include "comm/CommunicationLibrary.h"

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

// Digits, ASCII letters and ! & ' ( ) * + , - . / : ; = ? @ _ pass as they are.
bool IsKept(unsigned char byte) {
    if ((byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
        (byte >= 'a' && byte <= 'z')) {
        return true;
    }
    return byte == '!' || (byte >= '&' && byte <= '/') || byte == ':' || byte == ';' ||
           byte == '=' || byte == '?' || byte == '@' || byte == '_';
}

void AppendEscaped(std::string& out, unsigned char byte) {
    out += '%';
    out += kHexDigits[byte >> 4];
    out += kHexDigits[byte & 0x0F];
}

} // namespace

std::string CommunicationLibrary::EncodeUrl(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (IsKept(byte)) {
            out += c;
        } else {
            AppendEscaped(out, byte);
        }
    }
    return out;
}

std::string CommunicationLibrary::EncodeFormValue(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte == '\n') {
            out += "%0D%0A";
        } else if (byte == ' ') {
            out += '+';
        } else if (IsKept(byte)) {
            out += c; // a "+" stays, deliberately: the servers rely on it as sent
        } else {
            AppendEscaped(out, byte);
        }
    }
    return out;
}
