// Real proxy sources for the transport tests: a tinyproxy on loopback that
// tells whether it carried requests, and GNOME proxy settings written with
// gsettings into a private dconf database.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/ScratchDir.h"

namespace testsupport {

// The variables that give curl or libcurl a proxy or CA certificates, unset
// for the length of one test, so that the machine's own cannot change a route.
struct NoTransferVariables {
    ScopedEnv variables[11] = {{"http_proxy", {}},    {"HTTP_PROXY", {}},  {"https_proxy", {}},
                               {"HTTPS_PROXY", {}},   {"no_proxy", {}},    {"NO_PROXY", {}},
                               {"all_proxy", {}},     {"ALL_PROXY", {}},   {"CURL_CA_BUNDLE", {}},
                               {"SSL_CERT_FILE", {}}, {"SSL_CERT_DIR", {}}};
};

// A tinyproxy listening on 127.0.0.1 and [::1], asking for Basic
// credentials when `user` is given. Stopped when destroyed.
class TinyProxy {
public:
    explicit TinyProxy(const std::string& user = "", const std::string& password = "")
        : port(FreePort()) {
        std::string config = "Port " + std::to_string(port) +
                             "\nListen 127.0.0.1\nListen ::1\nTimeout 30\nMaxClients 20\n"
                             "LogLevel Info\nLogFile \"" +
                             log_ + "\"\n";
        if (!user.empty()) {
            config += "BasicAuth " + user + " " + password + "\n";
        }
        const std::string file = folder_.Write("tinyproxy.conf", config);
        pid_ = fork();
        if (pid_ == 0) {
            const int null = open("/dev/null", O_WRONLY);
            dup2(null, 1);
            dup2(null, 2);
            execlp("tinyproxy", "tinyproxy", "-d", "-c", file.c_str(), nullptr);
            _exit(127);
        }
        for (int i = 0; i < 100 && !ok(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    ~TinyProxy() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
    }
    // True once the proxy has said that it accepts connections.
    bool ok() const {
        return pid_ > 0 && ReadFile(log_).find("Accepting connections") != std::string::npos;
    }
    std::string Address() const { return "127.0.0.1:" + std::to_string(port); }

    // True when the proxy carried a request since the last call.
    bool CarriedRequests() {
        const std::string log = ReadFile(log_);
        const bool carried = log.find("Request (file descriptor ", read_) != std::string::npos;
        read_ = log.size();
        return carried;
    }

    const int port;

private:
    // A port of 127.0.0.1 that was free a moment ago.
    static int FreePort() {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        bind(fd, reinterpret_cast<sockaddr*>(&address), length);
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
        close(fd);
        return ntohs(address.sin_port);
    }
    ScratchDir folder_;
    std::string log_ = folder_ / "tinyproxy.log";
    std::size_t read_ = 0;
    pid_t pid_ = -1;
};

// GNOME settings in a fresh home: written by gsettings through dconf on a
// D-Bus session bus of its own, read back by this process from that private
// database. Make it before this process first asks GLib for its folders.
// The bus lives as long as the fixture, so dconf's worker thread in this
// process connects once and stays quiet: a thread that logs calls getenv,
// which must not meet the test's setenv.
class GnomeSettings {
public:
    // The bus is a child that ends with this process, not with the fixture:
    // dconf's connection to it ends the process (SIGTERM) when it closes.
    GnomeSettings() {
        mkdir(runtime_.c_str(), 0700);
        const std::string socket = home_ / "bus", option = "--address=" + address_;
        if (fork() == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", option.c_str(), nullptr);
            _exit(127);
        }
        for (int i = 0; i < 100 && access(socket.c_str(), F_OK) != 0; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    GnomeSettings(const GnomeSettings&) = delete;
    GnomeSettings& operator=(const GnomeSettings&) = delete;

    // Runs `gsettings set` with each line of shell words ("SCHEMA KEY VALUE").
    bool Set(const std::vector<std::string>& lines) const {
        std::string script;
        for (const std::string& line : lines) {
            script += "gsettings set " + line + " || exit 1\n";
        }
        const std::string file = home_.Write("settings.sh", script);
        const std::string command = "sh " + file + " >/dev/null 2>&1";
        return std::system(command.c_str()) == 0;
    }

private:
    ScratchDir home_;
    std::string runtime_ = home_ / "runtime";
    ScopedEnv homeEnv_{"HOME", home_.path()};
    ScopedEnv config_{"XDG_CONFIG_HOME", home_ / "config"};
    ScopedEnv runtimeEnv_{"XDG_RUNTIME_DIR", runtime_};
    ScopedEnv backend_{"GSETTINGS_BACKEND", std::string("dconf")};
    // Never the user's session bus.
    std::string address_ = "unix:path=" + home_ / "bus";
    ScopedEnv bus_{"DBUS_SESSION_BUS_ADDRESS", address_};
};

} // namespace testsupport
