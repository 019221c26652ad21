// The question without a display: asked on the controlling terminal, or,
// with no terminal either, declined at once.
#include <optional>
#include <string>

#include "app/SystemLog.h"
#include "app/TextWrap.h"
#include "app/WindowSystem.h"
#include "app/platform/AppPlatform.h"
#include "utils/TextPieces.h"

namespace {

class TerminalAlert : public AlertPanel, public WindowSystem {
public:
    TerminalAlert(AlertActions* actions, std::string note)
        : actions_(actions), note_(std::move(note)) {}

    AlertPanel& alertPanel() override { return *this; }

    void openAlert(const std::string& message, const std::string& defaultTitle,
                   const std::string* alternateTitle) override {
        message_ = message;
        defaultTitle_ = defaultTitle;
        hasAlternate_ = alternateTitle != nullptr;
        alternateTitle_ = hasAlternate_ ? *alternateTitle : "";
    }

    void setTitle(const std::string& title) override { title_ = title; }
    void closeAlert() override {}

    const void* defaultButton() const override { return &defaultTitle_; }

    // Asks until it has an answer; end of input declines.
    void run() override {
        const bool nobody = AppPlatform::NobodyMayBeAsked();
        const int tty = nobody ? -1 : AppPlatform::OpenTerminal();
        if (tty < 0) {
            LogNote();
            NSLog(nobody ? "<!> nobody may be asked (DEBIAN_FRONTEND=noninteractive); the question "
                           "is declined."
                         : "<!> no display and no terminal to ask on; the question is declined.");
            actions_->closeAlertPanel(nullptr);
            return;
        }
        const void* answer = Ask(tty);
        AppPlatform::CloseTerminal(tty);
        LogNote(); // only now: nothing may stand before the question
        if (answer != defaultButton()) {
            NSLog("[i] the consent question was declined on the terminal.");
        }
        actions_->closeAlertPanel(answer);
    }

    void stop() override {}

private:
    // The button the person chose; end of input declines.
    const void* Ask(int tty) {
        const std::size_t columns = static_cast<std::size_t>(AppPlatform::TerminalColumns(tty));
        std::string question = "\n" + TextWrap::Wrap(title_, columns) + "\n\n" +
                               TextWrap::Wrap(message_, columns) + "\n\n  1) " + defaultTitle_ +
                               "  [Enter]\n";
        if (hasAlternate_) {
            question += "  2) " + alternateTitle_ + "\n";
        }
        for (;;) {
            // The answer is the whole line, without surrounding blanks.
            const std::optional<std::string> choice = AppPlatform::WriteAll(tty, question + "> ")
                                                          ? AppPlatform::ReadLine(tty, -1)
                                                          : std::nullopt;
            if (!choice) {
                return &alternateTitle_;
            }
            const std::string answer = TextPieces::Trim(*choice);
            if (answer.empty() || answer == "1") {
                return &defaultTitle_;
            }
            if (hasAlternate_ && answer == "2") {
                return &alternateTitle_;
            }
        }
    }

    void LogNote() const {
        if (!note_.empty()) {
            NSLog("%s", note_.c_str());
        }
    }

    AlertActions* actions_;
    std::string note_; // why no display asked, logged after the answer
    std::string title_, message_, defaultTitle_, alternateTitle_;
    bool hasAlternate_ = false;
};

} // namespace

std::unique_ptr<WindowSystem> CreateTerminalWindowSystem(AlertActions* actions, std::string note) {
    return std::make_unique<TerminalAlert>(actions, std::move(note));
}
