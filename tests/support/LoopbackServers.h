// Starts the loopback test servers (quorvel_test_server) in a child process
// with a self-signed certificate made for the occasion, and stops them again.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/support/ScratchDir.h"

namespace testsupport {

class LoopbackServers {
public:
    LoopbackServers() {
        const std::string cert = certs_ / "cert.pem", key = certs_ / "key.pem";
        const std::string make =
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 1"
            " -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 -keyout " +
            key + " -out " + cert + " 2>/dev/null";
        if (std::system(make.c_str()) != 0) {
            return;
        }
        int toChild[2], fromChild[2];
        if (pipe(toChild) != 0 || pipe(fromChild) != 0) {
            return;
        }
        pid_ = fork();
        if (pid_ == 0) {
            dup2(toChild[0], 0);
            dup2(fromChild[1], 1);
            close(toChild[1]);
            close(fromChild[0]);
            setenv("TSAN_OPTIONS", "report_bugs=0", 1); // the server library is not instrumented
            execl(QUORVEL_TEST_SERVER, QUORVEL_TEST_SERVER, cert.c_str(), key.c_str(), nullptr);
            _exit(127);
        }
        close(toChild[0]);
        close(fromChild[1]);
        input_ = toChild[1];
        std::FILE* out = fdopen(fromChild[0], "r");
        if (out == nullptr || std::fscanf(out, "http=%d https=%d http7=%d http6=%d", &http, &https,
                                          &http7, &http6) != 4) {
            http = 0;
        }
        if (out != nullptr) {
            std::fclose(out);
        }
    }
    ~LoopbackServers() {
        if (pid_ > 0) {
            close(input_);
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
    }
    bool ok() const { return http > 0; }
    std::string HttpUrl(const std::string& path) const { return Url("http", http, path); }
    std::string HttpsUrl(const std::string& path) const { return Url("https", https, path); }
    // The server on 127.0.0.7 and the one on [::1].
    std::string Http7Url(const std::string& path) const {
        return Url("http", http7, path, "127.0.0.7");
    }
    std::string Http6Url(const std::string& path) const {
        return Url("http", http6, path, "[::1]");
    }
    // The self-signed certificate of the HTTPS server, the test's private CA.
    std::string Certificate() const { return certs_ / "cert.pem"; }

    int http = 0, https = 0, http7 = 0, http6 = 0;

private:
    static std::string Url(const char* scheme, int port, const std::string& path,
                           const char* host = "127.0.0.1") {
        return std::string(scheme) + "://" + host + ":" + std::to_string(port) + path;
    }
    ScratchDir certs_;
    pid_t pid_ = -1;
    int input_ = -1;
};

} // namespace testsupport
