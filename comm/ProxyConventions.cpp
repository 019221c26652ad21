#include "comm/ProxyConventions.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>

#include "utils/TextPieces.h"

namespace ProxyConventions {
namespace {

std::string Lowered(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

bool ConsistsOf(const std::string& text, const char* allowed) {
    return text.find_first_not_of(allowed) == std::string::npos;
}

std::string PercentDecoded(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() &&
            std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
            out += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

// curl's port for a proxy written without one.
long long DefaultPort(const std::string& scheme) {
    return scheme == "https" ? 443 : 1080;
}

bool KnownScheme(const std::string& scheme) {
    static const char* const kSchemes[] = {"http",    "https",  "socks4",
                                           "socks4a", "socks5", "socks5h"};
    return std::find(std::begin(kSchemes), std::end(kSchemes), scheme) != std::end(kSchemes);
}

// Splits "host:port", "[v6]:port" or a bare IPv6 address into host text
// (IPv6 in brackets) and port text.
void SplitHostPort(const std::string& authority, std::string& host, std::string& port) {
    if (!authority.empty() && authority[0] == '[') {
        const std::size_t close = authority.find(']');
        host = authority.substr(0, close == std::string::npos ? close : close + 1);
        if (close != std::string::npos && authority.compare(close + 1, 1, ":") == 0) {
            port = authority.substr(close + 2);
        }
        return;
    }
    if (std::count(authority.begin(), authority.end(), ':') > 1) {
        host = "[" + authority + "]"; // IPv6 written without brackets or port
        return;
    }
    const std::size_t colon = authority.find(':');
    host = authority.substr(0, colon);
    port = colon == std::string::npos ? "" : authority.substr(colon + 1);
}

std::optional<std::uint32_t> ParseIPv4(const std::string& text) {
    const std::vector<std::string> numbers = TextPieces::Split(text, '.');
    if (numbers.size() != 4) {
        return std::nullopt;
    }
    std::uint32_t address = 0;
    for (const std::string& number : numbers) {
        if (number.empty() || number.size() > 3 || !ConsistsOf(number, "0123456789") ||
            std::atoi(number.c_str()) > 255) {
            return std::nullopt;
        }
        address = address << 8 | static_cast<std::uint32_t>(std::atoi(number.c_str()));
    }
    return address;
}

// The prefixes of a number's text that match exactly the numbers lo..hi,
// shortest first: a number already matched by a chosen prefix ("1" matches
// 10 to 19 and 100 to 199) needs none of its own.
std::vector<std::string> LastNumberPrefixes(unsigned lo, unsigned hi) {
    std::vector<std::string> chosen;
    for (unsigned value = lo; value <= hi; ++value) {
        const std::string text = std::to_string(value);
        const bool covered = std::any_of(chosen.begin(), chosen.end(), [&](const std::string& p) {
            return text.compare(0, p.size(), p) == 0;
        });
        if (!covered) {
            chosen.push_back(text);
        }
    }
    return chosen;
}

// "a.b.c.d/n" as address prefixes; nullopt when it is no IPv4 CIDR block.
std::optional<std::vector<std::string>> CidrPrefixes(const std::string& entry) {
    const std::size_t slash = entry.find('/');
    const std::string bitsText = slash == std::string::npos ? "" : entry.substr(slash + 1);
    if (bitsText.empty() || bitsText.size() > 2 || !ConsistsOf(bitsText, "0123456789")) {
        return std::nullopt;
    }
    const int bits = std::atoi(bitsText.c_str());
    const std::optional<std::uint32_t> address = ParseIPv4(entry.substr(0, slash));
    if (!address || bits > 32) {
        return std::nullopt;
    }
    const std::uint32_t mask = bits == 0 ? 0 : ~std::uint32_t{0} << (32 - bits);
    const std::uint32_t first = *address & mask, last = first | ~mask;
    const int varying = bits == 32 ? 3 : bits / 8; // the first number that varies
    std::string prefix;
    for (int i = 0; i < varying; ++i) {
        prefix += std::to_string(first >> (24 - 8 * i) & 0xFF) + ".";
    }
    const unsigned lo = first >> (24 - 8 * varying) & 0xFF, hi = last >> (24 - 8 * varying) & 0xFF;
    if (lo == 0 && hi == 255 && !prefix.empty()) {
        return std::vector<std::string>{prefix};
    }
    std::vector<std::string> prefixes;
    if (varying < 3) {
        for (unsigned value = lo; value <= hi; ++value) {
            prefixes.push_back(prefix + std::to_string(value) + ".");
        }
        return prefixes;
    }
    for (const std::string& number : LastNumberPrefixes(lo, hi)) {
        prefixes.push_back(prefix + number);
    }
    return prefixes;
}

} // namespace

std::optional<ProxyAddress> ParseProxy(const std::string& written) {
    std::string text = TextPieces::Trim(written);
    std::string scheme = "http";
    if (const std::size_t mark = text.find("://"); mark != std::string::npos) {
        scheme = Lowered(text.substr(0, mark));
        text.erase(0, mark + 3);
    }
    std::string authority = text.substr(0, text.find_first_of("/?#"));
    ProxyAddress proxy;
    if (const std::size_t at = authority.rfind('@'); at != std::string::npos) {
        const std::string userInfo = authority.substr(0, at);
        const std::size_t colon = userInfo.find(':');
        proxy.user = PercentDecoded(userInfo.substr(0, colon));
        proxy.password =
            colon == std::string::npos ? "" : PercentDecoded(userInfo.substr(colon + 1));
        proxy.hasCredentials = true;
        authority.erase(0, at + 1);
    }
    std::string host, port;
    SplitHostPort(authority, host, port);
    const char* hostCharacters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_[]:%";
    if (!KnownScheme(scheme) || host.empty() || !ConsistsOf(host, hostCharacters)) {
        return std::nullopt;
    }
    proxy.host = scheme == "http" ? host : scheme + "://" + host;
    const bool numeric = !port.empty() && port.size() < 10 && ConsistsOf(port, "0123456789");
    proxy.port = numeric ? std::atoll(port.c_str()) : DefaultPort(scheme);
    return proxy;
}

bool ExemptsEverything(const std::string& noProxy) {
    return TextPieces::Trim(noProxy) == "*";
}

std::vector<std::string> TranslateException(const std::string& written) {
    const std::string entry = TextPieces::Trim(written);
    if (entry.compare(0, 2, "*.") == 0) {
        return {entry.substr(1)};
    }
    if (std::optional<std::vector<std::string>> prefixes = CidrPrefixes(entry)) {
        return *prefixes;
    }
    if (!entry.empty() && entry[0] == '[') {
        return {entry.substr(1, entry.find(']') - 1)};
    }
    if (std::count(entry.begin(), entry.end(), ':') == 1) {
        return {entry.substr(0, entry.find(':'))};
    }
    return {entry};
}

std::vector<std::string> TranslateExceptions(const std::vector<std::string>& entries) {
    std::vector<std::string> translated;
    for (const std::string& entry : entries) {
        for (std::string& each : TranslateException(entry)) {
            if (!each.empty()) {
                translated.push_back(std::move(each));
            }
        }
    }
    return translated;
}

bool HasNameEntries(const std::vector<std::string>& entries) {
    return std::any_of(entries.begin(), entries.end(), [](const std::string& entry) {
        return entry.find(':') == std::string::npos && !ConsistsOf(entry, "0123456789.*");
    });
}

} // namespace ProxyConventions
