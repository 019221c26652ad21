// The Qt window system of the panel plug-in (libquorvel_panel.so).
#include <QApplication>
#include <QWidget>

#include <cstdlib>
#include <string>

#include "app/AUAlert.h"
#include "app/WindowSystem.h"

namespace {

// The last platform Qt tries. Qt ends the process when no platform in its
// list starts, so this one, which always starts, is put last: landing on it
// means that no display opened.
constexpr const char* kFallbackPlatform = "offscreen";

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

// The platforms to try: a list that was asked for, else native Wayland on a
// Wayland session, then X11. True when offscreen was asked for itself.
bool ChoosePlatforms() {
    std::string platforms = IsSet("QT_QPA_PLATFORM") ? std::getenv("QT_QPA_PLATFORM") : "";
    if (platforms.find(kFallbackPlatform) != std::string::npos) {
        return true; // offscreen on purpose (tests, screenshots)
    }
    if (platforms.empty()) {
        platforms = IsSet("WAYLAND_DISPLAY") ? "wayland;xcb" : "xcb";
    }
    setenv("QT_QPA_PLATFORM", (platforms + ";" + kFallbackPlatform).c_str(), 1);
    return false;
}

class QtWindowSystem : public WindowSystem {
public:
    QtWindowSystem(std::unique_ptr<QApplication> application, AlertActions* actions)
        : application_(std::move(application)), alert_(AUAlert::LoadFromInterfaceFile(actions)) {}
    ~QtWindowSystem() override {
        QWidget* window = alert_->window();
        alert_.reset();
        delete window;
    }

    AlertPanel& alertPanel() override { return *alert_; }
    void run() override { QApplication::exec(); }
    void stop() override {
        QApplication::exit(0);
    } // quit() would first ask our refusing window to close

private:
    std::unique_ptr<QApplication> application_;
    std::unique_ptr<AUAlert> alert_;
};

int gArgc = 1;
char* gArgv[] = {const_cast<char*>("QuorvelInstaller"), nullptr};

} // namespace

extern "C" WindowSystem* QuorvelCreateQtWindowSystem(AlertActions* actions) {
    const bool offscreenWanted = ChoosePlatforms();
    auto application = std::make_unique<QApplication>(gArgc, gArgv);
    if (!offscreenWanted && QGuiApplication::platformName() == kFallbackPlatform) {
        return nullptr; // nobody would see the panel
    }
    return new QtWindowSystem(std::move(application), actions);
}
