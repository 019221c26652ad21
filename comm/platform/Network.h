// The operating-system seam of the transport: host lookup, reachability and
// the system proxy settings. The transport's decisions are made above this
// seam; here only the raw answers are found, through getaddrinfo,
// getnameinfo, a UDP socket, GIO's settings and the environment.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Network {

// Reachability flags, as the transport reads them.
enum ReachabilityFlag : int { Reachable = 2, ConnectionRequired = 4 };

// The flags for a host: Reachable when it resolves and a route to its first
// address exists (a UDP socket connects; nothing is sent). ConnectionRequired
// is never set here. Nullopt when the host cannot be looked up at all.
std::optional<int> ReachabilityFlagsFor(const std::string& host);

// A host as found: its first address as text and its name.
struct HostInfo {
    // The first address as text ("127.0.0.1", "::1").
    std::string address;
    // The canonical name, or the address text when there is none.
    std::string name;
};

// A numeric host ("10.1.2.3", "::1") with its name from a reverse lookup
// (the address text when there is none, when `withName` is false, or when
// the resolver has not answered within two seconds). Nullopt for anything
// else.
std::optional<HostInfo> HostByAddress(const std::string& text, bool withName = true);

// A host name looked up forward: its first address and canonical name.
std::optional<HostInfo> HostByName(const std::string& text);

// One value of the proxy settings: a number, a string or a list of strings.
// Keeping the types lets a value of the wrong type count as absent.
using ProxyValue = std::variant<long long, std::string, std::vector<std::string>>;
// The settings by key (see `CopyProxies`).
using ProxySettings = std::map<std::string, ProxyValue>;

// Where the settings came from.
enum class ProxySource { Desktop, Environment };

// Credentials for a proxy; they never enter the settings above, so they
// cannot reach a command line or a log through them.
struct ProxyCredentials {
    // The user name.
    std::string user;
    // The password; never logged.
    std::string password;
};
// The credentials of the HTTP and of the HTTPS proxy, each when it has any.
struct ProxyAccounts {
    // The HTTP proxy's credentials.
    std::optional<ProxyCredentials> http;
    // The HTTPS proxy's credentials.
    std::optional<ProxyCredentials> https;
};

// The system proxy settings under the keys HTTPEnable, HTTPProxy, HTTPPort,
// HTTPSEnable, HTTPSProxy, HTTPSPort and ExceptionsList: from GNOME's
// org.gnome.system.proxy when its mode is "manual", else from http_proxy,
// https_proxy (or HTTPS_PROXY) and no_proxy (or NO_PROXY). Keys without a
// value are left out. Each source's conventions are translated as curl and
// GNOME mean them (see ProxyConventions.h): no_proxy "*" turns both proxies
// off, CIDR blocks become address prefixes, a proxy keeps a scheme other
// than http in front of its host. `accounts`, when given, receives the
// proxies' credentials (user:password@ in a variable, GNOME's
// authentication keys).
ProxySettings CopyProxies(ProxySource* source = nullptr, ProxyAccounts* accounts = nullptr);

// Makes `CopyProxies` answer `settings` instead of asking the system, until
// called again with nullopt. For tests and diagnostics tools that must
// present settings no real source can produce (values of the wrong type).
void OverrideProxies(std::optional<ProxySettings> settings);

} // namespace Network
