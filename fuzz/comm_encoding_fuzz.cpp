// Drives the URL and form encoders, URL parsing, the proxy exceptions match,
// the translation of proxies and exceptions as people write them, and the
// proxy settings read from fuzzer-chosen proxy variables.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "comm/CommunicationLibrary.h"
#include "comm/ProxyConventions.h"
#include "comm/ProxyExceptions.h"
#include "comm/platform/Network.h"

namespace {

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Splits at 0xFF bytes: the first part is the subject, the rest a list.
std::vector<std::string> Split(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> parts(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0xFF) {
            parts.emplace_back();
        } else {
            parts.back() += static_cast<char>(data[i]);
        }
    }
    return parts;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("GSETTINGS_BACKEND", "memory", 1); // never the user's desktop settings
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = Split(data, size);
    const std::string& text = parts[0];
    CommunicationLibrary comm;

    const std::string url = comm.EncodeUrl(text);
    Check(url.size() <= 3 * text.size());
    // Only kept bytes and upper-case escapes come out.
    const std::string kept =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz!&'()*+,-./:;=?@_";
    for (std::size_t i = 0; i < url.size(); ++i) {
        if (url[i] == '%') {
            Check(i + 2 < url.size());
            Check(std::string("0123456789ABCDEF").find(url[i + 1]) != std::string::npos);
            Check(std::string("0123456789ABCDEF").find(url[i + 2]) != std::string::npos);
            i += 2;
        } else {
            Check(kept.find(url[i]) != std::string::npos);
        }
    }
    Check(comm.EncodeFormValue(text).size() <= 6 * text.size());

    const Network::UrlParts urlParts = Network::ParseUrl(text);
    Check(urlParts.scheme.size() + urlParts.host.size() + urlParts.port.size() <= text.size());

    const std::vector<std::string> exceptions(parts.begin() + 1, parts.end());
    ProxyExceptions::Exempts(exceptions, Network::HostInfo{text, text});

    // Credentials never leak into the host text, which reaches a shell.
    if (const auto proxy = ProxyConventions::ParseProxy(text)) {
        Check(proxy->host.find_first_of("@ ;&|'\"$`") == std::string::npos);
    }
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
