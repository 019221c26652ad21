#include "comm/platform/Network.h"

#include <arpa/inet.h>
#include <gio/gio.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>

namespace Network {
namespace {

struct AddrInfoDeleter {
    void operator()(addrinfo* info) const { freeaddrinfo(info); }
};
using AddrInfo = std::unique_ptr<addrinfo, AddrInfoDeleter>;

AddrInfo Resolve(const std::string& host, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    if (host.empty() || getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0) {
        return nullptr;
    }
    return AddrInfo(found);
}

std::string AddressText(const addrinfo& info) {
    char text[NI_MAXHOST];
    if (getnameinfo(info.ai_addr, info.ai_addrlen, text, sizeof text, nullptr, 0, NI_NUMERICHOST) !=
        0) {
        return "";
    }
    return text;
}

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    const std::size_t last = text.find_last_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

// Adds <prefix>Enable/Proxy/Port for a proxy given as "host:port" or a URL;
// curl's default port 1080 stands in for a missing one.
void AddEnvironmentProxy(ProxySettings& settings, const std::string& prefix,
                         const std::string& value) {
    if (value.empty()) {
        return;
    }
    const UrlParts parts =
        ParseUrl(value.find("://") == std::string::npos ? "http://" + value : value);
    const bool numeric = !parts.port.empty() &&
                         parts.port.find_first_not_of("0123456789") == std::string::npos &&
                         parts.port.size() < 10;
    settings[prefix + "Enable"] = 1LL;
    settings[prefix + "Proxy"] = parts.host;
    settings[prefix + "Port"] = numeric ? std::atoll(parts.port.c_str()) : 1080LL;
}

ProxySettings FromEnvironment() {
    ProxySettings settings;
    // The variables curl itself honours: http_proxy only in lower case.
    AddEnvironmentProxy(settings, "HTTP", Environment("http_proxy"));
    const std::string https = Environment("https_proxy");
    AddEnvironmentProxy(settings, "HTTPS", https.empty() ? Environment("HTTPS_PROXY") : https);
    std::string noProxy = Environment("no_proxy");
    if (noProxy.empty()) {
        noProxy = Environment("NO_PROXY");
    }
    if (!noProxy.empty()) {
        std::vector<std::string> exceptions;
        std::size_t start = 0;
        while (start <= noProxy.size()) {
            const std::size_t comma = std::min(noProxy.find(',', start), noProxy.size());
            const std::string entry = Trimmed(noProxy.substr(start, comma - start));
            if (!entry.empty()) {
                exceptions.push_back(entry);
            }
            start = comma + 1;
        }
        settings["ExceptionsList"] = exceptions;
    }
    return settings;
}

// A GSettings object for `id`, or null when its schema is not installed.
// Never g_settings_new, which aborts the process for a missing schema.
GSettings* SettingsFor(const char* id) {
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    GSettingsSchema* schema =
        source != nullptr ? g_settings_schema_source_lookup(source, id, TRUE) : nullptr;
    if (schema == nullptr) {
        return nullptr;
    }
    GSettings* settings = g_settings_new_full(schema, nullptr, nullptr);
    g_settings_schema_unref(schema);
    return settings;
}

// A proxy is on when its host is set and its port is not zero.
void AddDesktopProxy(ProxySettings& settings, const std::string& prefix, const char* id) {
    GSettings* proxy = SettingsFor(id);
    if (proxy == nullptr) {
        return;
    }
    gchar* host = g_settings_get_string(proxy, "host");
    const gint port = g_settings_get_int(proxy, "port");
    settings[prefix + "Enable"] = (host[0] != '\0' && port != 0) ? 1LL : 0LL;
    settings[prefix + "Proxy"] = std::string(host);
    settings[prefix + "Port"] = static_cast<long long>(port);
    g_free(host);
    g_object_unref(proxy);
}

std::optional<ProxySettings> FromDesktop() {
    GSettings* proxy = SettingsFor("org.gnome.system.proxy");
    if (proxy == nullptr) {
        return std::nullopt;
    }
    gchar* mode = g_settings_get_string(proxy, "mode");
    std::optional<ProxySettings> settings;
    if (std::string(mode) == "manual") {
        settings.emplace();
        AddDesktopProxy(*settings, "HTTP", "org.gnome.system.proxy.http");
        AddDesktopProxy(*settings, "HTTPS", "org.gnome.system.proxy.https");
        gchar** ignore = g_settings_get_strv(proxy, "ignore-hosts");
        std::vector<std::string> exceptions;
        for (gchar** entry = ignore; *entry != nullptr; ++entry) {
            exceptions.emplace_back(*entry);
        }
        (*settings)["ExceptionsList"] = exceptions;
        g_strfreev(ignore);
    }
    g_free(mode);
    g_object_unref(proxy);
    return settings;
}

} // namespace

UrlParts ParseUrl(const std::string& url) {
    UrlParts parts;
    std::size_t at = 0;
    if (!url.empty() && std::isalpha(static_cast<unsigned char>(url[0]))) {
        const std::size_t colon = url.find_first_not_of(
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+.-");
        if (colon != std::string::npos && url[colon] == ':') {
            parts.scheme = url.substr(0, colon);
            at = colon + 1;
        }
    }
    if (url.compare(at, 2, "//") != 0) {
        return parts; // no authority, so no host
    }
    std::string authority = url.substr(at + 2, url.find_first_of("/?#", at + 2) - (at + 2));
    const std::size_t userEnd = authority.rfind('@');
    if (userEnd != std::string::npos) {
        authority.erase(0, userEnd + 1);
    }
    std::size_t portStart = std::string::npos;
    if (!authority.empty() && authority[0] == '[') {
        const std::size_t close = authority.find(']');
        parts.host =
            authority.substr(1, close == std::string::npos ? std::string::npos : close - 1);
        if (close != std::string::npos && close + 1 < authority.size() &&
            authority[close + 1] == ':') {
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
    return parts;
}

std::optional<int> ReachabilityFlagsFor(const std::string& host) {
    const AddrInfo found = Resolve(host, 0);
    if (!found) {
        return std::nullopt;
    }
    const addrinfo& first = *found;
    const int fd = socket(first.ai_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return 0;
    }
    // A UDP connect only picks a route; nothing goes on the wire.
    sockaddr_storage target{};
    std::memcpy(&target, first.ai_addr, first.ai_addrlen);
    if (first.ai_family == AF_INET6) {
        reinterpret_cast<sockaddr_in6*>(&target)->sin6_port = htons(80);
    } else {
        reinterpret_cast<sockaddr_in*>(&target)->sin_port = htons(80);
    }
    const bool routed = connect(fd, reinterpret_cast<sockaddr*>(&target), first.ai_addrlen) == 0;
    close(fd);
    return routed ? Reachable : 0;
}

std::optional<HostInfo> HostByAddress(const std::string& text) {
    const AddrInfo found = Resolve(text, AI_NUMERICHOST);
    if (!found) {
        return std::nullopt;
    }
    HostInfo info;
    info.address = AddressText(*found);
    char name[NI_MAXHOST];
    const bool named = getnameinfo(found->ai_addr, found->ai_addrlen, name, sizeof name, nullptr, 0,
                                   NI_NAMEREQD) == 0;
    info.name = named ? name : info.address;
    return info;
}

std::optional<HostInfo> HostByName(const std::string& text) {
    const AddrInfo found = Resolve(text, AI_CANONNAME);
    if (!found) {
        return std::nullopt;
    }
    HostInfo info;
    info.address = AddressText(*found);
    info.name = found->ai_canonname != nullptr ? found->ai_canonname : text;
    return info;
}

namespace {
std::mutex gOverrideMutex;
std::optional<ProxySettings> gOverride;
} // namespace

void OverrideProxies(std::optional<ProxySettings> settings) {
    std::lock_guard<std::mutex> lock(gOverrideMutex);
    gOverride = std::move(settings);
}

ProxySettings CopyProxies(ProxySource* source) {
    {
        std::lock_guard<std::mutex> lock(gOverrideMutex);
        if (gOverride) {
            if (source != nullptr) {
                *source = ProxySource::Environment;
            }
            return *gOverride;
        }
    }
    std::optional<ProxySettings> desktop = FromDesktop();
    if (source != nullptr) {
        *source = desktop ? ProxySource::Desktop : ProxySource::Environment;
    }
    return desktop ? std::move(*desktop) : FromEnvironment();
}

} // namespace Network
