#include <gtest/gtest.h>

#include <optional>

#include "comm/CommunicationLibrary.h"
#include "comm/UrlParts.h"
#include "comm/platform/Network.h"
#include "tests/support/ProxyFixtures.h"
#include "utils/Conversions.h"

namespace {

using testsupport::ReadFile;
using testsupport::ScopedEnv;
using testsupport::ScratchDir;

using Env = std::optional<std::string>;

TEST(UrlParts, SchemeAsWrittenAndHostFromTheAuthority) {
    struct Case {
        const char *url, *scheme, *host, *port;
    };
    const Case cases[] = {
        {"http://example.com/x", "http", "example.com", ""},
        {"HTTP://user:pw@Example.COM:8080/x?y#z", "HTTP", "Example.COM", "8080"},
        {"https://[::1]:443/", "https", "::1", "443"},
        {"ftp://host", "ftp", "host", ""},
        {"mailto:someone@example.com", "mailto", "", ""},
        {"no scheme at all", "", "", ""},
        {"http:///path", "http", "", ""},
        {"", "", "", ""},
    };
    for (const Case& c : cases) {
        const Url::Parts parts = Url::Split(c.url);
        EXPECT_EQ(parts.scheme, c.scheme) << c.url;
        EXPECT_EQ(parts.host, c.host) << c.url;
        EXPECT_EQ(parts.port, c.port) << c.url;
    }
}

TEST(ProxyDecision, FollowsSchemeEnableAndExceptions) {
    struct Case {
        Env http, https, noProxy;
        const char* url;
        bool required;
    };
    const Env unset;
    const Case cases[] = {
        {"proxy:3128", unset, unset, "http://127.0.0.1/", true}, // no exceptions list: always
        {"proxy:3128", unset, unset, "https://127.0.0.1/", false},
        {unset, "proxy:3128", unset, "https://127.0.0.1/", true},
        {"proxy:3128", "proxy:3128", unset, "HTTP://127.0.0.1/", false}, // case counts
        {"proxy:3128", "proxy:3128", unset, "ftp://127.0.0.1/", false},
        {"proxy:3128", unset, "10.0.0.1", "http://127.0.0.1/", true},
        {"proxy:3128", unset, "127.0.*", "http://127.0.0.1/", false}, // address prefix, "*" dropped
        {"proxy:3128", unset, "127.0.", "http://127.0.0.1/", false},
        {"proxy:3128", unset, "*", "http://127.0.0.1/", false},         // curl's "no proxy at all"
        {"proxy:3128", unset, "localhost", "http://localhost/", false}, // exact name
        {"proxy:3128", unset, "calhost", "http://localhost/", true},    // no dot before it
        {"proxy:3128", unset, ".localhost", "http://localhost/", true}, // only hosts below it
        {"proxy:3128", unset, " other , localhost ", "http://localhost:80/", false},
        {"proxy:3128", unset, "localhost", "http://host.invalid/", false}, // unknown host: no proxy
        {"proxy:3128", unset, unset, "http://host.invalid/", true},
    };
    ScratchDir scratch;
    ScopedEnv tmp("TMPDIR", scratch.path());
    std::filesystem::create_directories(scratch / "TemporaryItems/quorvel-logs");
    CommunicationLibrary comm;
    testsupport::NoTransferVariables cleared;
    for (const Case& c : cases) {
        ScopedEnv http("http_proxy", c.http), https("https_proxy", c.https),
            noProxy("no_proxy", c.noProxy);
        EXPECT_EQ(comm.IsProxyRequiredFor(c.url), c.required)
            << c.url << " no_proxy=" << c.noProxy.value_or("-");
    }
    EXPECT_FALSE(comm.IsProxyRequiredFor(nullptr));
    EXPECT_NE(ReadFile(scratch / "TemporaryItems/quorvel-logs/log.txt")
                  .find("Message: Commlib, eronate url sheme, not HTTP or HTTPS\n"),
              std::string::npos); // for HTTP and ftp alike
}

// Settings are put in place directly: values of the wrong type count as
// absent, and no source we read makes them.
TEST(ProxySettings, FillTheBufferOrLeaveItEmptyWithPortZero) {
    using Settings = Network::ProxySettings;
    using List = std::vector<std::string>;
    struct Case {
        Settings settings;
        bool required, found;
        unsigned long size = 150;
        unsigned short port = 8080;
    };
    const Settings on = {
        {"HTTPEnable", 1LL}, {"HTTPProxy", std::string("proxy")}, {"HTTPPort", 8080LL}};
    auto with = [&](const char* key, Network::ProxyValue value) {
        Settings changed = on;
        changed[key] = value;
        return changed;
    };
    const Case cases[] = {
        {on, true, true},
        {on, true, true, 6},                                           // just fits
        {on, true, false, 5},                                          // does not fit
        {with("HTTPPort", 70000LL), true, true, 150, 70000 % 65536},   // its low 16 bits
        {with("HTTPProxy", std::string("pr\xC3\xB6xy")), true, false}, // not ASCII
        {with("HTTPEnable", std::string("1")), false, false},
        {with("HTTPEnable", 0LL), false, false},
        {with("HTTPEnable", 1LL << 40), false, false}, // not readable as an int
        {with("HTTPProxy", 5LL), true, false},
        {with("HTTPPort", std::string("8080")), true, false},
        {with("ExceptionsList", std::string("127.0.0.1")), false, true}, // unusable list: no proxy
        {with("ExceptionsList", List{}), true, true},
        {with("ExceptionsList", List{"127."}), false, true},
        {with("ExceptionsList", List{"*"}), true, true}, // a lone "*" in the list matches nothing
    };
    CommunicationLibrary comm;
    for (const Case& c : cases) {
        Network::OverrideProxies(c.settings);
        char host[150] = "stale";
        unsigned short port = 1;
        EXPECT_EQ(comm.IsProxyRequiredFor("http://127.0.0.1/"), c.required);
        EXPECT_EQ(comm.GetHTTPProxySetting(host, c.size, &port), c.found);
        EXPECT_STREQ(host, c.found ? "proxy" : "");
        EXPECT_EQ(port, c.found ? c.port : 0);
        EXPECT_FALSE(comm.GetHTTPSProxySetting(host, c.size, &port));
    }
    Network::OverrideProxies(std::nullopt);
}

// Escapes are upper-case; a blank, a line feed and a "+" are where the two
// differ or, deliberately, do not.
TEST(Encoding, KeepsTheSafeSetAndEscapesTheRestInUpperCase) {
    const std::string kept = "09AZaz!&'()*+,-./:;=?@_";
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {kept, kept, kept},
        {"a b\r\n", "a%20b%0D%0A", "a+b%0D%0D%0A"},
        {"~\"#$%<>[\\]^`{|}", "%7E%22%23%24%25%3C%3E%5B%5C%5D%5E%60%7B%7C%7D",
         "%7E%22%23%24%25%3C%3E%5B%5C%5D%5E%60%7B%7C%7D"},
        {std::string("\xE9\x7F\0\x01", 4), "%E9%7F%00%01", "%E9%7F%00%01"}, // not cut at the zero
        {"", "", ""},
    };
    CommunicationLibrary comm;
    for (const auto& [text, url, form] : cases) {
        EXPECT_EQ(comm.EncodeUrl(text), url) << text;
        EXPECT_EQ(comm.EncodeFormValue(text), form) << text;
    }
}

} // namespace
