#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "comm/CommunicationLibrary.h"
#include "comm/MyUrlConnection.h"
#include "tests/support/LoopbackServers.h"
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
    std::string ProxyLog() const {
        const auto answer = httplib::Client("127.0.0.1", servers.proxy).Get("/log");
        return answer ? answer->body : "";
    }
    int Post(const std::string& url, const std::string& document, std::string& reply) {
        return comm.PostDocument(W(url), W(document), reply);
    }

    testsupport::LoopbackServers servers;
    ScratchDir scratch;
    ScopedEnv tmp{"TMPDIR", scratch.path()};
    ScopedEnv http{"http_proxy", std::nullopt}, https{"https_proxy", std::nullopt},
        httpsUpper{"HTTPS_PROXY", std::nullopt}, noProxy{"no_proxy", std::nullopt};
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

TEST_F(TransferTest, UrlLoadingModeGoesThroughTheSystemProxy) {
    UseUrlLoadingMode();
    ScopedEnv proxy("http_proxy", "127.0.0.1:" + std::to_string(servers.proxy));
    std::string reply;
    EXPECT_EQ(Post(servers.HttpUrl("/echo"), "<via/>", reply), CommunicationLibrary::PostOk);
    EXPECT_EQ(reply, "<via/>");
    EXPECT_NE(ProxyLog().find(servers.HttpUrl("/echo")), std::string::npos);
}

TEST_F(TransferTest, CurlModeRunsTheDocumentedCommandLine) {
    UseCurlMode();
    ASSERT_TRUE(comm.IsCurlMode());
    ScopedEnv proxy("https_proxy", "127.0.0.1:" + std::to_string(servers.proxy));
    ScopedEnv plainProxy("http_proxy", "127.0.0.1:1"); // the HTTPS setting is preferred anyway
    std::string reply;
    const std::string url = servers.HttpUrl("/echo");
    EXPECT_EQ(Post(url, "<curl/>", reply), CommunicationLibrary::PostOk);
    EXPECT_EQ(reply, "<curl/>");
    EXPECT_NE(ProxyLog().find(url), std::string::npos);

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
    const std::string expected =
        "/usr/bin/curl  --url " + url + " --connect-timeout 60 -m 70 -f  -s --data-binary @\"" +
        request + "\" -o \"" + response +
        "\" -H \"Content-Type: text/xml\" -H \"User-Agent: Quorvel\" -x 127.0.0.1:" +
        std::to_string(servers.proxy);
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

} // namespace
