// Drives the URL and form encoders, URL parsing, the proxy exceptions match,
// the translation of proxies and exceptions as people write them, and the
// proxy settings read from fuzzer-chosen proxy variables. The encoders and
// the exceptions match are held to plain restatements of their rules.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "comm/CommunicationLibrary.h"
#include "comm/ProxyConventions.h"
#include "comm/ProxyExceptions.h"
#include "comm/UrlParts.h"
#include "utils/TextPieces.h"

namespace {

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

bool IsUpperHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
}

// Undoes EncodeUrl: every "%XY" back to its byte, anything else as it is.
// Escapes must use upper-case digits.
std::string PercentDecoded(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        Check(i + 2 < text.size() && IsUpperHex(text[i + 1]) && IsUpperHex(text[i + 2]));
        out += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
        i += 2;
    }
    return out;
}

// The URL encoding loses nothing, escapes "%" itself, keeps only printable
// ASCII other than the blank, and a kept byte is kept wherever it stands.
void CheckUrlEncoding(CommunicationLibrary& comm, const std::string& text) {
    const std::string url = comm.EncodeUrl(text);
    Check(PercentDecoded(url) == text);
    for (const char c : url) {
        Check(c > ' ' && c < 0x7F);
        if (c != '%') {
            Check(comm.EncodeUrl(std::string(1, c)) == std::string(1, c));
        }
    }
}

// A form value is the URL encoding, byte by byte, except that a blank
// becomes "+" and a line feed "%0D%0A".
void CheckFormEncoding(CommunicationLibrary& comm, const std::string& text) {
    std::string expected;
    for (const char c : text) {
        expected += c == ' ' ? "+" : c == '\n' ? "%0D%0A" : comm.EncodeUrl(std::string(1, c));
    }
    Check(comm.EncodeFormValue(text) == expected);
}

bool EndsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}

// The exceptions rule written out plainly. Address pass: an entry, less one
// trailing "*", that is not empty and begins the address exempts the host.
// Name pass: an entry the name ends with exempts it when the two are the
// same, or when the name also ends with the entry with a "." in front
// (unless the entry begins with one already).
bool ExemptsByTheRule(const std::vector<std::string>& entries, const std::string& address,
                      const std::string& name) {
    for (const std::string& entry : entries) {
        std::string prefix = entry;
        if (EndsWith(prefix, "*")) {
            prefix.pop_back();
        }
        if (!prefix.empty() && address.substr(0, prefix.size()) == prefix) {
            return true;
        }
    }
    for (const std::string& entry : entries) {
        if (!EndsWith(name, entry)) {
            continue;
        }
        const std::string domain = entry.substr(0, 1) == "." ? entry : "." + entry;
        if (name == entry || EndsWith(name, domain)) {
            return true;
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("GSETTINGS_BACKEND", "memory", 1); // never the user's desktop settings
    return 0;
}

// The input is cut at 0xFF bytes: the first piece is the subject (text to
// encode, URL, proxy, host address), the second the host's name, and those
// after it the exceptions entries; every piece after the first is also an
// entry to translate.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts =
        TextPieces::Split(std::string(reinterpret_cast<const char*>(data), size), '\xFF');
    const std::string& text = parts[0];
    CommunicationLibrary comm;
    CheckUrlEncoding(comm, text);
    CheckFormEncoding(comm, text);

    const Url::Parts urlParts = Url::Split(text);
    Check(urlParts.scheme.size() + urlParts.host.size() + urlParts.port.size() <= text.size());

    const std::string& name = parts.size() > 1 ? parts[1] : text;
    const std::vector<std::string> entries(parts.begin() + std::min<std::size_t>(parts.size(), 2),
                                           parts.end());
    Check(ProxyExceptions::Exempts(entries, Network::HostInfo{text, name}) ==
          ExemptsByTheRule(entries, text, name));

    // Credentials never leak into the host text, which reaches a shell.
    if (const auto proxy = ProxyConventions::ParseProxy(text)) {
        Check(proxy->host.find_first_of("@ ;&|'\"$`") == std::string::npos);
    }
    const std::vector<std::string> exceptions(parts.begin() + 1, parts.end());
    const std::vector<std::string> translated = ProxyConventions::TranslateExceptions(exceptions);
    Check(translated.size() <= 256 * (exceptions.size() + 1));

    setenv("http_proxy", text.c_str(), 1);
    setenv("no_proxy", parts.back().c_str(), 1);
    char host[150];
    unsigned short port = 1;
    if (!comm.GetHTTPProxySetting(host, sizeof host, &port)) {
        Check(host[0] == '\0' && port == 0);
    }
    return 0;
}
