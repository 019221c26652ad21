// Posting a 2 KB document to a loopback server that answers 1 KB: URL-loading
// mode beside a bare libcurl POST, and curl mode beside the same curl
// command line run through system() alone.
#include <curl/curl.h>
#include <httplib.h>
#include <stdlib.h>

#include <filesystem>
#include <thread>

#include "bench/support/RatioReporter.h"
#include "comm/CommunicationLibrary.h"
#include "utils/Conversions.h"
#include "utils/platform/Platform.h"

namespace {

const std::string kDocument = "<doc>" + std::string(2048 - 11, 'd') + "</doc>";

struct Fixture {
    Fixture() {
        char pattern[] = "/tmp/quorvel-bench-XXXXXX";
        folder = mkdtemp(pattern);
        setenv("TMPDIR", folder.c_str(), 1);
        unsetenv("http_proxy");
        server.Post("/reply", [](const httplib::Request&, httplib::Response& res) {
            res.set_content(std::string(1024, 'r'), "text/xml");
        });
        port = server.bind_to_any_port("127.0.0.1");
        thread = std::thread([this] { server.listen_after_bind(); });
        url = "http://127.0.0.1:" + std::to_string(port) + "/reply";
    }
    ~Fixture() {
        server.stop();
        thread.join();
        std::filesystem::remove_all(folder);
    }
    // Curl mode is chosen for systems up to 10.3.1.
    void SetSystemVersion(const char* version) {
        const std::string file = folder + "/os-release";
        std::FILE* out = std::fopen(file.c_str(), "w");
        std::fprintf(out, "VERSION_ID=%s\n", version);
        std::fclose(out);
        Platform::SetOsReleaseFiles({file});
    }
    std::string folder, url;
    httplib::Server server;
    std::thread thread;
    int port = 0;
};

Fixture& Shared() {
    static Fixture fixture;
    return fixture;
}

void PostDocument(benchmark::State& state, const char* version) {
    Fixture& fixture = Shared();
    fixture.SetSystemVersion(version);
    CommunicationLibrary comm;
    const fn::fn_wstring url = Utils::utf8towstring(fixture.url);
    const fn::fn_wstring document = Utils::utf8towstring(kDocument);
    for (auto _ : state) {
        std::string reply;
        if (comm.PostDocument(url, document, reply) != CommunicationLibrary::PostOk ||
            reply.size() != 1024) {
            state.SkipWithError("transfer failed");
            return;
        }
    }
}

std::size_t Collect(char* data, std::size_t size, std::size_t count, void* target) {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
}

void BareLibcurl(benchmark::State& state) {
    Fixture& fixture = Shared();
    for (auto _ : state) {
        std::string reply;
        CURL* easy = curl_easy_init();
        curl_slist* headers = curl_slist_append(nullptr, "Content-type: text/xml");
        curl_easy_setopt(easy, CURLOPT_URL, fixture.url.c_str());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, kDocument.c_str());
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, Collect);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, &reply);
        curl_easy_perform(easy);
        curl_slist_free_all(headers);
        curl_easy_cleanup(easy);
        benchmark::DoNotOptimize(reply.data());
    }
}

void BareCurlCommand(benchmark::State& state) {
    Fixture& fixture = Shared();
    const std::string request = fixture.folder + "/bare-request.xml";
    const std::string response = fixture.folder + "/bare-response.xml";
    std::FILE* out = std::fopen(request.c_str(), "wb");
    std::fwrite(kDocument.data(), 1, kDocument.size(), out);
    std::fclose(out);
    const std::string command = "/usr/bin/curl  --url " + fixture.url +
                                " --connect-timeout 60 -m 70 -f  -s --data-binary @\"" + request +
                                "\" -o \"" + response +
                                "\" -H \"Content-Type: text/xml\" -H \"User-Agent: Quorvel\"";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("curl failed");
            return;
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    benchsupport::RatioReporter reporter;
    const auto ms = benchmark::kMillisecond;
    benchmark::RegisterBenchmark("url_loading_mode/post", PostDocument, "12")
        ->Unit(ms)
        ->UseRealTime();
    benchmark::RegisterBenchmark("bare_libcurl/post", BareLibcurl)->Unit(ms)->UseRealTime();
    benchmark::RegisterBenchmark("curl_mode/post", PostDocument, "10.3.1")->Unit(ms)->UseRealTime();
    benchmark::RegisterBenchmark("bare_curl_command/post", BareCurlCommand)
        ->Unit(ms)
        ->UseRealTime();
    reporter.Compare("url_loading_mode/post", "bare_libcurl/post");
    reporter.Compare("curl_mode/post", "bare_curl_command/post");
    return benchsupport::RunWithRatios(argc, argv, reporter);
}
