#include <gtest/gtest.h>

#include "comm/ProxyConventions.h"

namespace {

using ProxyConventions::ParseProxy;
using List = std::vector<std::string>;

// "host port" and " user:password" when there are credentials.
TEST(ProxyConventions, ProxiesAsCurlReadsThem) {
    const std::pair<const char*, const char*> cases[] = {
        {"proxy:3128", "proxy 3128"},
        {" HTTP://proxy:3128/ ", "proxy 3128"},
        {"http://proxy", "proxy 1080"}, // curl's default ports
        {"https://proxy", "https://proxy 443"},
        {"Socks5H://proxy:9050", "socks5h://proxy 9050"},
        {"http://us%40er:p%3Ass:word@proxy:8080/path", "proxy 8080 us@er:p:ss:word"},
        {"http://user@[::1]:3128", "[::1] 3128 user:"},
        {"::1", "[::1] 1080"},
        {"proxy:port", "proxy 1080"},
        {"ftp://proxy:21", "unusable"},
        {"http://proxy;touch x:1", "unusable"},
        {"http://user:pw@:3128", "unusable"},
        {"  ", "unusable"},
    };
    for (const auto& [written, expected] : cases) {
        const auto proxy = ParseProxy(written);
        const std::string credentials =
            proxy && proxy->hasCredentials ? " " + proxy->user + ":" + proxy->password : "";
        EXPECT_EQ(proxy ? proxy->host + " " + std::to_string(proxy->port) + credentials
                        : "unusable",
                  expected)
            << written;
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
        {"192.168.4.0/22", Range("192.168.", 4, 7, ".")},
        {"127.0.0.1/32", {"127.0.0.1"}},
        {"10.0.0.200/29", Range("10.0.0.", 200, 207, "")},
        {"10.0.0.0/25", Range("10.0.0.", 0, 9, "")},       // "1" also takes 128 to 199: unavoidable
        {"10.0.0.128/26", Range("10.0.0.", 128, 191, "")}, // "13" would take in 13 too
        {"0.0.0.0/0", Range("", 0, 255, ".")},
        {"10.0.0.0/33", {"10.0.0.0/33"}},
        {"fe80::/10", {"fe80::/10"}},
        {"*.example.com", {".example.com"}},
        {" host.example:8080 ", {"host.example"}},
        {"[::1]:8080", {"::1"}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ProxyConventions::TranslateException(c.written), c.translated) << c.written;
    }
    EXPECT_EQ(ProxyConventions::TranslateExceptions({"*.x.org", "127.0.0.0/8", ""}),
              (List{".x.org", "127."}));
    EXPECT_TRUE(ProxyConventions::ExemptsEverything(" * "));
    EXPECT_FALSE(ProxyConventions::ExemptsEverything("*,localhost"));
    EXPECT_FALSE(ProxyConventions::HasNameEntries({"127.", "10.*", "::1", "fe80::", "*"}));
    EXPECT_TRUE(ProxyConventions::HasNameEntries({"127.", ".local"}));
}

} // namespace
