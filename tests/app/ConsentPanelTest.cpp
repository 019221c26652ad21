// The consent question end to end in one process: the real controller, the
// real Qt panel plug-in (offscreen), and a click on one of its buttons.
#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "app/AUAppController.h"
#include "app/AUApplication.h"

namespace {

namespace fs = std::filesystem;

const char* gButtonToClick = nullptr;

// Runs when the plug-in brings up its QApplication: clicks the chosen button
// as soon as the panel shows.
void ClickWhenShown() {
    QTimer::singleShot(50, [] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            auto* button = window->findChild<QPushButton*>(gButtonToClick);
            if (button != nullptr && window->isVisible()) {
                button->click();
            }
        }
    });
}

// Installs with consent and answers with `button`; returns through the app's
// own ending (run() for consent, exit(1) for refusal).
int InstallAndAnswer(const char* button, const std::string& marker) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    for (const char* name :
         {"DEBIAN_FRONTEND", "DEBIAN_HAS_FRONTEND", "DPKG_MAINTSCRIPT_PACKAGE"}) {
        unsetenv(name); // no package manager around: the panel asks
    }
    gButtonToClick = button;
    qAddPreRoutine(ClickWhenShown);
    AUAutoPreferences.reset(ParsePropertyList("{ OperationType = 7; InstallationFileName = \"" +
                                              marker.substr(5) +
                                              "\"; ConsentMessage = IDS_UI_CONSENT_MESSAGE; }"));
    AUApplication::setOperationType(7);
    AUAppController controller;
    return AUApplication::sharedApplication().run(controller);
}

// Each answer in a process of its own: the app's end is the process's end.
TEST(ConsentPanel, DefaultButtonConsentsAndAlternateButtonDeclines) {
    ASSERT_TRUE(fs::exists(QUORVEL_PLUGIN_LINK)) << "the panel plug-in is not beside the test";
    const std::string marker = "/tmp/quorvel-consent-test-" + std::to_string(getpid());
    for (const auto& [button, status] : {std::pair{"defaultButton", 0}, {"alternateButton", 1}}) {
        fs::remove(marker);
        EXPECT_EXIT(std::exit(InstallAndAnswer(button, marker)), ::testing::ExitedWithCode(status),
                    "");
        EXPECT_EQ(fs::is_regular_file(marker), status == 0) << button;
    }
    fs::remove(marker);
}

} // namespace
