#include "app/DebconfQuestion.h"

#include <cctype>
#include <cstdlib>

#include "app/SystemLog.h"
#include "app/platform/AppPlatform.h"

namespace {

// Reply codes of the protocol.
constexpr int kSuccess = 0;
constexpr int kEscapedData = 1; // success too, with escaped text (after CAPB escape)
constexpr int kQuestionSkipped = 30;

// The child's exit statuses, deliberately neither 0 nor 1: the frontend
// reports a child killed by a signal as 0, and AskUnderOwnFrontend relies on
// telling an answer from a crash.
constexpr int kChildConsented = 40;
constexpr int kChildDeclined = 41;

std::string Unescaped(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            out += text[++i] == 'n' ? '\n' : text[i];
        } else {
            out += text[i];
        }
    }
    return out;
}

} // namespace

bool DebconfQuestion::Connect(int timeoutMs, bool ownSession) {
    const std::optional<Reply> version = Command("VERSION 2.0", timeoutMs);
    if (!version || version->code != kSuccess) {
        return false;
    }
    if (!ownSession) {
        return true;
    }
    const std::optional<Reply> capabilities = Command("CAPB escape");
    if (!capabilities || capabilities->code != kSuccess) {
        return false;
    }
    escape_ = (" " + capabilities->text + " ").find(" escape ") != std::string::npos;
    return true;
}

std::optional<bool> DebconfQuestion::Ask(const Texts& texts) {
    const std::string question = kQuestion;
    if (!Succeeds("X_LOADTEMPLATEFILE " + Argument(texts.templateFile) + " " + kOwner) ||
        !Succeeds("SUBST " + question + " title " + Argument(texts.title)) ||
        !Succeeds("SUBST " + question + " message " + Argument(texts.message))) {
        return std::nullopt;
    }
    // High priority, so the default threshold shows it; skipped when seen.
    const std::optional<Reply> input = Command("INPUT high " + question);
    if (!input || (input->code != kSuccess && input->code != kQuestionSkipped) || !Succeeds("GO")) {
        return std::nullopt;
    }
    const std::optional<Reply> value = Command("GET " + question);
    if (!value || (value->code != kSuccess && value->code != kEscapedData)) {
        return std::nullopt;
    }
    if (value->text == "true") {
        return true;
    }
    // Back to its default and not seen, so the next install asks again
    // rather than taking the no. (RESET alone would be marked seen again
    // when the session ends.)
    Succeeds("RESET " + question);
    Succeeds("FSET " + question + " seen false");
    return false;
}

std::optional<bool> DebconfQuestion::AskUnderOwnFrontend(const Texts& texts) {
    const int status =
        AppPlatform::RunUnderDebconfFrontend({AppPlatform::ExecutablePath(), kChildArgument,
                                              texts.templateFile, texts.title, texts.message});
    if (status == kChildConsented || status == kChildDeclined) {
        return status == kChildConsented;
    }
    return std::nullopt;
}

int DebconfQuestion::RunAsFrontendChild(const char* const arguments[3]) {
    const std::optional<AppPlatform::DebconfPipes> pipes = AppPlatform::DebconfChannel();
    if (!pipes) {
        return EXIT_FAILURE;
    }
    DebconfQuestion question(pipes->commands, pipes->replies);
    if (!question.Connect(-1, true)) {
        return EXIT_FAILURE;
    }
    const std::optional<bool> answer = question.Ask({arguments[0], arguments[1], arguments[2]});
    if (!answer) {
        return EXIT_FAILURE;
    }
    return *answer ? kChildConsented : kChildDeclined;
}

std::optional<DebconfQuestion::Reply> DebconfQuestion::Command(const std::string& command,
                                                               int timeoutMs) {
    if (!AppPlatform::WriteAll(commands_, command + "\n")) {
        return std::nullopt;
    }
    const std::optional<std::string> line = AppPlatform::ReadLine(replies_, timeoutMs);
    if (!line || line->empty() || !std::isdigit(static_cast<unsigned char>((*line)[0]))) {
        return std::nullopt;
    }
    Reply reply;
    const std::size_t blank = line->find(' ');
    reply.code = std::atoi(line->c_str());
    reply.text = blank == std::string::npos ? "" : line->substr(blank + 1);
    if (reply.code == kEscapedData) {
        reply.text = Unescaped(reply.text);
    }
    return reply;
}

bool DebconfQuestion::Succeeds(const std::string& command) {
    const std::optional<Reply> reply = Command(command);
    if (!reply || (reply->code != kSuccess && reply->code != kEscapedData)) {
        NSLog("<!> debconf refused \"%s\".", command.substr(0, command.find(' ')).c_str());
        return false;
    }
    return true;
}

std::string DebconfQuestion::Argument(const std::string& text) const {
    std::string out;
    for (const char c : text) {
        if (!escape_) {
            out += c == '\n' ? ' ' : c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\\' || c == ' ' || c == '\t') {
            out += '\\';
            out += c;
        } else {
            out += c;
        }
    }
    return out;
}
