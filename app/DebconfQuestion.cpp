#include "app/DebconfQuestion.h"

#include <cctype>
#include <cstdlib>

#include "app/SystemLog.h"
#include "app/TextWrap.h"
#include "app/platform/AppPlatform.h"

namespace {

// Reply codes of the protocol.
constexpr int kSuccess = 0;
constexpr int kEscapedData = 1; // success too, with escaped text (after CAPB escape)
constexpr int kQuestionSkipped = 30;

// The message is broken into lines this wide: GNOME's frontend shows a
// text question's line as it is, unwrapped.
constexpr std::size_t kMessageColumns = 72;

// The child's exit statuses, one per answer, deliberately neither 0 nor 1:
// the frontend reports a child killed by a signal as 0, and
// AskUnderOwnFrontend relies on telling an answer from a crash.
constexpr int kChildStatusBase = 40;

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

bool DebconfQuestion::Connect(int timeoutMs) {
    const std::optional<Reply> version = Command("VERSION 2.0", timeoutMs);
    if (!version || version->code != kSuccess) {
        return false;
    }
    const std::optional<Reply> capabilities = Command("CAPB escape");
    if (!capabilities || capabilities->code != kSuccess) {
        return false;
    }
    escape_ = (" " + capabilities->text + " ").find(" escape ") != std::string::npos;
    return true;
}

DebconfQuestion::Answer DebconfQuestion::Ask(const Texts& texts, bool scriptSession) {
    const Answer answer = AskQuestion(texts);
    if (scriptSession && escape_) {
        Command("CAPB"); // the script gets its replies unescaped again
    }
    return answer;
}

DebconfQuestion::Answer DebconfQuestion::AskQuestion(const Texts& texts) {
    const std::string& question = texts.question;
    const std::string message = question + kMessageSuffix;
    if (!texts.templateFile.empty() &&
        !Succeeds("X_LOADTEMPLATEFILE " + Argument(texts.templateFile) + " " +
                  question.substr(0, question.find('/')))) {
        return Answer::kFailed;
    }
    if (!Succeeds("SUBST " + question + " title " + Argument(texts.title))) {
        return Answer::kFailed;
    }
    // Optional: a product that declared only the boolean still asks.
    const std::optional<Reply> substituted =
        Command("SUBST " + message + " message " +
                Argument(TextWrap::Wrap(texts.message, kMessageColumns)));
    const bool showMessage = substituted && substituted->code == kSuccess;
    const std::optional<Reply> seen = Command("FGET " + question + " seen");
    // Under dpkg-reconfigure a seen question is asked again, message and all.
    const bool seenBefore = seen && (seen->code == kSuccess || seen->code == kEscapedData) &&
                            seen->text == "true" && !AppPlatform::DebconfReshowsQuestions();
    if (!seenBefore && showMessage) {
        Command("FSET " + message + " seen false"); // shown with the question, every time
        Command("INPUT high " + message);
    }
    // High priority, so the default threshold shows it; skipped when seen.
    const std::optional<Reply> input = Command("INPUT high " + question);
    if (!input || (input->code != kSuccess && input->code != kQuestionSkipped) || !Succeeds("GO")) {
        return Answer::kFailed;
    }
    const std::optional<Reply> value = Command("GET " + question);
    if (!value || (value->code != kSuccess && value->code != kEscapedData)) {
        return Answer::kFailed;
    }
    if (value->text == "true") {
        return Answer::kConsented;
    }
    // Back to its default and not seen, so the next install asks again
    // rather than taking the no. (RESET alone would be marked seen again
    // when the session ends.)
    Succeeds("RESET " + question);
    Succeeds("FSET " + question + " seen false");
    if (seenBefore) {
        return Answer::kDeclinedAhead;
    }
    return input->code == kQuestionSkipped ? Answer::kNobodyAsked : Answer::kDeclined;
}

DebconfQuestion::Answer DebconfQuestion::AskUnderOwnFrontend(const Texts& texts) {
    const int status = AppPlatform::RunUnderDebconfFrontend(
        {AppPlatform::ExecutablePath(), kChildArgument, texts.templateFile, texts.question,
         texts.title, texts.message});
    const int answer = status - kChildStatusBase;
    if (answer < 0 || answer > static_cast<int>(Answer::kFailed)) {
        return Answer::kFailed;
    }
    return static_cast<Answer>(answer);
}

int DebconfQuestion::RunAsFrontendChild(const char* const arguments[kChildArgumentCount]) {
    const std::optional<AppPlatform::DebconfPipes> pipes = AppPlatform::DebconfChannel();
    if (!pipes) {
        return EXIT_FAILURE;
    }
    DebconfQuestion question(pipes->commands, pipes->replies);
    if (!question.Connect(-1)) {
        return EXIT_FAILURE;
    }
    const Answer answer =
        question.Ask({arguments[0], arguments[1], arguments[2], arguments[3]}, false);
    return kChildStatusBase + static_cast<int>(answer);
}

std::string DebconfQuestion::PreseedLine(const std::string& question) {
    // debconf's convention: a question is named after the package that owns it.
    return question.substr(0, question.find('/')) + " " + question + " boolean true";
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
