#include "comm/platform/Network.h"

#include "comm/ProxyConventions.h"
#include "utils/TextPieces.h"
#include "utils/platform/Platform.h"

#include <arpa/inet.h>
#include <gio/gio.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

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

// A resolver that does not answer must not hold up a post for long.
constexpr auto kReverseLookupLimit = std::chrono::seconds(2);

// The name of an address by reverse lookup, waited for at most `limit`.
// The lookup runs on a helper thread of its own, which is left to finish
// by itself when the wait gives up; it shares nothing with the caller but
// the state below, which it keeps alive.
std::optional<std::string> ReverseName(const addrinfo& address, std::chrono::milliseconds limit) {
    struct Lookup {
        sockaddr_storage address{};
        socklen_t length = 0;
        std::mutex mutex;
        std::condition_variable done;
        bool finished = false;
        std::optional<std::string> name;
    };
    auto lookup = std::make_shared<Lookup>();
    std::memcpy(&lookup->address, address.ai_addr, address.ai_addrlen);
    lookup->length = address.ai_addrlen;
    try {
        std::thread([lookup] {
            char name[NI_MAXHOST];
            const bool named =
                getnameinfo(reinterpret_cast<const sockaddr*>(&lookup->address), lookup->length,
                            name, sizeof name, nullptr, 0, NI_NAMEREQD) == 0;
            std::lock_guard<std::mutex> lock(lookup->mutex);
            if (named) {
                lookup->name = name;
            }
            lookup->finished = true;
            lookup->done.notify_all();
        }).detach();
    } catch (const std::system_error&) {
        return std::nullopt;
    }
    std::unique_lock<std::mutex> lock(lookup->mutex);
    lookup->done.wait_for(lock, limit, [&] { return lookup->finished; });
    return lookup->name;
}

std::string Environment(const char* name) {
    return Platform::EnvironmentVariable(name).value_or("");
}

// Adds <prefix>Enable/Proxy/Port for a proxy variable; one that cannot be
// read (an unknown scheme, say) is left out, as if it were not set.
void AddEnvironmentProxy(ProxySettings& settings, std::optional<ProxyCredentials>& account,
                         const std::string& prefix, const std::string& value) {
    const std::optional<ProxyConventions::ProxyAddress> proxy = ProxyConventions::ParseProxy(value);
    if (!proxy) {
        return;
    }
    settings[prefix + "Enable"] = 1LL;
    settings[prefix + "Proxy"] = proxy->host;
    settings[prefix + "Port"] = proxy->port;
    if (proxy->hasCredentials) {
        account = ProxyCredentials{proxy->user, proxy->password};
    }
}

// The value of `lower`, else of `upper` (when given); empty counts as unset.
std::string FirstSetVariable(const char* lower, const char* upper) {
    const std::string value = Environment(lower);
    return value.empty() && upper != nullptr ? Environment(upper) : value;
}

ProxySettings FromEnvironment(ProxyAccounts& accounts) {
    ProxySettings settings;
    // The variables curl itself honours: http_proxy only in lower case.
    AddEnvironmentProxy(settings, accounts.http, "HTTP", FirstSetVariable("http_proxy", nullptr));
    AddEnvironmentProxy(settings, accounts.https, "HTTPS",
                        FirstSetVariable("https_proxy", "HTTPS_PROXY"));
    const std::string noProxy = FirstSetVariable("no_proxy", "NO_PROXY");
    if (ProxyConventions::ExemptsEverything(noProxy)) {
        for (const char* key : {"HTTPEnable", "HTTPSEnable"}) {
            if (settings.count(key) != 0) {
                settings[key] = 0LL;
            }
        }
    } else if (!noProxy.empty()) {
        settings["ExceptionsList"] =
            ProxyConventions::TranslateExceptions(TextPieces::SplitTrimmed(noProxy, ','));
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

std::string StringSetting(GSettings* settings, const char* key) {
    gchar* value = g_settings_get_string(settings, key);
    std::string text = value;
    g_free(value);
    return text;
}

// A proxy is on when its host is set and its port is not zero. GNOME keeps
// the credentials with the HTTP proxy; they serve the HTTPS proxy too when
// it is the same host and port.
void AddDesktopProxy(ProxySettings& settings, ProxyAccounts& accounts, const std::string& prefix,
                     const char* id) {
    GSettings* proxy = SettingsFor(id);
    if (proxy == nullptr) {
        return;
    }
    const std::string host = StringSetting(proxy, "host");
    const gint port = g_settings_get_int(proxy, "port");
    const std::optional<ProxyConventions::ProxyAddress> parsed = ProxyConventions::ParseProxy(host);
    settings[prefix + "Enable"] = (parsed && port != 0) ? 1LL : 0LL;
    settings[prefix + "Proxy"] = parsed ? parsed->host : host;
    settings[prefix + "Port"] = static_cast<long long>(port);
    if (prefix == "HTTP" && g_settings_get_boolean(proxy, "use-authentication")) {
        accounts.http = ProxyCredentials{StringSetting(proxy, "authentication-user"),
                                         StringSetting(proxy, "authentication-password")};
    }
    g_object_unref(proxy);
}

bool SameValue(const ProxySettings& settings, const char* one, const char* other) {
    const auto first = settings.find(one), second = settings.find(other);
    return first != settings.end() && second != settings.end() && first->second == second->second;
}

std::optional<ProxySettings> FromDesktop(ProxyAccounts& accounts) {
    GSettings* proxy = SettingsFor("org.gnome.system.proxy");
    if (proxy == nullptr) {
        return std::nullopt;
    }
    gchar* mode = g_settings_get_string(proxy, "mode");
    std::optional<ProxySettings> settings;
    if (std::string(mode) == "manual") {
        settings.emplace();
        AddDesktopProxy(*settings, accounts, "HTTP", "org.gnome.system.proxy.http");
        AddDesktopProxy(*settings, accounts, "HTTPS", "org.gnome.system.proxy.https");
        if (SameValue(*settings, "HTTPProxy", "HTTPSProxy") &&
            SameValue(*settings, "HTTPPort", "HTTPSPort")) {
            accounts.https = accounts.http;
        }
        gchar** ignore = g_settings_get_strv(proxy, "ignore-hosts");
        std::vector<std::string> exceptions;
        for (gchar** entry = ignore; *entry != nullptr; ++entry) {
            exceptions.emplace_back(*entry);
        }
        (*settings)["ExceptionsList"] = ProxyConventions::TranslateExceptions(exceptions);
        g_strfreev(ignore);
    }
    g_free(mode);
    g_object_unref(proxy);
    return settings;
}

} // namespace

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

std::optional<HostInfo> HostByAddress(const std::string& text, bool withName) {
    const AddrInfo found = Resolve(text, AI_NUMERICHOST);
    if (!found) {
        return std::nullopt;
    }
    HostInfo info;
    info.address = AddressText(*found);
    const std::optional<std::string> name =
        withName ? ReverseName(*found, kReverseLookupLimit) : std::nullopt;
    info.name = name ? *name : info.address;
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

ProxySettings CopyProxies(ProxySource* source, ProxyAccounts* accounts) {
    {
        std::lock_guard<std::mutex> lock(gOverrideMutex);
        if (gOverride) {
            if (source != nullptr) {
                *source = ProxySource::Environment;
            }
            return *gOverride;
        }
    }
    ProxyAccounts found;
    std::optional<ProxySettings> settings = FromDesktop(found);
    if (source != nullptr) {
        *source = settings ? ProxySource::Desktop : ProxySource::Environment;
    }
    if (!settings) {
        found = ProxyAccounts{};
        settings = FromEnvironment(found);
    }
    if (accounts != nullptr) {
        *accounts = found;
    }
    return std::move(*settings);
}

} // namespace Network
