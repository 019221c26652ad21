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
// reachability test.
TEST_F(TransferTest, ChecksTheUrlLengthThenReachability) {
    std::string reply = "untouched";
    EXPECT_EQ(comm.PostDocument(W("http://a/"), W("<x/>"), reply),
              CommunicationLibrary::PostUrlTooShort);
    EXPECT_EQ(comm.PostDocument(W("http://ab/"), W("<x/>"), reply),
              CommunicationLibrary::PostNoConnection);
    EXPECT_EQ(reply, "untouched");
    EXPECT_FALSE(fs::exists(scratch / "TemporaryItems/quorvel-logs/log.txt")); // nothing logged
}

// URL-loading mode takes status 200 only and follows redirects keeping the
// document; curl mode (-f) fails from 400 on, follows none, and reads the
// reply in 2048-byte chunks.
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
        {"/redirect/302?to=ftp://127.0.0.1/", failed, kept, ok, ""},
    };
    for (const bool curl : {false, true}) {
        UseMode(curl);
        for (const Case& c : cases) {
            std::string reply = kept;
            EXPECT_EQ(Post(servers.HttpUrl(c.path), doc, reply), curl ? c.curlResult : c.urlResult)
                << c.path << (curl ? " curl" : "");
            EXPECT_EQ(reply, curl ? c.curlReply : c.urlReply) << c.path << (curl ? " curl" : "");
        }
    }
    const std::string log = Log();
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

TEST_F(TransferTest, CurlModeRunsTheDocumentedCommandLine) {
    UseMode(true);
    ASSERT_TRUE(comm.IsCurlMode());
    testsupport::TinyProxy proxy;
    ASSERT_TRUE(proxy.ok());
    ScopedEnv httpsProxy("https_proxy", proxy.Address());
    ScopedEnv plainProxy("http_proxy", "127.0.0.1:1"); // the HTTPS setting is preferred anyway
    std::string reply;
    const std::string url = servers.HttpUrl("/echo");
    const mode_t umask = ::umask(0); // the files are private whatever the umask
    EXPECT_EQ(Post(url, "<curl/>", reply), CommunicationLibrary::PostOk);
    ::umask(umask);
    EXPECT_EQ(reply, "<curl/>");
    EXPECT_EQ(proxy.TakeRequests(), std::vector<std::string>{"POST " + url + " HTTP/1.1"});

    std::string request; // both files stay behind, private
    for (const auto& entry : fs::directory_iterator(scratch / "TemporaryItems")) {
        if (entry.path().filename().string().rfind("request-", 0) == 0) {
            request = entry.path();
        }
    }
    EXPECT_EQ(ReadFile(request), "<curl/>");
    const std::string response =
        scratch / "TemporaryItems/response-" + request.substr(request.find("request-") + 8);
    for (const std::string& file : {request, response}) {
        struct stat info {};
        ASSERT_EQ(stat(file.c_str(), &info), 0) << file;
        EXPECT_EQ(info.st_mode & 0777, 0600u) << file;
    }
    const std::string expected =
        "/usr/bin/curl  --url " + url + " --connect-timeout 60 -m 70 -f  -s --data-binary @\"" +
        request + "\" -o \"" + response +
        "\" -H \"Content-Type: text/xml\" -H \"User-Agent: Quorvel\" -x " + proxy.Address();
    const std::string log = Log();
    EXPECT_NE(log.find("Message: curl command line: \n" + expected + "\n"), std::string::npos)
        << log;
    EXPECT_NE(log.find("Message: CommLib,proxy required for destination URL\n"), std::string::npos);
    EXPECT_NE(log.find("Message: Server response<curl/>\n"), std::string::npos);
}

TEST_F(TransferTest, ParallelTransfersKeepTheirOwnReplies) {
    UseMode(false);
    std::vector<std::thread> threads;
    std::vector<std::string> replies(6);
    for (std::size_t i = 0; i < replies.size(); ++i) {
        threads.emplace_back([&, i] {
            CommunicationLibrary own;
            own.PostDocument(W(servers.HttpUrl("/echo")), W("<n>" + std::to_string(i) + "</n>"),
                             replies[i]);
        });
    }
    for (std::size_t i = 0; i < replies.size(); ++i) {
        threads[i].join();
        EXPECT_EQ(replies[i], "<n>" + std::to_string(i) + "</n>");
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
    const std::string u1 = servers.HttpUrl("/method"), u7 = servers.Http7Url("/method"),
                      u6 = servers.Http6Url("/method"), us = servers.HttpsUrl("/method");
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
        for (const bool curl : {false, true}) {
            UseMode(curl);
            std::string reply;
            const int result = Post(c.url, "<route/>", reply);
            const std::string mode = curl ? " (curl mode)" : " (URL-loading mode)";
            EXPECT_EQ(result, curl ? c.curlResult : c.urlResult) << mode;
            EXPECT_EQ(reply, result == ok ? "POST <route/>" : "") << mode;
            EXPECT_EQ(!open.TakeRequests().empty(), c.via == &open) << mode;
            EXPECT_EQ(!auth.TakeRequests().empty(), c.via == &auth) << mode;
        }
    }
    EXPECT_EQ(Log().find("s3cret"), std::string::npos); // never logged
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

// Real wait statuses, from a shell and from a child of our own, read as
// curl mode's shift reads them.
TEST(ProcessSeam, DecodesRealWaitStatuses) {
    struct Case {
        const char* command;
        int exitCode, signal;
    };
    const Case cases[] = {
        {"exit 0", 0, 0}, {"exit 66", 66, 0}, {"exit 255", 255, 0}, {"kill -TERM $$", 0, SIGTERM}};
    for (const Case& c : cases) {
        const Process::ShellStatus status = Process::RunShellCommand(c.command);
        EXPECT_EQ(status.exitCode, c.exitCode) << c.command;
        EXPECT_EQ(status.exitCode, status.waitStatus >> 8) << c.command;
        EXPECT_EQ(status.signal, c.signal) << c.command;
    }
    const pid_t child = fork();
    if (child == 0) {
        kill(getpid(), SIGKILL);
    }
    int waitStatus = 0;
    ASSERT_EQ(waitpid(child, &waitStatus, 0), child);
    const Process::ShellStatus killed = Process::DecodeWaitStatus(waitStatus);
    EXPECT_EQ(killed.signal, SIGKILL);
    EXPECT_EQ(killed.exitCode, 0);
    EXPECT_NE(killed.waitStatus, 0);
}

// Two processes that post in the same second seed the generator alike and
// draw the same number; each must still send its own document to its own
// server.
TEST_F(TransferTest, CurlModeProcessesPostingInTheSameSecondKeepTheirDocuments) {
    UseMode(true);
    std::this_thread::sleep_until(std::chrono::system_clock::time_point(
        std::chrono::ceil<std::chrono::seconds>(std::chrono::system_clock::now())));
    const std::string urls[] = {servers.HttpUrl("/method"), servers.Http7Url("/method")};
    pid_t children[2];
    for (int i = 0; i < 2; ++i) {
        children[i] = fork();
        if (children[i] == 0) {
            const std::string document = "<n>" + std::to_string(i) + "</n>";
            std::string reply;
            const int result = Post(urls[i], document, reply);
            _exit(result == CommunicationLibrary::PostOk && reply == "POST " + document ? 0 : 1);
        }
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    int requests = 0;
    for (const auto& entry : fs::directory_iterator(scratch / "TemporaryItems")) {
        requests += entry.path().filename().string().rfind("request-", 0) == 0;
    }
    EXPECT_EQ(requests, 2);
}

// A document that cannot be written whole is not sent at all: cut short by a
// file size limit, or with no private folder to write it in.
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

    fs::remove_all(scratch / "TemporaryItems");
    fs::create_directory_symlink(scratch.path(), scratch / "TemporaryItems"); // not private
    EXPECT_EQ(Post(servers.HttpUrl("/echo"), "<x/>", reply),
              CommunicationLibrary::PostTransferFailed);
    EXPECT_EQ(reply, "untouched");
}

} // namespace
