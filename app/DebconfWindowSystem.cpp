// The question through debconf: the "window system" of a Debian package
// manager, whose frontend shows the question the way the administrator chose.
#include "app/AUApplication.h"
#include "app/Bundle.h"
#include "app/DebconfQuestion.h"
#include "app/SystemLog.h"
#include "app/WindowSystem.h"
#include "app/platform/AppPlatform.h"

namespace {

// How long a debconf that is there takes at most to answer its greeting.
constexpr int kGreetingTimeoutMs = 10000;

// The Preferences key naming a product's own debconf question.
constexpr const char* kQuestionKey = "DebconfQuestion";

// Says, on the screen and in the log, why the question is declined and how
// an administrator consents ahead of time.
void LogDecline(DebconfQuestion::Answer answer, const std::string& question) {
    const std::string consent = " To consent ahead of time: echo \"" +
                                DebconfQuestion::PreseedLine(question) +
                                "\" | debconf-set-selections";
    switch (answer) {
    case DebconfQuestion::Answer::kConsented:
        return;
    case DebconfQuestion::Answer::kDeclined:
        NSLog("<!> the consent question %s was declined.%s", question.c_str(), consent.c_str());
        return;
    case DebconfQuestion::Answer::kDeclinedAhead:
        NSLog("<!> the consent question %s was answered no ahead of time.%s", question.c_str(),
              consent.c_str());
        return;
    case DebconfQuestion::Answer::kNobodyAsked:
        NSLog("<!> nobody could be asked the consent question %s (noninteractive, nothing "
              "preseeded); it is declined.%s",
              question.c_str(), consent.c_str());
        return;
    case DebconfQuestion::Answer::kFailed:
        NSLog("<!> debconf could not ask the consent question %s; it is declined.%s",
              question.c_str(), consent.c_str());
        return;
    }
}

class DebconfAlert : public AlertPanel, public WindowSystem {
public:
    // With `running`, the debconf of the maintainer script; without, a
    // frontend started for the question.
    DebconfAlert(AlertActions* actions, DebconfQuestion::Texts texts,
                 std::optional<DebconfQuestion> running)
        : actions_(actions), running_(std::move(running)), texts_(std::move(texts)) {}

    AlertPanel& alertPanel() override { return *this; }

    void setTitle(const std::string& title) override { texts_.title = title; }
    void openAlert(const std::string& message, const std::string& /*defaultTitle*/,
                   const std::string* /*alternateTitle*/) override {
        texts_.message = message; // debconf names the two answers itself
    }
    void closeAlert() override {}
    const void* defaultButton() const override { return &texts_; }

    void run() override {
        const DebconfQuestion::Answer answer =
            running_ ? running_->Ask(texts_, true) : DebconfQuestion::AskUnderOwnFrontend(texts_);
        LogDecline(answer, texts_.question);
        actions_->closeAlertPanel(answer == DebconfQuestion::Answer::kConsented ? defaultButton()
                                                                                : nullptr);
    }
    void stop() override {}

private:
    AlertActions* actions_;
    std::optional<DebconfQuestion> running_;
    DebconfQuestion::Texts texts_;
};

// The question's name and template: a product's own question is declared
// by its package; otherwise the sample question from the bundle, or from
// the companion's own bundle when a product's bundle has none.
std::optional<DebconfQuestion::Texts> QuestionTexts() {
    DebconfQuestion::Texts texts;
    if (const std::string* own = StringForKey(AUApplication::preferences(), kQuestionKey)) {
        texts.question = *own;
        return texts;
    }
    texts.question = DebconfQuestion::kDefaultQuestion;
    for (const Bundle* bundle : {&Bundle::mainBundle(), &Bundle::companionBundle()}) {
        if (auto path = bundle->pathForResource(DebconfQuestion::kTemplateResource)) {
            texts.templateFile = *path;
            return texts;
        }
    }
    NSLog("<!> the bundle has no %s; not asking through debconf.",
          DebconfQuestion::kTemplateResource);
    return std::nullopt;
}

} // namespace

std::unique_ptr<WindowSystem> CreateDebconfWindowSystem(AlertActions* actions) {
    const AppPlatform::Installer installer = AppPlatform::CurrentInstaller();
    if (installer == AppPlatform::Installer::kNone) {
        return nullptr;
    }
    std::optional<DebconfQuestion::Texts> texts = QuestionTexts();
    if (!texts) {
        return nullptr;
    }
    if (installer == AppPlatform::Installer::kMaintainerScript) {
        return AppPlatform::HasDebconfFrontend()
                   ? std::make_unique<DebconfAlert>(actions, std::move(*texts), std::nullopt)
                   : nullptr;
    }
    const std::optional<AppPlatform::DebconfPipes> pipes = AppPlatform::DebconfChannel();
    DebconfQuestion question(pipes ? pipes->commands : -1, pipes ? pipes->replies : -1);
    if (!pipes || !question.Connect(kGreetingTimeoutMs)) {
        NSLog("<!> debconf does not answer; asking another way.");
        return nullptr;
    }
    return std::make_unique<DebconfAlert>(actions, std::move(*texts), question);
}
