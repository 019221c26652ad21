#include "app/AUAppController.h"

#include "app/CAutoTerminate.h"
#include "app/SystemLog.h"
#include "app/platform/AppPlatform.h"

namespace {

// The Preferences key whose value, a key into Localizable.strings, makes the
// install step ask for consent.
constexpr const char* kConsentMessageKey = "ConsentMessage";

// The marker's path: `name` joined to /tmp as one path component, slashes
// around it dropped as a path join drops them. Nullopt when that would not
// name a file directly in /tmp ("a/b", "..", "../x"). Deliberately stricter
// than a plain join: the package installer relies on the marker being in
// /tmp and nowhere else, and a folder on the way could be a link that anyone
// planted there.
std::optional<std::string> PathInTmp(const std::string& name) {
    const std::size_t first = name.find_first_not_of('/');
    if (first == std::string::npos) {
        return std::nullopt;
    }
    const std::string file = name.substr(first, name.find_last_not_of('/') - first + 1);
    if (file.find('/') != std::string::npos || file == "." || file == "..") {
        return std::nullopt;
    }
    return "/tmp/" + file;
}

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
    const std::string ok = "IDS_UI_BUTTON_OK", cancel = "IDS_UI_BUTTON_CANCEL",
                      title = "IDS_UI_CONSENT_TITLE";
    const std::string cancelTitle = AUApplication::localizedString(&cancel);
    _alertPanel = &AUApplication::sharedApplication().windowSystem(this).alertPanel();
    _alertPanel->setTitle(AUApplication::localizedString(&title));
    _alertPanel->openAlert(AUApplication::localizedString(&messageKey),
                           AUApplication::localizedString(&ok), &cancelTitle);
}

const std::string* AUAppController::MarkerName() const {
    const std::string* name = StringForKey(AUApplication::preferences(), "InstallationFileName");
    return name != nullptr && !name->empty() ? name : nullptr;
}

void AUAppController::createDoInstallationFile() {
    const std::string* name = MarkerName();
    if (name == nullptr) {
        return;
    }
    // Anyone can plant a link or a FIFO in /tmp: the marker is renamed into
    // place, never written through what is there.
    const std::optional<std::string> path = PathInTmp(*name);
    if (!path || !AppPlatform::ReplaceWithEmptyFile(*path)) {
        NSLog("<!> failed to create installation file.");
    }
}

void AUAppController::removeDoInstallationFile() {
    // A planted link is stale too (the link goes, never its target); a folder
    // in its place is left for the write to fail on.
    const std::string* name = MarkerName();
    if (const std::optional<std::string> path = name ? PathInTmp(*name) : std::nullopt) {
        AppPlatform::RemoveUnlessFolder(*path);
    }
}
