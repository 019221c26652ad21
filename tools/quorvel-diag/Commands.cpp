#include "Commands.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "comm/CommunicationLibrary.h"
#include "comm/ProxySetting.h"
#include "comm/UrlParts.h"
#include "comm/platform/Network.h"
#include "utils/KernelChoice.h"
#include "utils/Utils.h"
#include "utils/platform/Platform.h"
#include "xml/XMLUtility.h"

namespace {

namespace fs = std::filesystem;

void ExpectArguments(const std::vector<std::string>& args, std::size_t count, const char* what) {
    if (args.size() != count) {
        throw UsageError(args.size() < count ? std::string("missing ") + what
                                             : "unexpected argument '" + args.back() + "'");
    }
}

std::string Narrow(const fn::fn_wstring& text) {
    return Utils::wstring2utf8(text);
}

bool RemoveFolder(const std::string& folder) {
    std::error_code error;
    fs::remove_all(folder, error);
    return !error;
}

std::string StandardInput() {
    return std::string(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
}

int SysInfo(const std::vector<std::string>& args, Report& report) {
    ExpectArguments(args, 0, "");
    report.Add("country", Narrow(Utils::getCountry()));
    report.Add("language", Narrow(Utils::getLanguage()));
    report.Add("processor", Narrow(Utils::getProcessorType()));
    report.Add("os_name", Narrow(Utils::getOsName()));
    report.Add("os_version", Narrow(Utils::getOsVersion()));
    report.Add("os_build_number", static_cast<long long>(Utils::getOsBuildNumber()));
    report.Add("curl_mode", CommunicationLibrary().IsCurlMode());
    report.Add("temporary_folder", Utils::GetTempDirName());
    report.Add("log_file", Utils::GetLogFilename());
    report.Add("logging", Utils::IsLoggingOn());
    // The vector kernels of the text conversions and XML scans; QUORVEL_KERNEL
    // forces another when a user's results are in doubt.
    report.Add("kernels", kernelchoice::Describe());
    std::string available;
    for (const kernelchoice::Isa isa : kernelchoice::SupportedIsas()) {
        available += (available.empty() ? "" : " ") + std::string(kernelchoice::Name(isa));
    }
    report.Add("kernels_available", available);
    return 0;
}

int Proxy(const std::vector<std::string>& args, Report& report) {
    ExpectArguments(args, 1, "URL");
    Network::ProxySource source;
    const Network::ProxySettings settings = Network::CopyProxies(&source);
    CommunicationLibrary comm;
    report.Add("source", std::string(source == Network::ProxySource::Desktop ? "desktop settings"
                                                                             : "environment"));
    report.Add("http_proxy", ProxySetting::HostAndPort(comm, ProxySetting::Scheme::Http));
    report.Add("https_proxy", ProxySetting::HostAndPort(comm, ProxySetting::Scheme::Https));
    const auto exceptions = settings.find("ExceptionsList");
    const auto* list = exceptions == settings.end()
                           ? nullptr
                           : std::get_if<std::vector<std::string>>(&exceptions->second);
    report.Add("exceptions", list ? *list : std::vector<std::string>{});
    report.Add("proxy_required", comm.IsProxyRequiredFor(args[0].c_str()));
    // Both modes take this route; credentials are named, never shown.
    const CommunicationLibrary::ProxyRoute route = comm.RouteFor(args[0]);
    report.Add("route", route.proxy.empty() ? std::string("direct") : "proxy " + route.proxy);
    report.Add("proxy_credentials",
               std::string(route.hasCredentials ? "sent in url-loading mode only" : "none"));
    const std::string option = comm.CurlProxyOption(args[0]);
    report.Add("curl_option", option.empty() ? option : option.substr(1));
    return 0;
}

int Reach(const std::vector<std::string>& args, Report& report) {
    ExpectArguments(args, 1, "URL");
    const bool reachable = CommunicationLibrary().IsOSXConnectionUp(Utils::utf8towstring(args[0]));
    report.Add("host", Url::Split(args[0]).host);
    report.Add("reachable", reachable);
    return reachable ? 0 : 1;
}

const char* ResultName(int result) {
    static const char* const kNames[] = {"PostOk", "PostUrlTooShort", "PostNoConnection",
                                         "PostSecureConnectionFailed", "PostTransferFailed"};
    return result >= 0 && result <= 4 ? kNames[result] : "unknown";
}

int Post(const std::vector<std::string>& given, Report& report) {
    std::vector<std::string> args;
    bool curl = false;
    for (const std::string& arg : given) {
        if (arg == "--curl") {
            curl = true;
        } else {
            args.push_back(arg);
        }
    }
    ExpectArguments(args, 2, "URL and FILE");
    std::ifstream file(args[1], std::ios::binary);
    if (!file) {
        throw UsageError("cannot read '" + args[1] + "'");
    }
    const std::string document((std::istreambuf_iterator<char>(file)),
                               std::istreambuf_iterator<char>());
    std::string reply;
    const auto mode = curl ? CommunicationLibrary::TransferMode::Curl
                           : CommunicationLibrary::TransferMode::UrlLoading;
    const int result = CommunicationLibrary().PostDocument(
        Utils::utf8towstring(args[0]), Utils::utf8towstring(document), reply, mode);
    report.Add("mode", std::string(curl ? "curl" : "url-loading"));
    report.Add("result", static_cast<long long>(result));
    report.Add("result_name", std::string(ResultName(result)));
    report.Add("reply", reply);
    return result == CommunicationLibrary::PostOk ? 0 : 1;
}

int Log(const std::vector<std::string>& args, Report& report) {
    if (args.empty()) {
        throw UsageError("missing on, off, path or tail");
    }
    const std::string folder = Utils::GetDirFromPath(Utils::GetLogFilename());
    const std::string& action = args[0];
    if (action == "path") {
        ExpectArguments(args, 1, "");
        report.Add("log_file", Utils::GetLogFilename());
        return 0;
    }
    if (action == "on" || action == "off") {
        ExpectArguments(args, 1, "");
        const bool done =
            action == "on" ? Platform::MakeDirectoryWithParents(folder) : RemoveFolder(folder);
        report.Add("logging", fs::is_directory(folder));
        return done ? 0 : 1;
    }
    if (action != "tail") {
        throw UsageError("unknown log action '" + action + "'");
    }
    if (args.size() > 2) {
        throw UsageError("unexpected argument '" + args[2] + "'");
    }
    const int count = args.size() == 2 ? Utils::string2int(args[1]) : 20;
    if (count <= 0) {
        throw UsageError("tail takes a positive number of lines");
    }
    std::ifstream file(Utils::GetLogFilename());
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    const std::size_t first =
        lines.size() > static_cast<std::size_t>(count) ? lines.size() - count : 0;
    report.Add("lines", std::vector<std::string>(lines.begin() + first, lines.end()));
    return file.is_open() || !lines.empty() ? 0 : 1;
}

int Xml(const std::vector<std::string>& args, Report& report) {
    if (args.empty()) {
        throw UsageError("missing tag, attr, cdata, decode or encode");
    }
    const std::string& action = args[0];
    const bool named = action == "tag" || action == "attr";
    if (!named && action != "cdata" && action != "decode" && action != "encode") {
        throw UsageError("unknown xml action '" + action + "'");
    }
    ExpectArguments(args, named ? 2 : 1, "NAME");
    const std::string text = StandardInput();
    XMLUtility xml;
    std::vector<std::string> values;
    std::string value;
    bool ok = true;
    if (action == "tag") {
        xml.GetValuesForTag(text, args[1], values);
    } else if (action == "attr") {
        xml.GetAttributes(text, args[1], values);
    } else if (action == "cdata") {
        xml.GetValueInsideCDATA(text, value);
        values.push_back(value);
    } else {
        ok = action == "decode" ? xml.ConvertStringReferenceToUTF8(text, value)
                                : xml.ConvertStringUTF8ToEntityReference(text, value);
        values.push_back(value);
    }
    report.Add("values", values);
    return ok ? 0 : 1;
}

int Encode(const std::vector<std::string>& args, Report& report) {
    ExpectArguments(args, 1, "url or form");
    if (args[0] != "url" && args[0] != "form") {
        throw UsageError("unknown encoding '" + args[0] + "'");
    }
    std::string text = StandardInput();
    if (!text.empty() && text.back() == '\n') {
        text.pop_back(); // the line end the shell adds
    }
    CommunicationLibrary comm;
    report.Add("encoded", args[0] == "url" ? comm.EncodeUrl(text) : comm.EncodeFormValue(text));
    return 0;
}

} // namespace

const std::vector<Command>& Commands() {
    static const std::vector<Command> commands = {
        {"sysinfo", "", "every system information query with its value", SysInfo},
        {"proxy", "URL",
         "the proxy settings in use, whether URL needs one, the route both modes take", Proxy},
        {"reach", "URL", "whether the URL's host is reachable (exit 1 when not)", Reach},
        {"post", "URL FILE [--curl]", "post the XML file as the library does (--curl: curl mode)",
         Post},
        {"log", "on|off|path|tail [N]",
         "switch the diagnostic log on or off, show its path or last N lines", Log},
        {"xml", "tag NAME|attr NAME|cdata|decode|encode",
         "read XML text from standard input and extract or convert", Xml},
        {"encode", "url|form", "percent-encode standard input for a URL or a form value", Encode},
    };
    return commands;
}
