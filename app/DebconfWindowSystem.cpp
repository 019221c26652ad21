// The question through debconf: the "window system" of a Debian package
// manager, whose frontend shows the question the way the administrator chose.
#include "app/Bundle.h"
#include "app/DebconfQuestion.h"
#include "app/SystemLog.h"
#include "app/WindowSystem.h"
#include "app/platform/AppPlatform.h"

namespace {

// How long a debconf that is there takes at most to answer its greeting.
constexpr int kGreetingTimeoutMs = 10000;

class DebconfAlert : public AlertPanel, public WindowSystem {
public:
    // With `running`, the debconf of the maintainer script; without, a
    // frontend started for the question.
    DebconfAlert(AlertActions* actions, std::string templateFile,
                 std::optional<DebconfQuestion> running)
        : actions_(actions), running_(std::move(running)) {
        texts_.templateFile = std::move(templateFile);
    }

    AlertPanel& alertPanel() override { return *this; }

    void setTitle(const std::string& title) override { texts_.title = title; }
    void openAlert(const std::string& message, const std::string& /*defaultTitle*/,
                   const std::string* /*alternateTitle*/) override {
        texts_.message = message; // debconf names the two answers itself
    }
    void closeAlert() override {}
    const void* defaultButton() const override { return &texts_; }

    void run() override {
        const std::optional<bool> answer =
            running_ ? running_->Ask(texts_) : DebconfQuestion::AskUnderOwnFrontend(texts_);
        if (!answer) {
            NSLog("<!> debconf could not ask the question; it is declined.");
        } else if (!*answer) {
            NSLog("[i] debconf answered no to %s.", DebconfQuestion::kQuestion);
        }
        actions_->closeAlertPanel(answer.value_or(false) ? defaultButton() : nullptr);
    }
    void stop() override {}

private:
    AlertActions* actions_;
    std::optional<DebconfQuestion> running_;
    DebconfQuestion::Texts texts_;
};

} // namespace

std::unique_ptr<WindowSystem> CreateDebconfWindowSystem(AlertActions* actions) {
    const AppPlatform::Installer installer = AppPlatform::CurrentInstaller();
    if (installer == AppPlatform::Installer::kNone) {
        return nullptr;
    }
    const std::optional<std::string> templateFile =
        Bundle::mainBundle().pathForResource(DebconfQuestion::kTemplateResource);
    if (!templateFile) {
        NSLog("<!> the bundle has no %s; not asking through debconf.",
              DebconfQuestion::kTemplateResource);
        return nullptr;
    }
    if (installer == AppPlatform::Installer::kMaintainerScript) {
        return AppPlatform::HasDebconfFrontend()
                   ? std::make_unique<DebconfAlert>(actions, *templateFile, std::nullopt)
                   : nullptr;
    }
    const std::optional<AppPlatform::DebconfPipes> pipes = AppPlatform::DebconfChannel();
    DebconfQuestion question(pipes ? pipes->commands : -1, pipes ? pipes->replies : -1);
    if (!pipes || !question.Connect(kGreetingTimeoutMs, false)) {
        NSLog("<!> debconf does not answer; asking another way.");
        return nullptr;
    }
    return std::make_unique<DebconfAlert>(actions, *templateFile, question);
}
