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
    // The operation types of the Preferences key "OperationType".
    static constexpr int kOperationInstall = 7;
    static constexpr int kOperationUninstall = 8;

    // Called before launching ends; does nothing.
    void applicationWillFinishLaunching(AUApplication* notification);
    // Carries out the operation, then ends the app unless a question waits.
    void applicationDidFinishLaunching(AUApplication* notification);

    // The answer to a quit request: NSTerminateCancel while the question is open.
    NSApplicationTerminateReply applicationShouldTerminate(AUApplication* sender);

    // Both buttons' action: the default button consents (marker written, exit
    // 0); anything else declines (exit 1, no marker).
    void closeAlertPanel(const void* sender) override;
    // A quit request from the window system, passed to the application,
    // which asks applicationShouldTerminate.
    void terminate(const void* sender) override;

    // Puts the empty marker file in /tmp, replacing whatever is at its path;
    // logs "<!> failed to create installation file." when it cannot.
    void createDoInstallationFile();
    // Removes the marker (a link there, never its target); a folder stays.
    void removeDoInstallationFile();

private:
    // The install step: its status, and the message key when it needs the
    // user's consent first (the Preferences key "ConsentMessage").
    long RunInstallStep(const std::string** consentKey);
    // The uninstall step: its status (nothing to undo but what the
    // installer removes itself).
    long RunUninstallStep();
    // The marker's file name from the Preferences; null when they name none
    // (then the marker is neither written nor removed).
    const std::string* MarkerName() const;
    // Opens the question, titled and worded in the installer's language,
    // on the first window system that can ask it.
    void AskForConsent(const std::string& messageKey);

    // The question's panel, once it is open.
    AlertPanel* _alertPanel = nullptr;
    // The answer to quit requests: NSTerminateCancel only while the question waits.
    NSApplicationTerminateReply _terminateReply = NSTerminateNow;
};
