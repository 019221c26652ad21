#include <gtest/gtest.h>
#include <httplib.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "comm/CommunicationLibrary.h"
#include "comm/MyUrlConnection.h"
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
    void UseCurlMode() {
        Platform::SetOsReleaseFiles({scratch.Write("os-release", "VERSION_ID=10.3.1\n")});
    }
    void UseUrlLoadingMode() {
        Platform::SetOsReleaseFiles({scratch.Write("os-release", "VERSION_ID=12\n")});
    }
    std::string Log() const { return ReadFile(scratch / "TemporaryItems/quorvel-logs/log.txt"); }
    void UseMode(bool curl) { curl ? UseCurlMode() : UseUrlLoadingMode(); }
    int Post(const std::string& url, const std::string& document, std::string& reply) {
        return comm.PostDocument(W(url), W(document), reply);
    }

    testsupport::LoopbackServers servers;
    ScratchDir scratch;
    ScopedEnv tmp{"TMPDIR", scratch.path()};
    ScopedEnv http{"http_proxy", std::nullopt}, https{"https_proxy", std::nullopt},
        httpsUpper{"HTTPS_PROXY", std::nullopt}, noProxy{"no_proxy", std::nullopt},
        noProxyUpper{"NO_PROXY", std::nullopt}, all{"all_proxy", std::nullopt},
        allUpper{"ALL_PROXY", std::nullopt}, httpUpper{"HTTP_PROXY", std::nullopt};
    CommunicationLibrary comm;
};

TEST_F(TransferTest, ChecksTheUrlLengthThenReachability) {
    std::string reply = "untouched";
    EXPECT_EQ(comm.PostDocument(W("http://a/"), W("<x/>"), reply),
              CommunicationLibrary::PostUrlTooShort);
    EXPECT_EQ(comm.PostDocument(W("http://ab/"), W("<x/>"), reply),
              CommunicationLibrary::PostNoConnection);
    EXPECT_EQ(Post("http://host.invalid/echo", "<x/>", reply),
              CommunicationLibrary::PostNoConnection);
    EXPECT_EQ(reply, "untouched");
    EXPECT_FALSE(fs::exists(scratch / "TemporaryItems/quorvel-logs/log.txt")); // nothing logged
}

TEST_F(TransferTest, UrlLoadingModeAcceptsOnlyStatus200) {
    UseUrlLoadingMode();
    ASSERT_FALSE(comm.IsCurlMode());
    struct Case {
        std::string path;
        int result;
        std::string reply;
    };
    const Case cases[] = {
        {"/echo", CommunicationLibrary::PostOk, "<doc>\xC3\xA9</doc>"},
        {"/headers", CommunicationLibrary::PostOk, "text/xml|Quorvel"},
        {"/nul", CommunicationLibrary::PostOk, "ab"}, // cut at the zero byte
        {"/bytes/4096", CommunicationLibrary::PostOk, std::string(4096, 'x')},
        {"/status/201", CommunicationLibrary::PostTransferFailed, "untouched"},
        {"/status/204", CommunicationLibrary::PostTransferFailed, "untouched"},
        {"/status/404", CommunicationLibrary::PostTransferFailed, "untouched"},
        {"/status/500", CommunicationLibrary::PostTransferFailed, "untouched"},
        {"/bytes/0", CommunicationLibrary::PostTransferFailed, "untouched"}, // an empty reply fails
        // Redirects keep the document, but 303 asks for a GET.
        {"/redirect/301", CommunicationLibrary::PostOk, "POST <doc>\xC3\xA9</doc>"},
        {"/redirect/302", CommunicationLibrary::PostOk, "POST <doc>\xC3\xA9</doc>"},
        {"/redirect/307", CommunicationLibrary::PostOk, "POST <doc>\xC3\xA9</doc>"},
        {"/redirect/308", CommunicationLibrary::PostOk, "POST <doc>\xC3\xA9</doc>"},
        {"/redirect/303", CommunicationLibrary::PostOk, "GET "},
        {"/loop", CommunicationLibrary::PostTransferFailed, "untouched"},
        {"/redirect/302?to=ftp://127.0.0.1/", CommunicationLibrary::PostTransferFailed,
         "untouched"},
    };
    for (const Case& c : cases) {
        std::string reply = "untouched";
        EXPECT_EQ(Post(servers.HttpUrl(c.path), "<doc>\xC3\xA9</doc>", reply), c.result) << c.path;
        EXPECT_EQ(reply, c.reply) << c.path;
    }
    std::string reply = "untouched";
    const std::string closing = "http://127.0.0.1:" + std::to_string(servers.closing) + "/";
    EXPECT_EQ(Post(closing, "<x/>", reply), CommunicationLibrary::PostTransferFailed);
    EXPECT_EQ(Post(servers.HttpsUrl("/echo"), "<x/>", reply),
              CommunicationLibrary::PostTransferFailed);
    EXPECT_NE(Log().find("Message: Server response<doc>\xC3\xA9</doc>\n"), std::string::npos);
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
    }
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - dropped).count(), 1.0);
    MyUrlConnection defaults(0); // less than 1 second: the default applies
    request.url = servers.HttpUrl("/echo");
    ASSERT_TRUE(defaults.sendRequest(request));
    EXPECT_FALSE(defaults.sendRequest(request)); // one transfer per connection
    EXPECT_EQ(defaults.wait(), std::optional<std::string>("<x/>"));
}

TEST_F(TransferTest, CurlModeRunsTheDocumentedCommandLine) {
    UseCurlMode();
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

    std::vector<std::string> requests, responses;
    for (const auto& entry : fs::directory_iterator(scratch / "TemporaryItems")) {
        const std::string name = entry.path().filename();
        (name.rfind("request-", 0) == 0 ? requests : responses).push_back(entry.path());
    }
    ASSERT_EQ(requests.size(), 1u);  // both files stay behind
    ASSERT_EQ(responses.size(), 2u); // and the log folder
    EXPECT_EQ(ReadFile(requests[0]), "<curl/>");

    const std::string request = requests[0];
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

TEST_F(TransferTest, CurlModeResultsAndChunkedReads) {
    UseCurlMode();
    struct Case {
        std::string url;
        int result;
        std::string reply;
    };
    const Case cases[] = {
        {servers.HttpUrl("/bytes/2048"), CommunicationLibrary::PostOk, std::string(2048, 'x')},
        {servers.HttpUrl("/bytes/4096"), CommunicationLibrary::PostOk, std::string(4096, 'x')},
        {servers.HttpUrl("/status/201"), CommunicationLibrary::PostOk,
         "status"}, // -f fails from 400 only
        {servers.HttpUrl("/nul"), CommunicationLibrary::PostOk,
         "ab"}, // the rest of the chunk is lost
        {servers.HttpUrl("/status/404"), CommunicationLibrary::PostTransferFailed, "untouched"},
        {servers.HttpsUrl("/echo"), CommunicationLibrary::PostSecureConnectionFailed, "untouched"},
    };
    for (const Case& c : cases) {
        std::string reply = "untouched";
        EXPECT_EQ(Post(c.url, "<x/>", reply), c.result) << c.url;
        EXPECT_EQ(reply, c.reply) << c.url;
    }
    const std::string log = Log();
    EXPECT_NE(log.find("Message: curlerrcode original: ErrorCode: 5632\n"),
              std::string::npos); // exit 22
    EXPECT_NE(log.find("Message: curlerrcode: ErrorCode: 22\n"), std::string::npos);
    EXPECT_NE(log.find("Message: curlerrcode: ErrorCode: 60\n"), std::string::npos);

    // A missing response file is still a success, with an empty reply.
    std::string reply = "untouched";
    EXPECT_EQ(comm.CurlExternSecureDownload(servers.HttpUrl("/bytes/0"),
                                            scratch.Write("req", "<x/>"),
                                            scratch / "TemporaryItems/none.xml", reply),
              CommunicationLibrary::PostOk);
    EXPECT_EQ(reply, "");
}

TEST_F(TransferTest, CurlModeWithoutATemporaryFolderFails) {
    UseCurlMode();
    fs::remove_all(scratch / "TemporaryItems");
    fs::create_directory_symlink(scratch.path(),
                                 scratch / "TemporaryItems"); // refused as not private
    std::string reply = "untouched";
    EXPECT_EQ(Post(servers.HttpUrl("/echo"), "<x/>", reply),
              CommunicationLibrary::PostTransferFailed);
    EXPECT_EQ(reply, "untouched");
}

TEST_F(TransferTest, ParallelTransfersKeepTheirOwnReplies) {
    UseUrlLoadingMode();
    std::vector<std::thread> threads;
    std::vector<std::string> replies(6);
    for (std::size_t i = 0; i < replies.size(); ++i) {
        threads.emplace_back([&, i] {
            CommunicationLibrary own;
            own.PostDocument(W(servers.HttpUrl("/echo")), W("<n>" + std::to_string(i) + "</n>"),
                             replies[i]);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < replies.size(); ++i) {
        EXPECT_EQ(replies[i], "<n>" + std::to_string(i) + "</n>");
    }
}

// Every configuration is stated by the library, then posted in both modes;
// the route is what the two real proxies saw. The proxy variables curl reads
// by itself must not change the route in curl mode, nor libcurl's in
// URL-loading mode.
TEST_F(TransferTest, EveryProxyConfigurationTakesTheStatedRouteInBothModes) {
    ASSERT_TRUE(testsupport::GnomeSettings::Available());
    testsupport::GnomeSettings gnome;
    testsupport::TinyProxy open, auth("user", "s3cret");
    ASSERT_TRUE(open.ok() && auth.ok());
    const std::string o = open.Address(), a = auth.Address(), dead = "127.0.0.1:1";
    const std::string o6 = "[::1]:" + std::to_string(open.port);
    const std::string u1 = servers.HttpUrl("/method"), u7 = servers.Http7Url("/method"),
                      u6 = servers.Http6Url("/method");
    const auto desktop = [](const std::string& proxy, const std::string& ignore, bool account) {
        const std::size_t colon = proxy.rfind(':');
        return std::vector<std::string>{
            "org.gnome.system.proxy mode manual",
            "org.gnome.system.proxy.http host '" + proxy.substr(0, colon) + "'",
            "org.gnome.system.proxy.http port " + proxy.substr(colon + 1),
            "org.gnome.system.proxy ignore-hosts \"" + ignore + "\"",
            std::string("org.gnome.system.proxy.http use-authentication ") +
                (account ? "true" : "false"),
            "org.gnome.system.proxy.http authentication-user user",
            "org.gnome.system.proxy.http authentication-password s3cret"};
    };
    struct Case {
        std::vector<std::pair<const char*, std::string>> env;
        std::vector<std::string> desktop; // empty: GNOME's mode is "none"
        std::string url, stated;          // stated: the route the library names
        const testsupport::TinyProxy* via;
        bool urlOk, curlOk;
    };
    const Case cases[] = {
        {{{"http_proxy", o}}, {}, u1, o, &open, true, true},
        {{{"http_proxy", o}, {"no_proxy", "127."}}, {}, u1, "", nullptr, true, true},
        {{{"http_proxy", o}, {"no_proxy", " * "}}, {}, u1, "", nullptr, true, true},
        {{{"http_proxy", "http://" + o + "/"}, {"NO_PROXY", "127.0.0.0/8"}},
         {},
         u7,
         "",
         nullptr,
         true,
         true},
        {{{"http_proxy", o}, {"no_proxy", "127.0.0.1/32"}}, {}, u7, o, &open, true, true},
        {{{"http_proxy", o}, {"no_proxy", "localhost, [::1]:80"}}, {}, u6, "", nullptr, true, true},
        {{{"http_proxy", "http://" + o6}}, {}, u6, o6, &open, true, true},
        // Credentials reach the proxy in URL-loading mode only.
        {{{"http_proxy", "http://user:s3cret@" + a}}, {}, u1, a, &auth, true, false},
        {{{"http_proxy", a}}, {}, u1, a, &auth, false, false},
        {{{"https_proxy", o}}, {}, u1, "", nullptr, true, true},
        {{{"http_proxy", a}, {"HTTPS_PROXY", o}}, {}, u1, o, &open, true, true}, // HTTPS preferred
        {{{"all_proxy", dead}, {"ALL_PROXY", dead}, {"HTTP_PROXY", dead}},
         {},
         u1,
         "",
         nullptr,
         true,
         true},
        // GNOME's settings win over the variables; its default exceptions.
        {{{"http_proxy", dead}},
         desktop(o, "['localhost', '127.0.0.0/8', '::1']", false),
         u7,
         "",
         nullptr,
         true,
         true},
        {{{"http_proxy", dead}}, desktop(o, "['*.example.com']", false), u1, o, &open, true, true},
        {{}, desktop(a, "[]", true), u1, a, &auth, true, false},
    };
    for (const Case& c : cases) {
        std::string label = c.url;
        std::vector<std::unique_ptr<ScopedEnv>> env;
        for (const auto& [name, value] : c.env) {
            env.push_back(std::make_unique<ScopedEnv>(name, value));
            label += std::string(" ") + name + "=" + value;
        }
        label += c.desktop.empty() ? "" : " gnome:" + c.desktop[1] + c.desktop[3] + c.desktop[4];
        ASSERT_TRUE(gnome.Set(c.desktop.empty() ? std::vector<std::string>{"org.gnome.system.proxy "
                                                                           "mode none"}
                                                : c.desktop));
        EXPECT_EQ(comm.RouteFor(c.url).proxy, c.stated) << label;
        for (const bool curl : {false, true}) {
            UseMode(curl);
            std::string reply;
            const bool ok = Post(c.url, "<route/>", reply) == CommunicationLibrary::PostOk;
            const std::string mode = curl ? " (curl mode)" : " (URL-loading mode)";
            EXPECT_EQ(ok, curl ? c.curlOk : c.urlOk) << label << mode;
            EXPECT_EQ(reply, ok ? "POST <route/>" : "") << label << mode;
            EXPECT_EQ(!open.TakeRequests().empty(), c.via == &open) << label << mode;
            EXPECT_EQ(!auth.TakeRequests().empty(), c.via == &auth) << label << mode;
        }
    }
    EXPECT_EQ(Log().find("s3cret"), std::string::npos); // never logged
}

TEST_F(TransferTest, CertificateAuthoritiesAsTheCurlToolFindsThem) {
    const std::string ca = servers.Certificate(), none = scratch / "none.pem";
    const std::string folder = scratch / "certs";
    fs::create_directories(folder);
    fs::copy_file(ca, folder + "/ca.pem");
    ASSERT_EQ(std::system(("openssl rehash " + folder + " 2>/dev/null").c_str()), 0);
    using Env = std::optional<std::string>;
    struct Case {
        Env bundle, file, dir;
        int urlResult, curlResult;
    };
    const Env unset;
    const Case cases[] = {
        {unset, unset, unset, CommunicationLibrary::PostTransferFailed,
         CommunicationLibrary::PostSecureConnectionFailed}, // the system store knows no test CA
        {unset, ca, unset, CommunicationLibrary::PostOk, CommunicationLibrary::PostOk},
        {unset, unset, folder, CommunicationLibrary::PostOk, CommunicationLibrary::PostOk},
        {ca, none, none, CommunicationLibrary::PostOk, CommunicationLibrary::PostOk},
        {std::string(), ca, unset, CommunicationLibrary::PostOk, CommunicationLibrary::PostOk},
    };
    for (const Case& c : cases) {
        ScopedEnv bundle("CURL_CA_BUNDLE", c.bundle), file("SSL_CERT_FILE", c.file),
            dir("SSL_CERT_DIR", c.dir);
        for (const bool curl : {false, true}) {
            UseMode(curl);
            std::string reply;
            EXPECT_EQ(Post(servers.HttpsUrl("/echo"), "<tls/>", reply),
                      curl ? c.curlResult : c.urlResult)
                << c.bundle.value_or("-") << " " << c.file.value_or("-") << " "
                << c.dir.value_or("-") << (curl ? " curl" : " url-loading");
        }
    }
}

// Two processes that post in the same second seed the generator alike and
// draw the same number; each must still send its own document to its own
// server.
TEST_F(TransferTest, CurlModeProcessesPostingInTheSameSecondKeepTheirDocuments) {
    UseCurlMode();
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

// A document that cannot be written whole is not sent at all.
TEST_F(TransferTest, CurlModeNeverSendsHalfADocument) {
    UseCurlMode();
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
