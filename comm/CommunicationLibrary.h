// The HTTP transport: posts an XML document to a server and hands back the
// reply, after checking that the destination is reachable and which system
// proxy applies; plus URL and form encoding.
//
// Two transfer modes, chosen by the system version (`IsCurlMode`):
// URL-loading mode runs the transfer through libcurl on a worker thread
// (`MyUrlConnection`); curl mode writes the document to a file in the
// temporary-items folder and runs /usr/bin/curl through the shell. In curl
// mode the URL reaches the shell unquoted, exactly as the command line has
// always been built: pass only URLs you trust.
//
// Every step is written to the diagnostic log while it is switched on. No
// operation throws; results are told by `PostResult` codes and booleans.
#pragma once

#include <string>

#include "utils/Export.h"
#include "utils/LockableImpl.h"
#include "utils/WideString.h"

// The transport's interface.
class QUORVEL_EXPORT ICommunicationLibrary {
public:
    // Destroyed through the interface.
    virtual ~ICommunicationLibrary() = default;

    // True when the product's server is reachable without first setting up a
    // connection.
    virtual bool IsConnectionUp() = 0;
};

// The transport: reachability, proxies, transfers in either mode, encoding.
class QUORVEL_EXPORT CommunicationLibrary : public ICommunicationLibrary {
public:
    // Declared for callers; the curl reply is read in 2048-byte chunks.
    static constexpr int PACKET_SIZE = 4096;
    // Connection timeout in seconds, in both modes.
    static constexpr int DEFAULT_TIMEOUT = 60;
    // URLs of fewer characters are refused.
    static constexpr int MIN_URL_LENGTH = 10;
    // Declared for callers; no operation here consults it.
    static constexpr int MIN_FILENAME_LENGTH = 2;
    // The limit on a whole transfer in seconds, in both modes.
    static constexpr int TRANSFER_TIMEOUT = 70;

    // Results of `PostDocument` and `CurlExternSecureDownload`.
    enum PostResult : int {
        PostOk = 0,
        PostUrlTooShort = 1,
        PostNoConnection = 2,
        PostSecureConnectionFailed = 3,
        PostTransferFailed = 4,
    };

    // A transport; it keeps no state beyond its lock.
    CommunicationLibrary() = default;
    ~CommunicationLibrary() override = default;

    // --- Reachability and proxies ---------------------------------------------

    // `IsOSXConnectionUp` of the product's server (a build-time setting).
    bool IsConnectionUp() override;

    // True when the URL's host resolves and a route to it exists (nothing is
    // sent). A URL without a host is not reachable.
    bool IsOSXConnectionUp(const fn::fn_wstring& url);

    // True when the system proxy for the URL's scheme ("http" or "https",
    // exactly in that case) is on and no entry of the exceptions list matches
    // the URL's host. Any other scheme logs a line and needs no proxy. An
    // exceptions list that cannot be used, or a host that cannot be looked
    // up, also means no proxy.
    bool IsProxyRequiredFor(const char* url);

    // The HTTPS proxy's host (ASCII, into `host` of `size` bytes) and port when
    // it is on and fully set; otherwise false with `host` empty and `*port` 0.
    bool GetHTTPSProxySetting(char* host, unsigned long size, unsigned short* port);

    // As `GetHTTPSProxySetting`, for the HTTP proxy.
    bool GetHTTPProxySetting(char* host, unsigned long size, unsigned short* port);

    // --- Transfers ---------------------------------------------------------------

    // True when this system uses curl mode (packed version below 0x100302).
    bool IsCurlMode();

    // Posts `document` (as UTF-8, content type text/xml) to `url`. On PostOk
    // `reply` holds the reply (up to its first zero byte in URL-loading
    // mode); on any other result it is left as it was. Both modes take the
    // route of `RouteFor`. URL-loading mode follows redirects (at most 10,
    // http and https only): 301, 302, 307 and 308 post the document again
    // to the new place, 303 fetches it with GET. Curl mode follows none,
    // and it leaves the process's working directory in the temporary-items
    // folder (its folder check moves there, as it always has).
    int PostDocument(const fn::fn_wstring& url, const fn::fn_wstring& document, std::string& reply);

    // How a document travels: as the system version decides, or forced.
    enum class TransferMode { Automatic, UrlLoading, Curl };

    // As above, in `mode` (diagnostics tools compare the two modes).
    int PostDocument(const fn::fn_wstring& url, const fn::fn_wstring& document, std::string& reply,
                     TransferMode mode);

    // The proxy option curl mode adds for `url` (" -x host:port", the HTTPS
    // setting first), or "" when the URL needs no proxy or none is set.
    // Logs that a proxy is required when it is.
    std::string CurlProxyOption(const std::string& url);

    // The route both modes take to a URL: through `proxy` ("host:port", as
    // in curl's -x option), or directly when it is empty. The credentials
    // serve URL-loading mode only; curl mode's command line has none.
    struct ProxyRoute {
        // "host:port", or empty for a direct connection.
        std::string proxy;
        // The proxy's user name, when `hasCredentials`.
        std::string user;
        // The proxy's password, when `hasCredentials`; never logged.
        std::string password;
        // Whether the proxy takes credentials.
        bool hasCredentials = false;
    };

    // The route to `url`: the proxy of `CurlProxyOption` with its
    // credentials, without logging.
    ProxyRoute RouteFor(const std::string& url);

    // Runs /usr/bin/curl to post the file at `requestPath` to `url`, the reply
    // going to `responsePath`, and reads the reply back. PostOk (with an
    // empty reply when the response file is missing), PostSecureConnectionFailed
    // for curl's TLS failures, else PostTransferFailed with `reply` untouched.
    int CurlExternSecureDownload(std::string url, std::string requestPath, std::string responsePath,
                                 std::string& reply);

    // --- Encoding -----------------------------------------------------------------

    // Percent-encodes every byte outside the digits, ASCII letters and
    // ! & ' ( ) * + , - . / : ; = ? @ _ with upper-case hexadecimal digits.
    std::string EncodeUrl(const std::string& text);

    // As `EncodeUrl`, but a blank becomes "+" and a line feed "%0D%0A". A "+"
    // stays "+".
    std::string EncodeFormValue(const std::string& text);

private:
    // The configured proxy as "host:port", the HTTPS setting first; into
    // `route`, when given, also its credentials. "" when neither is set.
    std::string ConfiguredProxy(ProxyRoute* route);
    // The setting under the three keys, with the contract of GetHTTPProxySetting.
    bool GetProxySetting(const char* enableKey, const char* hostKey, const char* portKey,
                         char* host, unsigned long size, unsigned short* port);
    int PostWithUrlLoading(const std::string& url, const std::string& document, std::string& reply);
    int PostWithCurl(const std::string& url, const std::string& document, std::string& reply);

    LockableImpl m_lock; // held for callers; no operation here takes it
};
