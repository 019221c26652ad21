// Curl mode: the document goes through a file and the /usr/bin/curl tool.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "comm/CommunicationLibrary.h"
#include "utils/Conversions.h"
#include "utils/DiagnosticLog.h"
#include "utils/FileHelpers.h"
#include "utils/SafeFile.h"

namespace {

constexpr std::size_t kReplyChunk = 2048;

// Process-wide, never reset: it enters every seed, so two transfers in the
// same second still draw different file numbers.
std::atomic<int> gRequestCounter{1};

// curl's exit codes for TLS failures.
bool IsSecureConnectionFailure(int exitCode) {
    switch (exitCode) {
    case 35:
    case 51:
    case 53:
    case 54:
    case 58:
    case 59:
    case 60:
    case 66:
        return true;
    default:
        return false;
    }
}

// The reply, read 2048 bytes at a time; each chunk counts only up to its
// first zero byte, as the reply has always been read.
std::string ReadReply(std::FILE* file) {
    std::string reply;
    char buffer[kReplyChunk + 1];
    for (;;) {
        const std::size_t got = std::fread(buffer, 1, kReplyChunk, file);
        buffer[got] = '\0';
        reply += buffer;
        if (got < kReplyChunk) {
            return reply;
        }
    }
}

} // namespace

int CommunicationLibrary::PostWithCurl(const std::string& url, const std::string& document,
                                       std::string& reply) {
    const std::string temporary = Utils::GetTempDirName();
    const std::string folder = temporary + "/";
    if (!Utils::DirExists(folder)) {
        Utils::CreateDirPath(folder, false);
    }
    // Without the temporary folder the files would land in "/", which only
    // root could write: fail as the file open always failed for users.
    if (temporary.empty()) {
        Utils::LogMessage(fn::fn_wstring(L"curlexec err,file = nil"));
        return PostTransferFailed;
    }
    const int counter = ++gRequestCounter;
    std::srand(static_cast<unsigned>(counter + std::time(nullptr)));
    const std::string number = Utils::int2string(std::rand());
    const std::string responsePath = folder + "response-" + number + ".xml";
    const std::string requestPath = folder + "request-" + number + ".xml";

    std::FILE* request = Utils::OpenForWritingNoFollow(requestPath, false);
    if (request == nullptr) {
        Utils::LogMessage(fn::fn_wstring(L"curlexec err,file = nil"));
        return PostTransferFailed;
    }
    std::fwrite(document.data(), 1, document.size(), request);
    std::fclose(request);
    // Both files stay behind after the transfer, deliberately.
    return CurlExternSecureDownload(url, requestPath, responsePath, reply);
}

std::string CommunicationLibrary::CurlProxyOption(const std::string& url) {
    if (!IsProxyRequiredFor(url.c_str())) {
        return "";
    }
    Utils::LogMessage(fn::fn_wstring(L"CommLib,proxy required for destination URL"));
    char host[150];
    unsigned short port = 0;
    // The HTTPS proxy is preferred whatever the URL's scheme, deliberately.
    if (GetHTTPSProxySetting(host, sizeof host, &port) ||
        GetHTTPProxySetting(host, sizeof host, &port)) {
        return " -x " + std::string(host) + ":" + Utils::int2string(port);
    }
    return ""; // tried directly
}

int CommunicationLibrary::CurlExternSecureDownload(std::string url, std::string requestPath,
                                                   std::string responsePath, std::string& reply) {
    // Built exactly as it always was: the doubled blanks are deliberate, and
    // the URL and proxy are unquoted, so callers must pass trusted URLs.
    const std::string commandLine =
        "/usr/bin/curl  --url " + url + " --connect-timeout " + Utils::int2string(DEFAULT_TIMEOUT) +
        " -m " + Utils::int2string(TRANSFER_TIMEOUT) + " -f  -s --data-binary @\"" + requestPath +
        "\" -o \"" + responsePath + "\" -H \"Content-Type: text/xml\"" +
        " -H \"User-Agent: Quorvel\"" + CurlProxyOption(url);
    Utils::LogMessage("curl command line: \n" + commandLine);
    const int status = std::system(commandLine.c_str());
    if (status != 0) {
        Utils::LogMessage(fn::fn_wstring(L"curlerrcode original:"), status);
        const int exitCode = status >> 8;
        Utils::LogMessage(fn::fn_wstring(L"curlerrcode:"), exitCode);
        return IsSecureConnectionFailure(exitCode) ? PostSecureConnectionFailed
                                                   : PostTransferFailed;
    }
    std::FILE* response = std::fopen(responsePath.c_str(), "rb");
    std::string received;
    if (response != nullptr) {
        received = ReadReply(response);
        std::fclose(response);
    } else {
        Utils::LogMessage(fn::fn_wstring(L"curlexec err,file = nil"));
    }
    reply = received; // a missing response file gives an empty reply and PostOk, deliberately
    return PostOk;
}
