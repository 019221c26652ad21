// The loopback servers the transport tests talk to, run as a child process
// of the test: HTTP servers on 127.0.0.1, 127.0.0.7 and [::1], an HTTPS
// server on 127.0.0.1, all with the same routes. It prints its process id
// and ports on one line and runs until it is stopped, or the test ends.
//
//   quorvel_test_server CERT KEY
//
// Routes (POST): /echo (the body back), /headers (Content-Type|User-Agent),
// /bytes/N (N bytes of 'x'), /nul ("ab", a zero byte, "cd"), /status/N
// (status N, body "status"), /slow (answers after 5 s), /redirect/N (status
// N to the query's "to", else /method), /redirects/N (N redirects in a row,
// then /method), /loop (redirects to itself).
// /method (GET and POST) answers the method and the body.
#include <httplib.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

void AddRoutes(httplib::Server& server) {
    server.Post("/echo", [](const httplib::Request& req, httplib::Response& res) {
        res.set_content(req.body, "text/xml");
    });
    server.Post("/headers", [](const httplib::Request& req, httplib::Response& res) {
        res.set_content(req.get_header_value("Content-Type") + "|" +
                            req.get_header_value("User-Agent"),
                        "text/plain");
    });
    server.Post(R"(/bytes/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
        res.set_content(std::string(std::stoul(req.matches[1]), 'x'), "text/plain");
    });
    server.Post("/nul", [](const httplib::Request&, httplib::Response& res) {
        res.set_content(std::string("ab\0cd", 5), "text/plain");
    });
    server.Post(R"(/status/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
        res.status = std::stoi(req.matches[1]);
        res.set_content("status", "text/plain");
    });
    server.Post(R"(/redirect/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
        res.status = std::stoi(req.matches[1]);
        res.set_header("Location", req.has_param("to") ? req.get_param_value("to") : "/method");
    });
    server.Post(R"(/redirects/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
        const int left = std::stoi(req.matches[1]) - 1;
        res.set_redirect(left > 0 ? "/redirects/" + std::to_string(left) : "/method", 302);
    });
    server.Post("/loop", [](const httplib::Request&, httplib::Response& res) {
        res.set_redirect("/loop", 302);
    });
    const auto method = [](const httplib::Request& req, httplib::Response& res) {
        res.set_content(req.method + " " + req.body, "text/plain");
    };
    server.Get("/method", method);
    server.Post("/method", method);
    server.Post("/slow", [](const httplib::Request&, httplib::Response& res) {
        std::this_thread::sleep_for(std::chrono::seconds(5));
        res.set_content("late", "text/plain");
    });
}

} // namespace

int main(int argc, char** argv) {
    prctl(PR_SET_PDEATHSIG, SIGTERM); // a test that dies takes its servers along
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s CERT KEY\n", argv[0]);
        return 2;
    }
    httplib::Server http, http7, http6;
    httplib::SSLServer https(argv[1], argv[2]);
    for (httplib::Server* server : {&http, &http7, &http6, static_cast<httplib::Server*>(&https)}) {
        AddRoutes(*server);
    }
    const int httpPort = http.bind_to_any_port("127.0.0.1");
    const int http7Port = http7.bind_to_any_port("127.0.0.7");
    const int http6Port = http6.bind_to_any_port("::1");
    const int httpsPort = https.bind_to_any_port("127.0.0.1");
    std::vector<std::thread> threads;
    for (httplib::Server* server : {&http, &http7, &http6, static_cast<httplib::Server*>(&https)}) {
        threads.emplace_back([server] { server->listen_after_bind(); });
    }
    std::printf("pid=%d http=%d https=%d http7=%d http6=%d\n", getpid(), httpPort, httpsPort,
                http7Port, http6Port);
    std::fflush(stdout);
    for (;;) {
        pause(); // until the test stops it, or its end does
    }
}
