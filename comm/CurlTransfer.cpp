// Curl mode: the document goes through a file and the /usr/bin/curl tool.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "comm/CommunicationLibrary.h"
#include "comm/platform/Process.h"
#include "utils/Conversions.h"
#include "utils/DiagnosticLog.h"
#include "utils/FileHelpers.h"

namespace {

constexpr std::size_t kReplyChunk = 2048;

// Process-wide, never reset: it enters every seed, so two transfers in the
// same second still draw different file numbers.
std::atomic<int> gRequestCounter{1};

// How many numbers a transfer draws before it gives up finding free names.
constexpr int kNameAttempts = 100;

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

// The request file (holding `document`) and the empty response file of one
// transfer, both created new and private; the response file is made here so
// that curl writes into our private file. A number whose names are taken
// (another process drew it in the same second) gives way to the next one the
// generator draws.
bool CreateTransferFiles(const std::string& folder, const std::string& document,
                         std::string& requestPath, std::string& responsePath) {
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        const std::string number = Utils::int2string(std::rand());
        responsePath = folder + "response-" + number + ".xml";
        requestPath = folder + "request-" + number + ".xml";
        const Process::NewFile request = Process::CreatePrivateFileWith(requestPath, document);
        if (request == Process::NewFile::NameTaken) {
            continue;
        }
        if (request == Process::NewFile::Failed) {
            return false; // half a document is never sent
        }
        const Process::NewFile response = Process::CreatePrivateFileWith(responsePath, "");
        if (response == Process::NewFile::Created) {
            return true;
        }
        std::remove(requestPath.c_str());
        if (response == Process::NewFile::Failed) {
            return false;
        }
    }
    return false;
}

} // namespace

int CommunicationLibrary::PostWithCurl(const std::string& url, const std::string& document,
                                       std::string& reply) {
    const std::string temporary = Utils::GetTempDirName();
    const std::string folder = temporary + "/";
    if (!Utils::DirExists(folder)) {
        Utils::CreateDirPath(folder, false);
    }
    const int counter = ++gRequestCounter;
    std::srand(static_cast<unsigned>(counter + std::time(nullptr)));
    std::string requestPath, responsePath;
    // Without the temporary folder the files would land in "/", which only
    // root could write: fail as the file open always failed for users.
    if (temporary.empty() || !CreateTransferFiles(folder, document, requestPath, responsePath)) {
        Utils::LogMessage(fn::fn_wstring(L"curlexec err,file = nil"));
        return PostTransferFailed;
    }
    // Both files stay behind after the transfer, deliberately: support staff
    // read them to see what was sent and what came back.
    return CurlExternSecureDownload(url, requestPath, responsePath, reply);
}

std::string CommunicationLibrary::CurlProxyOption(const std::string& url) {
    if (!IsProxyRequiredFor(url.c_str())) {
        return "";
    }
    Utils::LogMessage(fn::fn_wstring(L"CommLib,proxy required for destination URL"));
    const std::string proxy = ConfiguredProxy(nullptr);
    return proxy.empty() ? "" : " -x " + proxy; // none set: tried directly
}

int CommunicationLibrary::CurlExternSecureDownload(std::string url, std::string requestPath,
                                                   std::string responsePath, std::string& reply) {
    // Built exactly as it always was, doubled blanks included, deliberately:
    // support staff compare the logged line with what older releases logged.
    // The URL and proxy are unquoted, so callers must pass trusted URLs.
    const std::string commandLine =
        "/usr/bin/curl  --url " + url + " --connect-timeout " + Utils::int2string(DEFAULT_TIMEOUT) +
        " -m " + Utils::int2string(TRANSFER_TIMEOUT) + " -f  -s --data-binary @\"" + requestPath +
        "\" -o \"" + responsePath + "\" -H \"Content-Type: text/xml\"" +
        " -H \"User-Agent: Quorvel\"" + CurlProxyOption(url);
    Utils::LogMessage("curl command line: \n" + commandLine);
    const Process::ShellStatus status = Process::RunShellCommand(commandLine);
    if (status.waitStatus != 0) {
        // A curl ended by a signal has exit code 0 here and fails the transfer.
        Utils::LogMessage(fn::fn_wstring(L"curlerrcode original:"), status.waitStatus);
        Utils::LogMessage(fn::fn_wstring(L"curlerrcode:"), status.exitCode);
        return IsSecureConnectionFailure(status.exitCode) ? PostSecureConnectionFailed
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
    // A missing response file gives an empty reply and PostOk, deliberately:
    // curl delivered the document, and callers that only post (an empty
    // reply is normal for them) count that as done.
    reply = received;
    return PostOk;
}
