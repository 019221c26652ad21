#include "comm/MyUrlConnection.h"

#include <curl/curl.h>

#include <memory>
#include <system_error>

#include "utils/platform/Platform.h"

namespace {

// How often a waiting transfer looks at the cancel flag, at the most.
constexpr int kCancelCheckMs = 50;
constexpr auto kWaitSlice = std::chrono::milliseconds(500);
constexpr long kMaxRedirects = 10;

void InitialiseCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

// No exception may cross libcurl: a reply that cannot be stored (memory
// exhausted) ends the transfer as a failure instead.
std::size_t CollectBody(char* data, std::size_t size, std::size_t count, void* target) {
    try {
        static_cast<std::string*>(target)->append(data, size * count);
    } catch (...) {
        return 0;
    }
    return size * count;
}

// A variable's value; unset and empty count alike.
std::string Environment(const char* name) {
    return Platform::EnvironmentVariable(name).value_or("");
}

// The CA certificates as the curl tool finds them: CURL_CA_BUNDLE alone when
// set, else SSL_CERT_FILE and SSL_CERT_DIR; empty values count as unset.
// Without any, libcurl's own defaults (the system store) stay.
void SetCertificateAuthorities(CURL* easy) {
    const std::string bundle = Environment("CURL_CA_BUNDLE");
    if (!bundle.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, bundle.c_str());
        return;
    }
    const std::string file = Environment("SSL_CERT_FILE");
    const std::string folder = Environment("SSL_CERT_DIR");
    if (!folder.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAPATH, folder.c_str());
    }
    if (!file.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, file.c_str());
    }
}

// The request's proxy and nothing else: set explicitly, libcurl consults no
// proxy variable (an empty proxy disables proxies, "*" exempts every host).
void SetProxy(CURL* easy, const UrlRequest& request) {
    curl_easy_setopt(easy, CURLOPT_PROXY, request.proxy.c_str());
    curl_easy_setopt(easy, CURLOPT_NOPROXY, request.proxy.empty() ? "*" : "");
    if (request.proxyCredentials) {
        curl_easy_setopt(easy, CURLOPT_PROXYUSERNAME, request.proxyUser.c_str());
        curl_easy_setopt(easy, CURLOPT_PROXYPASSWORD, request.proxyPassword.c_str());
    }
}

// Drives the easy handle until it ends or the caller cancels. A failing
// multi call ends the transfer at once rather than spinning to the deadline.
CURLcode DriveUntilDoneOrCancelled(CURL* easy, const std::atomic<bool>& cancel) {
    CURLM* multi = curl_multi_init();
    if (multi == nullptr) {
        return CURLE_OUT_OF_MEMORY;
    }
    CURLcode result = CURLE_ABORTED_BY_CALLBACK;
    if (curl_multi_add_handle(multi, easy) != CURLM_OK) {
        curl_multi_cleanup(multi);
        return CURLE_FAILED_INIT;
    }
    int running = 1;
    while (!cancel) {
        if (curl_multi_perform(multi, &running) != CURLM_OK) {
            result = CURLE_RECV_ERROR;
            break;
        }
        if (running == 0) {
            int queued = 0;
            const CURLMsg* message = curl_multi_info_read(multi, &queued);
            result = message != nullptr ? message->data.result : CURLE_RECV_ERROR;
            break;
        }
        if (curl_multi_poll(multi, nullptr, 0, kCancelCheckMs, nullptr) != CURLM_OK) {
            result = CURLE_RECV_ERROR;
            break;
        }
    }
    curl_multi_remove_handle(multi, easy);
    curl_multi_cleanup(multi);
    return result;
}

} // namespace

// One libcurl transfer with everything that must outlive its setup.
struct MyUrlConnection::Transfer {
    ~Transfer() {
        curl_slist_free_all(headers);
        curl_easy_cleanup(easy);
    }
    CURL* easy = nullptr;
    curl_slist* headers = nullptr;
    std::string received;
};

std::optional<std::string> MyUrlConnection::sendMySynchronousRequest(const UrlRequest& request,
                                                                     int transferTimeout) {
    MyUrlConnection connection(transferTimeout);
    if (!connection.sendRequest(request)) {
        return std::nullopt;
    }
    return connection.wait();
}

MyUrlConnection::MyUrlConnection(int timeout) : m_timeout(timeout < 1 ? 60 : timeout) {}

MyUrlConnection::~MyUrlConnection() {
    m_cancelTask = true;
    if (m_urlTask.joinable()) {
        m_urlTask.join();
    }
}

bool MyUrlConnection::sendRequest(const UrlRequest& request) {
    if (m_urlTask.joinable()) {
        return false; // one transfer per connection
    }
    m_timer = std::chrono::steady_clock::now() + std::chrono::seconds(m_timeout);
    m_timerValid = true;
    InitialiseCurlOnce();
    auto transfer = std::make_unique<Transfer>();
    transfer->easy = curl_easy_init();
    if (transfer->easy == nullptr) {
        return false; // the timer stays set, as it always has
    }
    CURL* easy = transfer->easy;
    for (const auto& [name, value] : request.headers) {
        transfer->headers = curl_slist_append(transfer->headers, (name + ": " + value).c_str());
    }
    transfer->headers =
        curl_slist_append(transfer->headers, "Expect:"); // no 100-continue round trip
    curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST,
                     request.method == "POST" ? nullptr : request.method.c_str());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE,
                     static_cast<curl_off_t>(request.body.size()));
    curl_easy_setopt(easy, CURLOPT_COPYPOSTFIELDS, request.body.data());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, transfer->headers);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(request.timeoutInterval * 1000));
    SetProxy(easy, request);
    SetCertificateAuthorities(easy);
    // Redirects keep the document, except where 303 asks for a GET.
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, kMaxRedirects);
    curl_easy_setopt(easy, CURLOPT_POSTREDIR, CURL_REDIR_POST_301 | CURL_REDIR_POST_302);
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, CollectBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &transfer->received);
    try {
        m_urlTask = std::thread(&MyUrlConnection::RunTransfer, this, transfer.get());
    } catch (const std::system_error&) {
        return false;
    }
    transfer.release(); // the worker owns it now
    return true;
}

void MyUrlConnection::RunTransfer(Transfer* raw) {
    const std::unique_ptr<Transfer> transfer(raw);
    const CURLcode result = DriveUntilDoneOrCancelled(transfer->easy, m_cancelTask);
    long status = 0;
    curl_easy_getinfo(transfer->easy, CURLINFO_RESPONSE_CODE, &status);

    // The completion, on this thread.
    if (result != CURLE_OK) {
        const std::string error = curl_easy_strerror(result);
        connectionDidFailWithError(nullptr, &error);
    } else if (status != 200) {
        connectionDidFailWithError(nullptr, nullptr); // every other status fails, 2xx included
    } else {
        connectionDidReceiveData(nullptr, transfer->received);
        connectionDidFinishLoading(nullptr);
    }
}

std::optional<std::string> MyUrlConnection::wait() {
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(m_lock);
            auto wake = std::chrono::steady_clock::now() + kWaitSlice;
            if (m_timerValid && m_timer < wake) {
                wake = m_timer;
            }
            m_wake.wait_until(lock, wake, [this] { return m_bDone; });
        }
        // The timeout test comes first: a tie with completion is a timeout.
        if (m_timerValid && std::chrono::steady_clock::now() >= m_timer) {
            timeIsUp();
        }
        if (m_doCancel) {
            m_cancelTask = true;
            setTransferDone(true);
            return std::nullopt;
        }
        if (isTransferDone()) {
            std::lock_guard<std::mutex> lock(m_lock);
            return m_data ? *m_data : std::string();
        }
    }
}

void MyUrlConnection::connectionDidFailWithError(const void* /*sender*/,
                                                 const std::string* /*error*/) {
    setTransferDone(true);
    InvalidateTimer();
    std::lock_guard<std::mutex> lock(m_lock);
    m_data.reset();
}

void MyUrlConnection::connectionDidReceiveData(const void* /*sender*/, const std::string& data) {
    std::lock_guard<std::mutex> lock(m_lock);
    if (!m_data) {
        m_data = data;
    } else {
        m_data->append(data);
    }
}

void MyUrlConnection::connectionDidFinishLoading(const void* /*sender*/) {
    setTransferDone(true);
    InvalidateTimer();
}

void MyUrlConnection::timeIsUp() {
    InvalidateTimer();
    m_doCancel = true;
}

void MyUrlConnection::setTransferDone(bool done) {
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_bDone = done;
    }
    m_wake.notify_all();
}

bool MyUrlConnection::isTransferDone() {
    std::lock_guard<std::mutex> lock(m_lock);
    return m_bDone;
}

void MyUrlConnection::InvalidateTimer() {
    m_timerValid = false;
}
