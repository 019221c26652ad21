#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <set>
#include <thread>

#include "comm/CommunicationLibrary.h"
#include "comm/MyUrlConnection.h"
#include "comm/platform/Process.h"
#include "tests/support/LoopbackServers.h"
#include "tests/support/ProxyFixtures.h"
#include "utils/Conversions.h"
#include "utils/platform/Platform.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ReadFile;
using testsupport::ScopedEnv;
using testsupport::ScratchDir;
using Clock = std::chrono::steady_clock;

fn::fn_wstring W(const std::string& text) {
    return Utils::utf8towstring(text);
}

// Real servers in a child process, a private temporary folder with the log
// switched on, and no proxy unless a test sets one.
class TransferTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(servers.ok()) << "the loopback servers did not start";
        fs::create_directories(scratch / "TemporaryItems/quorvel-logs");
    }
    // Curl mode is chosen for systems up to 10.3.1.
    void UseMode(bool curl) {
        const char* release = curl ? "VERSION_ID=10.3.1\n" : "VERSION_ID=12\n";
        Platform::SetOsReleaseFiles({scratch.Write("os-release", release)});
    }
    std::string Log() const { return ReadFile(scratch / "TemporaryItems/quorvel-logs/log.txt"); }
    int Post(const std::string& url, const std::string& document, std::string& reply) {
        return comm.PostDocument(W(url), W(document), reply);
    }

    testsupport::LoopbackServers servers;
    ScratchDir scratch;
    ScopedEnv tmp{"TMPDIR", scratch.path()};
    testsupport::NoTransferVariables cleared;
    CommunicationLibrary comm;
    const int ok = CommunicationLibrary::PostOk, failed = CommunicationLibrary::PostTransferFailed,
              tls = CommunicationLibrary::PostSecureConnectionFailed;
};

// Nine characters are refused before anything else; ten go on to the
// reachability test, which needs a host that resolves (by name or number).
TEST_F(TransferTest, ChecksTheUrlLengthThenReachability) {
    const std::pair<std::string, int> unsent[] = {
        {"http://a/", CommunicationLibrary::PostUrlTooShort},
        {"http://ab/", CommunicationLibrary::PostNoConnection},
        {"http://host.invalid/", CommunicationLibrary::PostNoConnection},
        {"no host in this url", CommunicationLibrary::PostNoConnection},
    };
    for (const auto& [url, result] : unsent) {
        std::string reply = "untouched";
        EXPECT_EQ(Post(url, "<x/>", reply), result) << url;
        EXPECT_EQ(reply, "untouched") << url;
    }
    EXPECT_FALSE(fs::exists(scratch / "TemporaryItems/quorvel-logs/log.txt")); // nothing logged
    std::string reply;
    EXPECT_EQ(Post("http://localhost:" + std::to_string(servers.http) + "/echo", "<x/>", reply),
              ok);
}

// URL-loading mode takes status 200 only and follows up to 10 redirects
// keeping the document; curl mode (-f) fails from 400 on, follows none, reads
// the reply in 2048-byte chunks, and leaves its private files behind. The
// log and the files are 0600 under the users' usual umask too.
TEST_F(TransferTest, RepliesAndStatusesInBothModes) {
    struct Case {
        std::string path;
        int urlResult;
        std::string urlReply;
        int curlResult;
        std::string curlReply;
    };
    const std::string doc = "<doc>\xC3\xA9</doc>", kept = "untouched", posted = "POST " + doc;
    const std::string full = std::string(2048, 'x'), twice = std::string(4096, 'x');
    const Case cases[] = {
        {"/echo", ok, doc, ok, doc},
        {"/headers", ok, "text/xml|Quorvel", ok, "text/xml|Quorvel"},
        {"/nul", ok, "ab", ok, "ab"}, // cut at the zero byte; curl mode loses the chunk's rest
        {"/bytes/2048", ok, full, ok, full},
        {"/bytes/4096", ok, twice, ok, twice},
        {"/status/201", failed, kept, ok, "status"},
        {"/status/204", failed, kept, ok, ""},
        {"/status/404", failed, kept, failed, kept},
        {"/bytes/0", failed, kept, ok, ""}, // an empty reply fails in URL-loading mode
        {"/redirect/301", ok, posted, ok, ""},
        {"/redirect/302", ok, posted, ok, ""},
        {"/redirect/307", ok, posted, ok, ""},
        {"/redirect/308", ok, posted, ok, ""},
        {"/redirect/303", ok, "GET ", ok, ""},
        {"/loop", failed, kept, ok, ""},
        {"/redirects/10", ok, posted, ok, ""},
        {"/redirects/11", failed, kept, ok, ""},
        {"/redirect/302?to=ftp://127.0.0.1/", failed, kept, ok, ""},
    };
    for (const bool curl : {false, true}) {
        UseMode(curl);
        const mode_t umask = ::umask(curl ? 0277 : 022); // curl's files are 0600 whatever it is
        for (const Case& c : cases) {
            std::string reply = kept;
            EXPECT_EQ(Post(servers.HttpUrl(c.path), doc, reply), curl ? c.curlResult : c.urlResult)
                << c.path << (curl ? " curl" : "");
            EXPECT_EQ(reply, curl ? c.curlReply : c.urlReply) << c.path << (curl ? " curl" : "");
        }
        ::umask(umask);
    }
    for (const auto& file : fs::recursive_directory_iterator(scratch / "TemporaryItems")) {
        EXPECT_TRUE(file.is_directory() ||
                    file.status().permissions() == (fs::perms::owner_read | fs::perms::owner_write))
            << file.path();
    }
    // The command line as documented, doubled blanks and all; no proxy, no -x.
    const std::string log = Log(), command = "Message: curl command line: \n/usr/bin/curl  --url " +
                                             servers.HttpUrl("/echo") +
                                             " --connect-timeout 60 -m 70 -f  -s --data-binary @\"";
    const std::size_t start = log.find(command) + command.size();
    const std::string request = log.substr(start, log.find('"', start) - start);
    std::string response = request;
    response.replace(response.rfind("/request-"), 9, "/response-");
    EXPECT_NE(log.find(command + request + "\" -o \"" + response +
                       "\" -H \"Content-Type: text/xml\" -H \"User-Agent: Quorvel\"\n"),
              std::string::npos)
        << log;
    EXPECT_EQ(ReadFile(request), doc);
    EXPECT_NE(log.find("Message: Server response" + doc + "\n"), std::string::npos);
    EXPECT_NE(log.find("Message: curlerrcode original: ErrorCode: 5632\n"),
              std::string::npos); // exit 22
    EXPECT_NE(log.find("Message: curlerrcode: ErrorCode: 22\n"), std::string::npos);
}

TEST_F(TransferTest, UrlLoadingModeTimesOutAndStopsPromptly) {
    UrlRequest request;
    request.url = servers.HttpUrl("/slow");
    request.body = "<x/>";
    const auto start = Clock::now();
    EXPECT_EQ(MyUrlConnection::sendMySynchronousRequest(request, 1), std::nullopt);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    EXPECT_GE(seconds, 1.0);
    EXPECT_LT(seconds, 1.5); // returned within half a second of the deadline, worker joined

    // A connection dropped mid-transfer cancels it without waiting for the server.
    const auto dropped = Clock::now();
    {
        MyUrlConnection connection(30);
        ASSERT_TRUE(connection.sendRequest(request));
        EXPECT_FALSE(connection.sendRequest(request)); // one transfer per connection
    }
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - dropped).count(), 1.0);
}

TEST_F(TransferTest, ParallelTransfersKeepTheirOwnReplies) {
    UseMode(false);
    std::vector<std::thread> threads;
    std::vector<std::string> replies(6);
    const auto document = [](std::size_t i) { return "<n>" + std::to_string(i) + "</n>"; };
    for (std::size_t i = 0; i < replies.size(); ++i) {
        threads.emplace_back([&, i] { Post(servers.HttpUrl("/echo"), document(i), replies[i]); });
    }
    for (std::size_t i = 0; i < replies.size(); ++i) {
        threads[i].join();
        EXPECT_EQ(replies[i], document(i));
    }
}

// Every configuration is stated by the library, then posted in both modes;
// the route is what the two real proxies saw. The proxy variables curl reads
// by itself must not change the route in curl mode, nor libcurl's in
// URL-loading mode. CA certificates are found as the curl tool finds them.
TEST_F(TransferTest, EveryProxyAndCertificateConfigurationWorksAsStatedInBothModes) {
    testsupport::GnomeSettings gnome;
    testsupport::TinyProxy open, auth("user", "s3cret");
    ASSERT_TRUE(open.ok() && auth.ok());
    const std::string o = open.Address(), a = auth.Address(), dead = "127.0.0.1:1";
    const std::string o6 = "[::1]:" + std::to_string(open.port);
    const std::string u1 = servers.HttpUrl("/method"), u6 = servers.Http6Url("/method"),
                      u7 = servers.Http7Url("/method"), us = servers.HttpsUrl("/method");
    const std::string ca = servers.Certificate(), none = scratch / "none.pem",
                      certs = scratch / "certs";
    fs::create_directories(certs);
    fs::copy_file(ca, certs + "/ca.pem");
    ASSERT_EQ(std::system(("openssl rehash " + certs + " 2>/dev/null").c_str()), 0);
    const auto desktop = [](const testsupport::TinyProxy& proxy, const char* ignore, bool account) {
        return std::vector<std::string>{
            "org.gnome.system.proxy mode manual",
            "org.gnome.system.proxy.http host 127.0.0.1",
            "org.gnome.system.proxy.http port " + std::to_string(proxy.port),
            "org.gnome.system.proxy ignore-hosts \"" + std::string(ignore) + "\"",
            std::string("org.gnome.system.proxy.http use-authentication ") +
                (account ? "true" : "false"),
            "org.gnome.system.proxy.http authentication-user user",
            "org.gnome.system.proxy.http authentication-password s3cret"};
    };
    const auto gnomeDefault = desktop(open, "['localhost', '127.0.0.0/8', '::1']", false),
               gnomeWildcard = desktop(open, "['*.example.com']", false),
               gnomeAccount = desktop(auth, "[]", true);
    struct Case {
        std::vector<std::pair<const char*, std::string>> env;
        std::vector<std::string> desktop; // empty: GNOME's mode is "none"
        std::string url, stated;          // stated: the route the library names
        const testsupport::TinyProxy* via;
        int urlResult, curlResult;
    };
    const Case cases[] = {
        {{{"http_proxy", o}}, {}, u1, o, &open, ok, ok},
        {{{"http_proxy", o}, {"no_proxy", "127."}}, {}, u1, "", nullptr, ok, ok},
        {{{"http_proxy", o}, {"no_proxy", " * "}}, {}, u1, "", nullptr, ok, ok},
        {{{"http_proxy", o}, {"NO_PROXY", "127.0.0.0/8"}}, {}, u7, "", nullptr, ok, ok},
        {{{"http_proxy", o}, {"no_proxy", "127.0.0.1/32"}}, {}, u7, o, &open, ok, ok},
        {{{"http_proxy", o}, {"no_proxy", "localhost, [::1]:80"}}, {}, u6, "", nullptr, ok, ok},
        {{{"http_proxy", "http://" + o6}}, {}, u6, o6, &open, ok, ok},
        // Credentials reach the proxy in URL-loading mode only.
        {{{"http_proxy", "http://user:s3cret@" + a}}, {}, u1, a, &auth, ok, failed},
        {{{"http_proxy", a}}, {}, u1, a, &auth, failed, failed},
        {{{"http_proxy", a}, {"HTTPS_PROXY", o}}, {}, u1, o, &open, ok, ok},      // HTTPS preferred
        {{{"https_proxy", o}, {"CURL_CA_BUNDLE", ca}}, {}, us, o, &open, ok, ok}, // tunnelled
        {{{"ALL_PROXY", dead}, {"HTTP_PROXY", dead}}, {}, u1, "", nullptr, ok, ok},
        // GNOME's settings win over the variables; its default exceptions.
        {{{"http_proxy", dead}}, gnomeDefault, u7, "", nullptr, ok, ok},
        {{{"http_proxy", dead}}, gnomeWildcard, u1, o, &open, ok, ok},
        {{}, gnomeAccount, u1, a, &auth, ok, failed},
        // The system store knows no test CA; CURL_CA_BUNDLE, set and not
        // empty, hides the other two.
        {{}, {}, us, "", nullptr, failed, tls},
        {{{"SSL_CERT_FILE", ca}}, {}, us, "", nullptr, ok, ok},
        {{{"SSL_CERT_DIR", certs}}, {}, us, "", nullptr, ok, ok},
        {{{"CURL_CA_BUNDLE", ca}, {"SSL_CERT_FILE", none}, {"SSL_CERT_DIR", none}},
         {},
         us,
         "",
         nullptr,
         ok,
         ok},
        {{{"CURL_CA_BUNDLE", ""}, {"SSL_CERT_FILE", ca}}, {}, us, "", nullptr, ok, ok},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE("configuration " + std::to_string(&c - cases));
        std::vector<std::unique_ptr<ScopedEnv>> env;
        for (const auto& [name, value] : c.env) {
            env.push_back(std::make_unique<ScopedEnv>(name, value));
        }
        const std::vector<std::string> off = {"org.gnome.system.proxy mode none"};
        ASSERT_TRUE(gnome.Set(c.desktop.empty() ? off : c.desktop));
        EXPECT_EQ(comm.RouteFor(c.url).proxy, c.stated);
        EXPECT_EQ(comm.CurlProxyOption(c.url), c.stated.empty() ? "" : " -x " + c.stated);
        for (const bool curl : {false, true}) {
            UseMode(curl);
            std::string reply;
            const int result = Post(c.url, "<route/>", reply);
            const std::string mode = curl ? " (curl mode)" : " (URL-loading mode)";
            EXPECT_EQ(result, curl ? c.curlResult : c.urlResult) << mode;
            EXPECT_EQ(reply, result == ok ? "POST <route/>" : "") << mode;
            EXPECT_EQ(open.CarriedRequests(), c.via == &open) << mode;
            EXPECT_EQ(auth.CarriedRequests(), c.via == &auth) << mode;
        }
    }
    EXPECT_EQ(Log().find("s3cret"), std::string::npos); // never logged
    EXPECT_NE(Log().find("Message: CommLib,proxy required for destination URL\n"),
              std::string::npos);
}

// Every way the tool can end maps to its result: exit 0 to PostOk (with no
// response file, an empty reply), curl's TLS failures to
// PostSecureConnectionFailed, any other code or a signal to
// PostTransferFailed, the reply untouched. The URL reaches the shell
// unquoted, so a command in it ends the shell as a curl would.
TEST_F(TransferTest, EveryEndOfTheToolMapsToItsResult) {
    const std::set<int> secure = {35, 51, 53, 54, 58, 59, 60, 66};
    const std::string request = scratch.Write("request.xml", "<x/>"), missing = scratch / "none";
    for (int code = 0; code < 100; ++code) {
        std::string reply = "untouched";
        const std::string url = "2>/dev/null; exit " + std::to_string(code) + " #";
        const int expected = code == 0 ? ok : secure.count(code) != 0 ? tls : failed;
        EXPECT_EQ(comm.CurlExternSecureDownload(url, request, missing, reply), expected) << code;
        EXPECT_EQ(reply, code == 0 ? "" : "untouched") << code;
    }
    std::string reply = "untouched";
    EXPECT_EQ(comm.CurlExternSecureDownload("; kill -KILL $$ #", request, missing, reply), failed);
    EXPECT_EQ(reply, "untouched");
    EXPECT_NE(Log().find("Message: curlerrcode original: ErrorCode: 9\n"), std::string::npos);
    EXPECT_NE(Log().find("Message: curlerrcode: ErrorCode: 0\n"), std::string::npos);
}

// Real wait statuses, read as curl mode's shift reads them.
TEST(ProcessSeam, DecodesRealWaitStatuses) {
    const Process::ShellStatus exited = Process::RunShellCommand("exit 255");
    EXPECT_EQ(exited.exitCode, 255);
    EXPECT_EQ(exited.signal, 0);
    const Process::ShellStatus killed = Process::RunShellCommand("kill -TERM $$");
    EXPECT_EQ(killed.waitStatus, SIGTERM);
    EXPECT_EQ(killed.exitCode, 0);
    EXPECT_EQ(killed.signal, SIGTERM);
}

// Two processes that post in the same second seed the generator alike and
// draw the same number; each must still send its own document.
TEST_F(TransferTest, CurlModeProcessesPostingInTheSameSecondKeepTheirDocuments) {
    UseMode(true);
    std::this_thread::sleep_until(std::chrono::system_clock::time_point(
        std::chrono::ceil<std::chrono::seconds>(std::chrono::system_clock::now())));
    pid_t children[2];
    for (int i = 0; i < 2; ++i) {
        children[i] = fork();
        if (children[i] == 0) {
            const std::string document = "<n>" + std::to_string(i) + "</n>";
            std::string reply;
            const int result = Post(servers.HttpUrl("/method"), document, reply);
            _exit(result == CommunicationLibrary::PostOk && reply == "POST " + document ? 0 : 1);
        }
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

// A document that cannot be written whole (cut short by a file size limit)
// is not sent at all.
TEST_F(TransferTest, CurlModeNeverSendsHalfADocument) {
    UseMode(true);
    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = saved;
    small.rlim_cur = 4096; // room for the log line, not for the document
    setrlimit(RLIMIT_FSIZE, &small);
    std::string reply = "untouched";
    const int result = Post(servers.HttpUrl("/echo"), std::string(8192, 'd'), reply);
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previous);
    EXPECT_EQ(result, CommunicationLibrary::PostTransferFailed);
    EXPECT_EQ(reply, "untouched");
    EXPECT_NE(Log().find("Message: curlexec err,file = nil\n"), std::string::npos);
    EXPECT_EQ(Log().find("curl command line"), std::string::npos);
}

} // namespace
