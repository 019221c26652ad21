// The loopback servers the transport tests talk to, run as a child process
// of the test: an HTTP and an HTTPS server with the same routes, a forward
// proxy that records every request target it carries, and a port that
// closes every connection at once. It prints its ports on one line and runs
// until its standard input closes.
//
//   quorvel_test_server CERT KEY
//
// Routes (POST): /echo (the body back), /headers (Content-Type|User-Agent),
// /bytes/N (N bytes of 'x'), /nul ("ab", a zero byte, "cd"), /status/N
// (status N, body "status"), /slow (answers after 5 s).
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <mutex>
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
    server.Post("/slow", [](const httplib::Request&, httplib::Response& res) {
        std::this_thread::sleep_for(std::chrono::seconds(5));
        res.set_content("late", "text/plain");
    });
}

// Forwards absolute-form requests ("POST http://host:port/path") to their
// origin and keeps their targets for GET /log.
void AddProxyRoutes(httplib::Server& proxy, std::vector<std::string>& log, std::mutex& mutex) {
    proxy.Get("/log", [&](const httplib::Request&, httplib::Response& res) {
        std::lock_guard<std::mutex> lock(mutex);
        std::string text;
        for (const std::string& target : log) {
            text += target + "\n";
        }
        res.set_content(text, "text/plain");
    });
    proxy.Post(".*", [&](const httplib::Request& req, httplib::Response& res) {
        {
            std::lock_guard<std::mutex> lock(mutex);
            log.push_back(req.target);
        }
        const std::size_t hostStart = req.target.find("://");
        const std::size_t pathStart =
            req.target.find('/', hostStart == std::string::npos ? 0 : hostStart + 3);
        if (hostStart == std::string::npos || pathStart == std::string::npos) {
            res.status = 400;
            return;
        }
        httplib::Client origin(req.target.substr(0, pathStart));
        const auto answer = origin.Post(req.target.substr(pathStart), req.body,
                                        req.get_header_value("Content-Type"));
        if (!answer) {
            res.status = 502;
            return;
        }
        res.status = answer->status;
        res.set_content(answer->body, "text/plain");
    });
}

// A port that accepts connections and closes them without a word.
int StartClosingPort(std::thread& thread) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    bind(fd, reinterpret_cast<sockaddr*>(&address), length);
    listen(fd, 16);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    thread = std::thread([fd] {
        for (;;) {
            const int client = accept(fd, nullptr, nullptr);
            if (client < 0) {
                return;
            }
            close(client);
        }
    });
    return ntohs(address.sin_port);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s CERT KEY\n", argv[0]);
        return 2;
    }
    httplib::Server http;
    httplib::SSLServer https(argv[1], argv[2]);
    httplib::Server proxy;
    std::vector<std::string> log;
    std::mutex mutex;
    AddRoutes(http);
    AddRoutes(https);
    AddProxyRoutes(proxy, log, mutex);
    const int httpPort = http.bind_to_any_port("127.0.0.1");
    const int httpsPort = https.bind_to_any_port("127.0.0.1");
    const int proxyPort = proxy.bind_to_any_port("127.0.0.1");
    std::thread closer;
    const int closePort = StartClosingPort(closer);
    std::thread threads[] = {std::thread([&] { http.listen_after_bind(); }),
                             std::thread([&] { https.listen_after_bind(); }),
                             std::thread([&] { proxy.listen_after_bind(); })};
    std::printf("http=%d https=%d proxy=%d close=%d\n", httpPort, httpsPort, proxyPort, closePort);
    std::fflush(stdout);
    std::string ignored;
    while (std::getline(std::cin, ignored)) {
    }
    _exit(0); // the parent is gone; no orderly shutdown needed
}
