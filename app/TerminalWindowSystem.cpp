// The question without a display: asked on the controlling terminal, or,
// with no terminal either, declined at once.
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "app/SystemLog.h"
#include "app/WindowSystem.h"
#include "app/platform/AppPlatform.h"

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

    void setTitle(const std::string& title) override { title_ = title; }
    void closeAlert() override {}

    const void* defaultButton() const override { return &defaultTitle_; }

    // Asks until it has an answer; end of input declines.
    void run() override {
        if (AppPlatform::NobodyMayBeAsked()) {
            NSLog("<!> nobody may be asked (DEBIAN_FRONTEND=noninteractive); the question is "
                  "declined.");
            actions_->closeAlertPanel(nullptr);
            return;
        }
        const int fd = AppPlatform::OpenTerminal();
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
            std::fprintf(tty, "\n%s\n\n%s\n\n  1) %s  [Enter]\n", title_.c_str(), message_.c_str(),
                         defaultTitle_.c_str());
            if (hasAlternate_) {
                std::fprintf(tty, "  2) %s\n", alternateTitle_.c_str());
            }
            std::fprintf(tty, "> ");
            std::fflush(tty);
            const std::optional<std::string> choice = ReadLine(tty);
            if (!choice) {
                return &alternateTitle_;
            }
            if (choice->empty() || *choice == "1") {
                return &defaultTitle_;
            }
            if (hasAlternate_ && *choice == "2") {
                return &alternateTitle_;
            }
        }
    }

    // The whole answer line, however long, without surrounding blanks;
    // nullopt at the end of input.
    static std::optional<std::string> ReadLine(std::FILE* tty) {
        char* line = nullptr;
        std::size_t capacity = 0;
        const ssize_t length = getline(&line, &capacity, tty);
        std::optional<std::string> text;
        if (length >= 0) {
            text = std::string(line, static_cast<std::size_t>(length));
            const std::size_t first = text->find_first_not_of("\r\n \t");
            text = first == std::string::npos
                       ? ""
                       : text->substr(first, text->find_last_not_of("\r\n \t") - first + 1);
        }
        std::free(line);
        return text;
    }

    AlertActions* actions_;
    std::string title_, message_, defaultTitle_, alternateTitle_;
    bool hasAlternate_ = false;
};

} // namespace

std::unique_ptr<WindowSystem> CreateTerminalWindowSystem(AlertActions* actions) {
    return std::make_unique<TerminalAlert>(actions);
}
