#include "app/AUAppController.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/CAutoTerminate.h"
#include "app/SystemLog.h"

namespace {

// The Preferences key whose value, a key into Localizable.strings, makes the
// install step ask for consent.
constexpr const char* kConsentMessageKey = "ConsentMessage";

} // namespace

void AUAppController::applicationWillFinishLaunching(AUApplication* /*notification*/) {}

void AUAppController::applicationDidFinishLaunching(AUApplication* /*notification*/) {
    CAutoTerminate guard(true, 0);
    _terminateReply = NSTerminateNow;
    try {
        const int operation = AUApplication::operationType();
        if (operation == kOperationInstall) {
            removeDoInstallationFile(); // a stale marker goes before anything else
            const std::string* consentKey = nullptr;
            const long status = RunInstallStep(&consentKey);
            NSLog("[i] the %i end with status %li.", operation, status);
            if (consentKey != nullptr) {
                guard.m_bEnabled = false;
                _terminateReply = NSTerminateCancel;
                AskForConsent(*consentKey);
            } else if (status == 0) {
                createDoInstallationFile();
            }
        } else if (operation == kOperationUninstall) {
            const long status = RunUninstallStep();
            NSLog("[i] the %i end with status %li.", operation, status);
        } else {
            NSLog("[i] operation is none.");
        }
    } catch (const std::exception&) {
        // Swallowed like the platform's exceptions: the guard still ends the app.
    }
}

NSApplicationTerminateReply AUAppController::applicationShouldTerminate(AUApplication* /*sender*/) {
    return _terminateReply;
}

void AUAppController::closeAlertPanel(const void* sender) {
    _terminateReply = NSTerminateNow;
    CAutoTerminate guard(true, 0);
    try {
        _alertPanel->closeAlert();
        if (sender != nullptr && sender == _alertPanel->defaultButton()) { // identity, not title
            createDoInstallationFile();
        } else {
            guard.m_exitStatus = 1;
        }
    } catch (const std::exception&) {
        guard.m_exitStatus = 1;
    }
}

void AUAppController::terminate(const void* sender) {
    AUApplication::sharedApplication().terminate(sender);
}

long AUAppController::RunInstallStep(const std::string** consentKey) {
    *consentKey = StringForKey(AUApplication::preferences(), kConsentMessageKey);
    return 0; // nothing to install beyond the marker
}

long AUAppController::RunUninstallStep() {
    return 0;
}

void AUAppController::AskForConsent(const std::string& messageKey) {
    const std::string ok = "IDS_UI_BUTTON_OK", cancel = "IDS_UI_BUTTON_CANCEL";
    const std::string cancelTitle = AUApplication::localizedString(&cancel);
    _alertPanel = &AUApplication::sharedApplication().windowSystem(this).alertPanel();
    _alertPanel->openAlert(AUApplication::localizedString(&messageKey),
                           AUApplication::localizedString(&ok), &cancelTitle);
}

std::optional<std::string> AUAppController::MarkerPath() const {
    const std::string* name = StringForKey(AUApplication::preferences(), "InstallationFileName");
    if (name == nullptr || name->empty()) {
        return std::nullopt;
    }
    return (name->front() == '/' ? "/tmp" : "/tmp/") + *name;
}

void AUAppController::createDoInstallationFile() {
    const std::optional<std::string> path = MarkerPath();
    if (!path) {
        return;
    }
    // Never through a symbolic link: anyone can plant one in /tmp.
    const int fd = open(path->c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0) {
        NSLog("<!> failed to create installation file.");
        return;
    }
    close(fd);
}

void AUAppController::removeDoInstallationFile() {
    const std::optional<std::string> path = MarkerPath();
    struct stat info;
    // Only a file is removed; a folder in its place is left for the write to fail on.
    if (path && stat(path->c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) {
        unlink(path->c_str());
    }
}
