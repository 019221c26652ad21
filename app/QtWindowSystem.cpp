// The Qt window system of the panel plug-in (libquorvel_panel.so).
#include <QApplication>
#include <QWidget>

#include <string>

#include "app/AUAlert.h"
#include "app/WindowSystem.h"
#include "app/platform/AppPlatform.h"

namespace {

// The last platform Qt tries. Qt ends the process when no platform in its
// list starts, so this one, which always starts, is put last: landing on it
// means that no display opened.
constexpr const char* kFallbackPlatform = "offscreen";

// Puts the fallback after the platforms to try. True when offscreen was
// asked for itself.
bool ChoosePlatforms() {
    const std::string platforms = AppPlatform::DisplayPlatforms();
    if (platforms.find(kFallbackPlatform) != std::string::npos) {
        return true; // offscreen on purpose (tests, screenshots)
    }
    AppPlatform::SetDisplayPlatforms(platforms + ";" + kFallbackPlatform);
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

// Qt's own complaints while it looks for a display ("could not connect to
// display"): a display that does not open is an answer we handle, and the
// terminal's question must come first on the screen.
void QuietWhileStarting(QtMsgType /*type*/, const QMessageLogContext& /*context*/,
                        const QString& /*text*/) {}

int gArgc = 1;
char* gArgv[] = {const_cast<char*>("QuorvelInstaller"), nullptr};

} // namespace

extern "C" WindowSystem* QuorvelCreateQtWindowSystem(AlertActions* actions) {
    const bool offscreenWanted = ChoosePlatforms();
    const QtMessageHandler previous = qInstallMessageHandler(QuietWhileStarting);
    auto application = std::make_unique<QApplication>(gArgc, gArgv);
    qInstallMessageHandler(previous);
    if (!offscreenWanted && QGuiApplication::platformName() == kFallbackPlatform) {
        return nullptr; // nobody would see the panel
    }
    return new QtWindowSystem(std::move(application), actions);
}
