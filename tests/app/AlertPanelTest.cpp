// The question panel with real Qt widgets: offscreen, and once on a real X
// server (Xvfb) for a screenshot.
#include <QApplication>
#include <QGuiApplication>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QTest>
#include <gtest/gtest.h>

#include "app/AUAlert.h"

namespace {

struct Recorder : AlertActions {
    void closeAlertPanel(const void* sender) override { senders.push_back(sender); }
    void terminate(const void*) override { ++quitRequests; }
    std::vector<const void*> senders;
    int quitRequests = 0;
};

QApplication& Application() {
    static int argc = 1;
    static char name[] = "alert-panel-test";
    static char* argv[] = {name, nullptr};
    static QApplication application(argc, argv);
    return application;
}

class AlertPanel : public ::testing::Test {
protected:
    AlertPanel() {
        Application();
        alert = AUAlert::LoadFromInterfaceFile(&recorder);
    }
    ~AlertPanel() override { delete alert->window(); }

    void Open(const std::string& message, const std::string& ok = "OK",
              const std::string* cancel = &kCancel) {
        alert->openAlert(message, ok, cancel);
    }
    float ContentHeight() { return alert->contentView().height(); }
    float ContentWidth() { return alert->contentView().width(); }

    static inline const std::string kCancel = "Cancel";
    Recorder recorder;
    std::unique_ptr<AUAlert> alert;
};

std::string Lines(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += (i ? "\n" : "") + std::string("Line ") + std::to_string(i + 1);
    }
    return text;
}

// As designed in AlertPanel.ui: 440 wide, margins 20 (text top, right),
// 14 (buttons' bottom), 20 between text and buttons, 12 between buttons;
// the height follows the text, buttons grow leftwards and never shrink. One
// panel opened again and again: nothing of an earlier opening stays.
TEST_F(AlertPanel, FitsTheTextAndTitlesAndKeepsTheDesignedMargins) {
    const std::string longCancel = "Cancel the whole installation";
    const struct {
        std::string message, ok;
        const std::string* cancel;
        bool wideButtons;
    } cases[] = {{"One line.", "OK", &kCancel, false},
                 {Lines(10), "OK", &kCancel, false},
                 {"Message", "Continue with the installation now", &longCancel, true},
                 {"Message", "OK", nullptr, false},
                 {"Message", "OK", &kCancel, false}};
    float oneLine = 0;
    for (const auto& c : cases) {
        Open(c.message, c.ok, c.cancel);
        TextField& text = alert->messageTextField();
        Button& ok = alert->defaultButtonView();
        Button& cancel = alert->alternateButtonView();
        oneLine = oneLine == 0 ? ContentHeight() : oneLine;
        EXPECT_EQ(ContentHeight() > oneLine + 100, c.message == Lines(10));
        EXPECT_EQ(ContentWidth(), 440);
        EXPECT_FLOAT_EQ(ContentHeight() - text.top(), 20);
        EXPECT_FLOAT_EQ(text.bottom() - ok.top(), 20);
        EXPECT_FLOAT_EQ(ContentWidth() - ok.right(), 20);
        EXPECT_FLOAT_EQ(ok.bottom(), 14);
        EXPECT_EQ(cancel.isHidden(), c.cancel == nullptr);
        if (c.cancel != nullptr) {
            EXPECT_FLOAT_EQ(ok.left() - cancel.right(), 12);
            EXPECT_FLOAT_EQ(cancel.bottom(), 14);
        }
        EXPECT_EQ(ok.width() > 94, c.wideButtons); // 94: the designed minimum
        EXPECT_GE(ok.width(), 94);
        EXPECT_EQ(ok.title(), c.ok);
        EXPECT_NEAR(text.height(), text.cellSizeForBounds(text.bounds()).height * 1.05, 0.01);
        EXPECT_EQ(alert->window()->height(), static_cast<int>(std::lround(ContentHeight())));
    }
}

TEST_F(AlertPanel, ButtonsAnswerByIdentityAndCloseRequestsAreRefused) {
    Open("Message");
    auto* defaultButton = alert->window()->findChild<QPushButton*>("defaultButton");
    EXPECT_EQ(alert->window()->focusWidget(), defaultButton); // the keyboard starts there
    defaultButton->click();
    alert->window()->findChild<QPushButton*>("alternateButton")->click();
    ASSERT_EQ(recorder.senders.size(), 2u);
    EXPECT_EQ(recorder.senders[0], alert->defaultButton());
    EXPECT_NE(recorder.senders[1], alert->defaultButton());
    EXPECT_NE(recorder.senders[1], nullptr);

    EXPECT_FALSE(alert->window()->close()); // the close button asks to quit instead
    EXPECT_EQ(recorder.quitRequests, 1);
    for (QShortcut* shortcut : alert->window()->findChildren<QShortcut*>()) {
        if (shortcut->key() == QKeySequence(Qt::CTRL | Qt::Key_Q) ||
            shortcut->key() == QKeySequence(Qt::Key_Escape)) {
            emit shortcut->activated(); // Ctrl+Q is a quit request; Escape declines
        }
    }
    EXPECT_EQ(recorder.quitRequests, 2);
    ASSERT_EQ(recorder.senders.size(), 3u);
    EXPECT_EQ(recorder.senders[2], recorder.senders[1]);
    EXPECT_TRUE(alert->window()->isVisible());
    alert->closeAlert();
    EXPECT_FALSE(alert->window()->isVisible());
}

// Views keep non-flipped frames and push them to their widgets flipped and
// rounded; a growing superview keeps its subviews' distance to its top.
TEST(ViewLayer, FramesAreNonFlippedAndFollowTheTopEdge) {
    Application();
    QWidget window;
    window.resize(200, 100);
    QWidget* child = new QWidget(&window);
    child->setGeometry(10, 20, 50, 30); // Qt: 20 from the top
    View content(&window, nullptr);
    View view(child, &content);
    EXPECT_EQ(view.bottom(), 50.0f); // 100 - 20 - 30
    EXPECT_EQ(view.top(), 80.0f);
    view.verticalCenterMoveTo(25);
    EXPECT_EQ(view.bottom(), 10.0f);
    view.horizontalCenterMoveTo(100.4f);
    EXPECT_FLOAT_EQ(view.left(), 75.4f);
    EXPECT_EQ(child->geometry(), QRect(75, 60, 50, 30));
    NSRect taller = content.frame();
    taller.size.height = 150;
    content.setFrame(taller);
    EXPECT_EQ(window.height(), 150);
    EXPECT_EQ(view.bottom(), 60.0f);                     // moved up with the top edge
    EXPECT_EQ(child->geometry(), QRect(75, 60, 50, 30)); // same distance to the top
}

// Under a real X server: a screenshot of the panel, kept for the README.
TEST_F(AlertPanel, ScreenshotShowsTextAndButtonsInsideWithoutOverlap) {
    if (QGuiApplication::platformName() != "xcb") {
        GTEST_SKIP() << "needs an X server (the Xvfb run of this test)";
    }
    Open("Quorvel is about to be installed on this computer. The installer will copy the "
         "application and its support files, and may ask for your password. Do you want to "
         "continue?",
         "Continue");
    QWidget* window = alert->window();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    QTest::qWait(200); // let the first paint reach the screen
    const QRect inside(0, 0, window->width(), window->height());
    const QRect text = window->findChild<QLabel*>("messageTextField")->geometry();
    const QRect ok = window->findChild<QPushButton*>("defaultButton")->geometry();
    const QRect no = window->findChild<QPushButton*>("alternateButton")->geometry();
    EXPECT_TRUE(inside.contains(text) && inside.contains(ok) && inside.contains(no));
    EXPECT_FALSE(text.intersects(ok) || text.intersects(no) || ok.intersects(no));

    const QRect frame = window->frameGeometry().adjusted(-12, -12, 12, 12);
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(
        0, frame.x(), frame.y(), frame.width(), frame.height());
    ASSERT_FALSE(shot.isNull());
    EXPECT_TRUE(shot.save(QString::fromStdString(QUORVEL_SCREENSHOT)));
    const QImage image = shot.toImage();
    const QPoint offset = window->geometry().topLeft() - frame.topLeft();
    const QColor background = image.pixelColor(offset + QPoint(5, 5));
    int drawn = 0;
    for (int x = ok.left(); x <= ok.right(); ++x) {
        drawn += image.pixelColor(offset + QPoint(x, ok.center().y())) != background;
    }
    EXPECT_GT(drawn, ok.width() / 2); // the button is on screen
}

} // namespace
