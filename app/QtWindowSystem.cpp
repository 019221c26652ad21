// The Qt window system of the panel plug-in (libquorvel_panel.so).
#include <QApplication>
#include <QWidget>

#include "app/AUAlert.h"
#include "app/WindowSystem.h"

namespace {

class QtWindowSystem : public WindowSystem {
public:
    explicit QtWindowSystem(AlertActions* actions) : application_(argc_, argv_) {
        alert_ = AUAlert::LoadFromInterfaceFile(actions);
    }
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
    static int argc_;
    static char* argv_[];
    QApplication application_;
    std::unique_ptr<AUAlert> alert_;
};

int QtWindowSystem::argc_ = 1;
char* QtWindowSystem::argv_[] = {const_cast<char*>("QuorvelInstaller"), nullptr};

} // namespace

extern "C" WindowSystem* QuorvelCreateQtWindowSystem(AlertActions* actions) {
    return new QtWindowSystem(actions);
}
