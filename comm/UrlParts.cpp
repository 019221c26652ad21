#include "comm/UrlParts.h"

#include <cctype>

namespace Url {
namespace {

// The scheme's length when `url` starts with one and its colon, else 0.
std::size_t SchemeLength(const std::string& url) {
    if (url.empty() || !std::isalpha(static_cast<unsigned char>(url[0]))) {
        return 0;
    }
    const std::size_t colon =
        url.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+.-");
    return colon != std::string::npos && url[colon] == ':' ? colon : 0;
}

// Host and port of an authority without user information.
void SplitAuthority(const std::string& authority, Parts& parts) {
    std::size_t portStart = std::string::npos;
    if (!authority.empty() && authority[0] == '[') {
        const std::size_t close = authority.find(']');
        parts.host =
            authority.substr(1, close == std::string::npos ? std::string::npos : close - 1);
        if (close != std::string::npos && authority.compare(close + 1, 1, ":") == 0) {
            portStart = close + 2;
        }
    } else {
        const std::size_t colon = authority.rfind(':');
        parts.host = authority.substr(0, colon);
        portStart = colon == std::string::npos ? colon : colon + 1;
    }
    if (portStart != std::string::npos) {
        parts.port = authority.substr(portStart);
    }
}

} // namespace

Parts Split(const std::string& url) {
    Parts parts;
    const std::size_t schemeLength = SchemeLength(url);
    parts.scheme = url.substr(0, schemeLength);
    const std::size_t at = schemeLength == 0 ? 0 : schemeLength + 1;
    if (url.compare(at, 2, "//") != 0) {
        return parts; // no authority, so no host
    }
    std::string authority = url.substr(at + 2, url.find_first_of("/?#", at + 2) - (at + 2));
    const std::size_t userEnd = authority.rfind('@');
    if (userEnd != std::string::npos) {
        authority.erase(0, userEnd + 1);
    }
    SplitAuthority(authority, parts);
    return parts;
}

} // namespace Url
