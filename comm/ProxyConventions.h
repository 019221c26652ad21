// How people write proxies and proxy exceptions on Linux, translated into
// the forms the proxy decision reads.
//
// Proxy variables and GNOME's settings follow the conventions of curl and
// GNOME: schemes and credentials in the proxy, "*" for "no proxy at all",
// CIDR blocks and "*.domain" patterns among the exceptions. The proxy
// decision only knows hosts, ports and address or name suffixes, so these
// functions turn the former into the latter. They touch nothing of the
// system and are pure functions of their text.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ProxyConventions {

// A proxy as the decision and both transfer modes use it.
struct ProxyAddress {
    // What goes before ":port" in curl's -x option and libcurl's proxy:
    // the host, IPv6 in brackets, with the scheme in front unless it is
    // plain http ("socks5h://proxy", "[::1]"). Never holds credentials.
    std::string host;
    // The port as written, or curl's default for the scheme (1080, or 443
    // for https) when there is none or it is not a number.
    long long port = 0;
    // The user of "user:password@", percent-decoded; kept apart.
    std::string user;
    // The password of "user:password@", percent-decoded; kept apart.
    std::string password;
    // Whether the proxy was written with "user:password@" (or "user@").
    bool hasCredentials = false;
};

// Reads a proxy written as curl accepts it in its variables: with or without
// a scheme (http, https, socks4, socks4a, socks5, socks5h, in any letter
// case), user:password@, IPv6 in brackets, a port and a trailing path.
// Nullopt for an empty text, another scheme, or a host with characters no
// host name or address has (the host text reaches a shell unquoted).
std::optional<ProxyAddress> ParseProxy(const std::string& text);

// True when a no_proxy value turns proxies off for every host ("*").
bool ExemptsEverything(const std::string& noProxy);

// One exceptions entry in the forms the decision matches: an IPv4 CIDR block
// becomes the address prefixes covering it ("10.0.0.0/12" gives "10.0." to
// "10.15."), "*.example.com" becomes ".example.com", "[::1]" and "host:port"
// lose brackets and port. Anything else, IPv6 included, stays as written
// (trimmed). Within the last number of an address a prefix also matches
// longer numbers ("10.0.0.1" matches 10.0.0.15): that is how the decision
// matches addresses, and no prefix can avoid it.
std::vector<std::string> TranslateException(const std::string& entry);

// All entries of a list translated, in order.
std::vector<std::string> TranslateExceptions(const std::vector<std::string>& entries);

// True when some entry can only match a host name, so that the decision
// needs the host's name and not just its address.
bool HasNameEntries(const std::vector<std::string>& entries);

} // namespace ProxyConventions
