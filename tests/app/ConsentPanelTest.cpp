// The consent question end to end in one process: the real controller, the
// real Qt panel plug-in (offscreen), answered with the mouse or the keys a
// person uses on this desktop.
#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "app/AUAppController.h"
#include "app/AUApplication.h"

namespace {

namespace fs = std::filesystem;

// What the person does once the panel shows: a button name clicks it,
// anything else is a list of keys pressed in turn.
const char* gButtonToClick = nullptr;
std::vector<Qt::Key> gKeys;

// The accessible name a screen reader reads for `widget`.
std::string AccessibleName(QWidget* widget) {
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
    return face != nullptr ? face->text(QAccessible::Name).toStdString() : "";
}

// Answers once the panel shows, looking again until it does. A panel whose
// message or buttons a screen reader cannot name ends with status 3.
void Answer() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible()) {
            continue;
        }
        for (QWidget* part :
             {static_cast<QWidget*>(window->findChild<QLabel*>()),
              static_cast<QWidget*>(window->findChild<QPushButton*>("defaultButton")),
              static_cast<QWidget*>(window->findChild<QPushButton*>("alternateButton"))}) {
            if (part == nullptr || AccessibleName(part).empty()) {
                std::_Exit(3);
            }
        }
        if (gButtonToClick != nullptr) {
            window->findChild<QPushButton*>(gButtonToClick)->click();
            return;
        }
        window->activateWindow();
        if (!QTest::qWaitForWindowActive(window)) {
            std::_Exit(4);
        }
        for (Qt::Key key : gKeys) {
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : window,
                            key);
        }
        return;
    }
    QTimer::singleShot(20, Answer);
}

// Runs when the plug-in brings up its QApplication.
void AnswerWhenShown() {
    QTimer::singleShot(20, Answer);
}

// Installs with consent and answers; returns through the app's own ending
// (run() for consent, exit(1) for refusal).
int InstallAndAnswer(const std::string& marker) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    for (const char* name :
         {"DEBIAN_FRONTEND", "DEBIAN_HAS_FRONTEND", "DPKG_MAINTSCRIPT_PACKAGE"}) {
        unsetenv(name); // no package manager around: the panel asks
    }
    qAddPreRoutine(AnswerWhenShown);
    AUAutoPreferences.reset(ParsePropertyList("{ OperationType = 7; InstallationFileName = \"" +
                                              marker.substr(5) +
                                              "\"; ConsentMessage = IDS_UI_CONSENT_MESSAGE; }"));
    AUApplication::setOperationType(7);
    AUAppController controller;
    return AUApplication::sharedApplication().run(controller);
}

// Each answer in a process of its own, over a marker an earlier run left:
// the app's end is the process's end.
TEST(ConsentPanel, ButtonsAndKeysAnswerAsOnTheDesktop) {
    ASSERT_TRUE(fs::exists(QUORVEL_PLUGIN_LINK)) << "the panel plug-in is not beside the test";
    const std::string marker = "/tmp/quorvel-consent-test-" + std::to_string(getpid());
    const struct {
        const char* label;
        const char* button;
        std::vector<Qt::Key> keys;
        int status;
    } cases[] = {
        {"click default", "defaultButton", {}, 0},
        {"click alternate", "alternateButton", {}, 1},
        {"Return", nullptr, {Qt::Key_Return}, 0},
        {"Enter", nullptr, {Qt::Key_Enter}, 0},
        {"Tab, Return", nullptr, {Qt::Key_Tab, Qt::Key_Return}, 1},
        {"Tab, Tab, Return", nullptr, {Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Return}, 0},
        {"Escape", nullptr, {Qt::Key_Escape}, 1},
    };
    for (const auto& c : cases) {
        std::ofstream(marker).flush(); // stale, from an earlier run
        gButtonToClick = c.button;
        gKeys = c.keys;
        EXPECT_EXIT(std::exit(InstallAndAnswer(marker)), ::testing::ExitedWithCode(c.status), "")
            << c.label;
        EXPECT_EQ(fs::exists(marker), c.status == 0) << c.label;
    }
    fs::remove(marker);
}

} // namespace
