// One HTTP transfer made synchronous for its caller.
//
// The transfer runs through libcurl on a worker thread of its own; its
// completion reports back on that thread under `m_lock`, while the caller's
// thread waits in slices of at most half a second for the end or for the
// transfer timeout. Only status 200 counts as success. Redirects are
// followed (at most 10, http and https only) keeping the document: 301, 302,
// 307 and 308 post it again, 303 fetches the new place with GET. The proxy
// is the request's alone: libcurl reads no proxy variable of its own. CA
// certificates come from CURL_CA_BUNDLE, else SSL_CERT_FILE and
// SSL_CERT_DIR, as the curl tool reads them, else the system store. A
// connection object lives for one transfer, and its worker never outlives
// it: destroying the object cancels a transfer still under way and joins
// the worker.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "utils/Export.h"

// What to send: a POST of `body` to `url` with the given header lines.
struct UrlRequest {
    // Where to send it.
    std::string url;
    // The HTTP method.
    std::string method = "POST";
    // Header lines as name and value, sent in this order.
    std::vector<std::pair<std::string, std::string>> headers;
    // The request body, sent as it is.
    std::string body;
    // The connection timeout in seconds.
    double timeoutInterval = 60.0;
    // The proxy as "host:port", or empty for a direct connection.
    std::string proxy;
    // Whether proxyUser and proxyPassword are sent to the proxy.
    bool proxyCredentials = false;
    // The user name the proxy is given.
    std::string proxyUser;
    // The password the proxy is given; never logged.
    std::string proxyPassword;
};

// One transfer, run on a worker thread and waited for on the caller's.
class QUORVEL_EXPORT MyUrlConnection {
public:
    // Sends `request` and waits for the reply: the bytes received on status
    // 200 (possibly none), or nullopt on failure or after `transferTimeout`
    // seconds.
    static std::optional<std::string> sendMySynchronousRequest(const UrlRequest& request,
                                                               int transferTimeout);

    // A connection whose transfer may last `timeout` seconds (60 when less
    // than 1).
    explicit MyUrlConnection(int timeout);
    // Cancels a transfer still under way and joins its worker.
    ~MyUrlConnection();
    // Not copyable: the worker thread refers to this very object.
    MyUrlConnection(const MyUrlConnection&) = delete;
    MyUrlConnection& operator=(const MyUrlConnection&) = delete;

    // Starts the transfer timer and the transfer; false when the transfer
    // could not be set up, or this connection already has one.
    bool sendRequest(const UrlRequest& request);

    // Waits until the transfer ends (its data, empty when none arrived) or
    // the timer fires (nullopt). The timeout test comes first at every wake.
    std::optional<std::string> wait();

    // The transfer's failure as the completion reports it (`sender` and
    // `error` are not read): marks it done, stops its timer, drops the data.
    void connectionDidFailWithError(const void* sender, const std::string* error);
    // Appends `data` to the reply received so far.
    void connectionDidReceiveData(const void* sender, const std::string& data);
    // Marks the transfer done and stops its timer.
    void connectionDidFinishLoading(const void* sender);

    // The timer's callback: marks the transfer as timed out.
    void timeIsUp();

    // Sets whether the transfer has ended, under `m_lock`.
    void setTransferDone(bool done);
    // Whether the transfer has ended, read under `m_lock`.
    bool isTransferDone();

private:
    struct Transfer;
    void RunTransfer(Transfer* transfer); // the worker thread's body; owns `transfer`
    void InvalidateTimer();

    std::optional<std::string> m_data; // guarded by m_lock
    bool m_bDone = false;              // guarded by m_lock
    bool m_doCancel = false;           // the caller's thread only
    int m_timeout;
    std::thread m_urlTask;
    std::atomic<bool> m_cancelTask{false}; // asks the worker to stop
    std::chrono::steady_clock::time_point m_timer;
    std::atomic<bool> m_timerValid{false};
    std::mutex m_lock;
    std::condition_variable m_wake;
};
