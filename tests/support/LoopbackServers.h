// Starts the loopback test servers (quorvel_test_server) in a child process
// with a self-signed certificate made for the occasion, and stops them again.
#pragma once

#include <signal.h>

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
        // The server library is not instrumented: ThreadSanitizer stays quiet in it.
        const std::string start =
            "exec env TSAN_OPTIONS=report_bugs=0 " QUORVEL_TEST_SERVER " " + cert + " " + key;
        if (std::system(make.c_str()) != 0 || (out_ = popen(start.c_str(), "r")) == nullptr) {
            return;
        }
        if (std::fscanf(out_, "pid=%d http=%d https=%d http7=%d http6=%d", &pid_, &http, &https,
                        &http7, &http6) != 5) {
            http = 0;
        }
    }
    ~LoopbackServers() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
        }
        if (out_ != nullptr) {
            pclose(out_);
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
    std::FILE* out_ = nullptr;
    pid_t pid_ = -1;
};

} // namespace testsupport
