// Posting a document: the checks, the mode choice and the URL-loading mode.
#include "comm/CommunicationLibrary.h"

#include "comm/MyUrlConnection.h"
#include "utils/Conversions.h"
#include "utils/DiagnosticLog.h"
#include "utils/SystemInfo.h"

namespace {

// Systems up to 10.3.1 (packed 0x100301) post through the curl tool.
constexpr unsigned long kLastCurlModeVersion = 1049345;

} // namespace

bool CommunicationLibrary::IsCurlMode() {
    return Utils::getOsBuildNumber() <= kLastCurlModeVersion;
}

int CommunicationLibrary::PostDocument(const fn::fn_wstring& url, const fn::fn_wstring& document,
                                       std::string& reply) {
    return PostDocument(url, document, reply, TransferMode::Automatic);
}

int CommunicationLibrary::PostDocument(const fn::fn_wstring& url, const fn::fn_wstring& document,
                                       std::string& reply, TransferMode mode) {
    if (url.size() < static_cast<std::size_t>(MIN_URL_LENGTH)) {
        return PostUrlTooShort;
    }
    if (!IsOSXConnectionUp(url)) {
        return PostNoConnection;
    }
    const std::string utf8Url = Utils::wstring2utf8(url);
    const std::string utf8Document = Utils::wstring2utf8(document);
    const bool curl =
        mode == TransferMode::Curl || (mode == TransferMode::Automatic && IsCurlMode());
    const int result = curl ? PostWithCurl(utf8Url, utf8Document, reply)
                            : PostWithUrlLoading(utf8Url, utf8Document, reply);
    if (result == PostOk) {
        // No separator, deliberately: support staff's log searches rely on
        // the line as it has always read.
        Utils::LogMessage("Server response" + reply);
    }
    return result;
}

int CommunicationLibrary::PostWithUrlLoading(const std::string& url, const std::string& document,
                                             std::string& reply) {
    UrlRequest request;
    request.url = url;
    request.timeoutInterval = DEFAULT_TIMEOUT;
    request.headers = {{"Content-type", "text/xml"}, {"User-Agent", "Quorvel"}};
    request.body = document;
    // The same route as curl mode; the credentials only travel here.
    const ProxyRoute route = RouteFor(url);
    request.proxy = route.proxy;
    request.proxyCredentials = route.hasCredentials;
    request.proxyUser = route.user;
    request.proxyPassword = route.password;
    const std::optional<std::string> data =
        MyUrlConnection::sendMySynchronousRequest(request, TRANSFER_TIMEOUT);
    if (!data || data->empty()) {
        return PostTransferFailed; // reply left as it was
    }
    reply = data->c_str(); // up to the first zero byte
    return PostOk;
}
