// The question without a display: asked on the controlling terminal, or,
// with no terminal either, declined at once.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "app/SystemLog.h"
#include "app/WindowSystem.h"

namespace {

class TerminalAlert : public AlertPanel, public WindowSystem {
public:
    explicit TerminalAlert(AlertActions* actions) : actions_(actions) {}

    AlertPanel& alertPanel() override { return *this; }

    void openAlert(const std::string& message, const std::string& defaultTitle,
                   const std::string* alternateTitle) override {
        message_ = message;
        defaultTitle_ = defaultTitle;
        hasAlternate_ = alternateTitle != nullptr;
        alternateTitle_ = hasAlternate_ ? *alternateTitle : "";
    }

    void closeAlert() override {}

    const void* defaultButton() const override { return &defaultTitle_; }

    // Asks until it has an answer; end of input declines.
    void run() override {
        const int fd = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
        std::FILE* tty = fd >= 0 ? fdopen(fd, "r+") : nullptr;
        if (tty == nullptr) {
            NSLog("<!> no display and no terminal to ask on; the question is declined.");
            actions_->closeAlertPanel(nullptr);
            return;
        }
        const void* answer = Ask(tty);
        std::fclose(tty);
        actions_->closeAlertPanel(answer);
    }

    void stop() override {}

private:
    const void* Ask(std::FILE* tty) {
        for (;;) {
            std::fprintf(tty, "\n%s\n\n  1) %s  [Enter]\n", message_.c_str(),
                         defaultTitle_.c_str());
            if (hasAlternate_) {
                std::fprintf(tty, "  2) %s\n", alternateTitle_.c_str());
            }
            std::fprintf(tty, "> ");
            std::fflush(tty);
            char line[64];
            if (std::fgets(line, sizeof line, tty) == nullptr) {
                return &alternateTitle_;
            }
            const std::string choice(line, std::string(line).find_last_not_of("\r\n \t") + 1);
            if (choice.empty() || choice == "1") {
                return &defaultTitle_;
            }
            if (hasAlternate_ && choice == "2") {
                return &alternateTitle_;
            }
        }
    }

    AlertActions* actions_;
    std::string message_, defaultTitle_, alternateTitle_;
    bool hasAlternate_ = false;
};

} // namespace

std::unique_ptr<WindowSystem> CreateTerminalWindowSystem(AlertActions* actions) {
    return std::make_unique<TerminalAlert>(actions);
}
