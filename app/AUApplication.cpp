#include "app/AUApplication.h"

#include <vector>

#include "app/AUAppController.h"
#include "app/Bundle.h"
#include "app/SystemLog.h"
#include "app/platform/AppPlatform.h"
#include "utils/TextPieces.h"

CAutoNSObject<PlistDictionary> AUAutoPreferences;
CAutoNSObject<PlistDictionary> AUAutoLocalizedStrings;

namespace {

int _gOperationType = 0;

// Removes "." and empty components and resolves ".." against what precedes
// it, without touching the file system, as path standardising always did.
std::string StandardizedPath(const std::string& path) {
    std::vector<std::string> parts;
    for (const std::string& part : TextPieces::Split(path, '/')) {
        if (part == "..") {
            if (!parts.empty()) {
                parts.pop_back();
            }
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
    }
    std::string out;
    for (const std::string& part : parts) {
        out += "/" + part;
    }
    return out.empty() ? "/" : out;
}

} // namespace

const PlistDictionary* AUApplication::preferences() {
    return AUAutoPreferences.get();
}

void AUApplication::setOperationType(int operationType) {
    _gOperationType = operationType;
}

int AUApplication::operationType() {
    return _gOperationType;
}

std::optional<std::string> AUApplication::fullpathOfString(const std::string* path) {
    if (path == nullptr) {
        return std::nullopt;
    }
    if (!path->empty() && path->front() == '/') {
        return StandardizedPath(*path);
    }
    const std::string& bundle = Bundle::mainBundle().bundlePath();
    const std::string base = bundle.substr(0, bundle.find_last_of('/'));
    return StandardizedPath(base + "/" + *path);
}

const PlistDictionary* AUApplication::localizedStrings() {
    if (AUAutoLocalizedStrings.get() != nullptr) {
        return AUAutoLocalizedStrings.get();
    }
    const std::unique_ptr<PlistDictionary> shared = LoadSharedPropertyList(kSharedInstallerPlist);
    const std::string* language = StringForKey(shared.get(), "InstallerLproj");
    NSLog("[i] language:[%s]", language != nullptr ? language->c_str() : "(null)");
    // Only a table that was read is kept: a missing one is looked for again,
    // and the language line logged again, on the next call.
    AUAutoLocalizedStrings.reset(Bundle::mainBundle().stringsTable(language));
    return AUAutoLocalizedStrings.get();
}

std::string AUApplication::localizedString(const std::string* key) {
    if (key == nullptr) {
        return "";
    }
    if (const std::string* text = StringForKey(localizedStrings(), *key)) {
        return *text;
    }
    return Bundle::mainBundle().localizedStringForKey(*key, *key);
}

AUApplication& AUApplication::sharedApplication() {
    // Never destroyed: the process may end through exit() from inside the
    // window system's event handling, and nothing may be torn down then.
    static AUApplication* shared = new AUApplication();
    return *shared;
}

int AUApplication::run(AUAppController& delegate) {
    m_delegate = &delegate;
    delegate.applicationWillFinishLaunching(this);
    delegate.applicationDidFinishLaunching(this);
    if (!m_terminated && m_windowSystem) {
        m_windowSystem->run(); // until the answer terminates us
    }
    m_windowSystem.reset();
    return 0;
}

void AUApplication::terminate(const void* /*sender*/) {
    if (m_delegate == nullptr || m_delegate->applicationShouldTerminate(this) != NSTerminateNow) {
        return;
    }
    m_terminated = true;
    if (m_windowSystem) {
        m_windowSystem->stop();
    }
}

WindowSystem& AUApplication::windowSystem(AlertActions* actions) {
    if (!m_windowSystem) {
        m_windowSystem = CreateDebconfWindowSystem(actions);
    }
    std::string note;
    if (!m_windowSystem && AppPlatform::MayHaveDisplay() && !AppPlatform::NobodyMayBeAsked()) {
        m_windowSystem = LoadPanel(actions, &note);
    }
    if (!m_windowSystem) {
        m_windowSystem = CreateTerminalWindowSystem(actions, note);
    }
    return *m_windowSystem;
}

std::unique_ptr<WindowSystem> AUApplication::LoadPanel(AlertActions* actions, std::string* note) {
    std::string error;
    void* entry =
        AppPlatform::LoadPluginEntry(Bundle::companionBundle().pluginPath("libquorvel_panel.so"),
                                     "QuorvelCreateQtWindowSystem", &error);
    if (entry == nullptr) {
        *note = "<!> the panel could not be loaded (" + error + "); asked on the terminal.";
        return nullptr;
    }
    std::unique_ptr<WindowSystem> panel(
        reinterpret_cast<CreateWindowSystemFunction>(entry)(actions));
    if (!panel) {
        *note = "<!> no display could be opened; asked on the terminal.";
    }
    return panel;
}
