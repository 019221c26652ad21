// Helper programs the app benchmark starts as processes:
//   minimal  a Qt Widgets program that creates its application and quits
//   dialog   a bare dialog with a label and two buttons, shown, then quits
//   panel    the app's question panel with a ten-line message, shown, then quits
#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <cstring>

#include "app/AUAlert.h"

namespace {

struct NoActions : AlertActions {
    void closeAlertPanel(const void*) override {}
    void terminate(const void*) override {}
};

// Quits as soon as the window has been shown and the event queue is drained.
int ShowAndQuit(QWidget& window) {
    window.show();
    QTimer::singleShot(0, [] { QApplication::exit(0); });
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    const char* mode = argc > 1 ? argv[1] : "minimal";
    QApplication application(argc, argv);
    if (std::strcmp(mode, "dialog") == 0) {
        QDialog dialog;
        dialog.resize(440, 260);
        QLabel label(
            "Line 1\nLine 2\nLine 3\nLine 4\nLine 5\nLine 6\nLine 7\nLine 8\nLine 9\nLine 10",
            &dialog);
        label.setGeometry(20, 20, 400, 180);
        QPushButton cancel("Cancel", &dialog), ok("Continue", &dialog);
        cancel.setGeometry(224, 216, 90, 30);
        ok.setGeometry(326, 216, 94, 30);
        return ShowAndQuit(dialog);
    }
    if (std::strcmp(mode, "panel") == 0) {
        NoActions actions;
        const std::unique_ptr<AUAlert> alert = AUAlert::LoadFromInterfaceFile(&actions);
        const std::string cancel = "Cancel";
        alert->openAlert(
            "Line 1\nLine 2\nLine 3\nLine 4\nLine 5\nLine 6\nLine 7\nLine 8\nLine 9\nLine 10",
            "Continue", &cancel);
        QTimer::singleShot(0, [] { QApplication::exit(0); });
        const int status = QApplication::exec();
        delete alert->window();
        return status;
    }
    return 0;
}
