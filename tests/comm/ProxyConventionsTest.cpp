#include <gtest/gtest.h>

#include "comm/ProxyConventions.h"

namespace {

using ProxyConventions::ParseProxy;
using List = std::vector<std::string>;

TEST(ProxyConventions, ProxiesAsCurlReadsThem) {
    struct Case {
        const char* written;
        const char* host; // nullptr: not usable
        long long port;
        const char *user, *password;
    };
    const Case cases[] = {
        {"proxy:3128", "proxy", 3128, nullptr, nullptr},
        {" HTTP://proxy:3128/ ", "proxy", 3128, nullptr, nullptr},
        {"http://proxy", "proxy", 1080, nullptr, nullptr},
        {"https://proxy", "https://proxy", 443, nullptr, nullptr},
        {"Socks5H://proxy:9050", "socks5h://proxy", 9050, nullptr, nullptr},
        {"socks4a://proxy", "socks4a://proxy", 1080, nullptr, nullptr},
        {"http://us%40er:p%3Ass:word@proxy:8080/path", "proxy", 8080, "us@er", "p:ss:word"},
        {"http://user@[::1]:3128", "[::1]", 3128, "user", ""},
        {"[fe80::1%25eth0]", "[fe80::1%25eth0]", 1080, nullptr, nullptr},
        {"::1", "[::1]", 1080, nullptr, nullptr},
        {"proxy:port", "proxy", 1080, nullptr, nullptr},
        {"ftp://proxy:21", nullptr, 0, nullptr, nullptr},
        {"http://proxy;touch x:1", nullptr, 0, nullptr, nullptr},
        {"http://user:pw@:3128", nullptr, 0, nullptr, nullptr},
        {"  ", nullptr, 0, nullptr, nullptr},
    };
    for (const Case& c : cases) {
        const auto proxy = ParseProxy(c.written);
        ASSERT_EQ(proxy.has_value(), c.host != nullptr) << c.written;
        if (!proxy) {
            continue;
        }
        EXPECT_EQ(proxy->host, c.host) << c.written;
        EXPECT_EQ(proxy->port, c.port) << c.written;
        EXPECT_EQ(proxy->hasCredentials, c.user != nullptr) << c.written;
        EXPECT_EQ(proxy->user, c.user ? c.user : "") << c.written;
        EXPECT_EQ(proxy->password, c.password ? c.password : "") << c.written;
    }
}

std::vector<std::string> Range(const std::string& prefix, int first, int last,
                               const std::string& suffix) {
    std::vector<std::string> out;
    for (int i = first; i <= last; ++i) {
        out.push_back(prefix + std::to_string(i) + suffix);
    }
    return out;
}

TEST(ProxyConventions, ExceptionsAsTheDecisionMatchesThem) {
    struct Case {
        const char* written;
        List translated;
    };
    const Case cases[] = {
        {"10.0.0.0/8", {"10."}},
        {"10.1.2.3/8", {"10."}}, // host bits ignored
        {"10.0.0.0/12", Range("10.", 0, 15, ".")},
        {"172.16.0.0/12", Range("172.", 16, 31, ".")},
        {"192.168.0.0/16", {"192.168."}},
        {"192.168.4.0/22", Range("192.168.", 4, 7, ".")},
        {"127.0.0.1/32", {"127.0.0.1"}},
        {"10.0.0.200/29", Range("10.0.0.", 200, 207, "")},
        {"10.0.0.0/25",
         {"10.0.0.0", // "1" also matches 128 to 199: no prefix can avoid it
          "10.0.0.1", "10.0.0.2", "10.0.0.3", "10.0.0.4", "10.0.0.5", "10.0.0.6", "10.0.0.7",
          "10.0.0.8", "10.0.0.9"}},
        {"10.0.0.128/26", Range("10.0.0.", 128, 191, "")}, // "13" would take in 13 too
        {"0.0.0.0/0", Range("", 0, 255, ".")},
        {"10.0.0.0/33", {"10.0.0.0/33"}},
        {"300.0.0.0/8", {"300.0.0.0/8"}},
        {"fe80::/10", {"fe80::/10"}},
        {"*.example.com", {".example.com"}},
        {" host.example:8080 ", {"host.example"}},
        {"[::1]:8080", {"::1"}},
        {"::1", {"::1"}},
        {"127.*", {"127.*"}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ProxyConventions::TranslateException(c.written), c.translated) << c.written;
    }
    EXPECT_EQ(ProxyConventions::SplitList(" a ,, b,\tc ,"), (List{"a", "b", "c"}));
    EXPECT_EQ(ProxyConventions::TranslateExceptions({"*.x.org", "127.0.0.0/8", ""}),
              (List{".x.org", "127."}));
    EXPECT_TRUE(ProxyConventions::ExemptsEverything(" * "));
    EXPECT_FALSE(ProxyConventions::ExemptsEverything("*,localhost"));
    EXPECT_FALSE(ProxyConventions::HasNameEntries({"127.", "10.*", "::1", "fe80::", "*"}));
    EXPECT_TRUE(ProxyConventions::HasNameEntries({"127.", ".local"}));
}

} // namespace
