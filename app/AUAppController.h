// The application's delegate: carries out the operation the app was started
// for as soon as it has launched, keeps the installer's marker file in /tmp,
// and acts on the answer to the consent question.
//
// Operation 7 installs: a stale marker file is removed first, and the marker
// is written again when the install step went through (or after the user
// consented). Operation 8 uninstalls and leaves the marker alone. Any other
// value does nothing. The app then ends by itself with status 0, or 1 when
// the user declined.
#pragma once

#include "app/AUApplication.h"
#include "app/WindowSystem.h"

class AUAppController : public AlertActions {
public:
    static constexpr int kOperationInstall = 7;
    static constexpr int kOperationUninstall = 8;

    void applicationWillFinishLaunching(AUApplication* notification);
    void applicationDidFinishLaunching(AUApplication* notification);

    // The answer to a quit request: NSTerminateCancel while the question is open.
    NSApplicationTerminateReply applicationShouldTerminate(AUApplication* sender);

    // Both buttons' action: the default button consents (marker written, exit
    // 0); anything else declines (exit 1, no marker).
    void closeAlertPanel(const void* sender) override;
    void terminate(const void* sender) override;

    void createDoInstallationFile();
    void removeDoInstallationFile();

private:
    // The install step: its status, and the message key when it needs the
    // user's consent first (the Preferences key "ConsentMessage").
    long RunInstallStep(const std::string** consentKey);
    long RunUninstallStep();
    // The marker's file name from the Preferences; null when they name none
    // (then the marker is neither written nor removed).
    const std::string* MarkerName() const;
    void AskForConsent(const std::string& messageKey);

    AlertPanel* _alertPanel = nullptr;
    NSApplicationTerminateReply _terminateReply = NSTerminateNow;
};
