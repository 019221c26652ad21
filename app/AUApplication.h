// The application object: the process-wide services the rest of the app
// reaches through class-level calls (the preferences, the operation type,
// full paths, localised strings), and the application loop that runs the
// delegate and waits for the user when a question is open.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/CAutoNSObject.h"
#include "app/PropertyList.h"
#include "app/WindowSystem.h"

class AUAppController;

// The two process-wide dictionaries: the Preferences resource and the
// localised strings, released at process exit.
extern CAutoNSObject<PlistDictionary> AUAutoPreferences;
extern CAutoNSObject<PlistDictionary> AUAutoLocalizedStrings;

// Where the package installer keeps its shared property list.
inline constexpr const char* kSharedInstallerPlist = "/tmp/com.quorvel.installer.plist";

// The delegate's answer to a quit request: refuse, or quit now.
enum NSApplicationTerminateReply { NSTerminateCancel = 0, NSTerminateNow = 1 };

class AUApplication {
public:
    // --- Class-level services ------------------------------------------------

    // The Preferences dictionary loaded by main; null before that.
    static const PlistDictionary* preferences();

    // The operation the app was started for (7 install, 8 uninstall, else
    // none), set by main from the Preferences; 0 until then.
    static void setOperationType(int operationType);
    static int operationType();

    // `path` made absolute and standardised: relative paths start at the
    // folder that holds the application bundle. Nullopt for a null path.
    static std::optional<std::string> fullpathOfString(const std::string* path);

    // The localised strings in the installer's language, loaded on first
    // use and kept once found; null while no strings file can be read.
    static const PlistDictionary* localizedStrings();

    // The text for `key`: from the installer's language, else the bundle's
    // preferred localisation, else the key itself. "" for a null key.
    static std::string localizedString(const std::string* key);

    // --- The application loop -------------------------------------------------

    // The one application object, never destroyed.
    static AUApplication& sharedApplication();

    // Runs the delegate's launch methods, then waits for the user while the
    // application has not been terminated. Returns the exit status (0).
    int run(AUAppController& delegate);

    // Asks the delegate whether to quit; quits when it answers NSTerminateNow.
    void terminate(const void* sender);

    // The window system, brought up on first use: debconf under a Debian
    // package manager, else the Qt plug-in when a display opens, else the
    // terminal (which declines when there is none).
    WindowSystem& windowSystem(AlertActions* actions);

private:
    AUApplication() = default;
    // The Qt panel from its plug-in; null, with the reason in `note` for the
    // terminal to log after its question, when it cannot be loaded or no
    // display opens.
    std::unique_ptr<WindowSystem> LoadPanel(AlertActions* actions, std::string* note);

    AUAppController* m_delegate = nullptr; // set by run
    bool m_terminated = false;             // true once a quit request was granted
    std::unique_ptr<WindowSystem> m_windowSystem;
};
