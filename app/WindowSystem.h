// What the app needs of a window system, with no toolkit in sight: the alert
// panel and an event loop to wait in. Four of them ask the question, the
// first that can being used:
//   1. debconf, under a Debian package manager (DebconfWindowSystem.cpp);
//   2. the Qt panel, on a display that really opens: a plug-in
//      (Contents/PlugIns/libquorvel_panel.so) loaded only when a panel must
//      be shown, so runs that show nothing never start Qt;
//   3. the controlling terminal;
//   4. nobody: the question is declined.
#pragma once

#include <memory>
#include <string>

// The app's answers to what happens in the window system.
class AlertActions {
public:
    virtual ~AlertActions() = default;
    // A button of the panel was pressed; `sender` is that button.
    virtual void closeAlertPanel(const void* sender) = 0;
    // The user asked to quit (close button, Ctrl+Q).
    virtual void terminate(const void* sender) = 0;
};

// The question panel.
class AlertPanel {
public:
    virtual ~AlertPanel() = default;
    // Lays out and shows the question; no alternate button when
    // `alternateTitle` is null.
    virtual void openAlert(const std::string& message, const std::string& defaultTitle,
                           const std::string* alternateTitle) = 0;
    // The panel's title, set before it opens.
    virtual void setTitle(const std::string& title) = 0;
    // Takes the question away once it is answered.
    virtual void closeAlert() = 0;
    // The default button, compared by identity with a sender.
    virtual const void* defaultButton() const = 0;
};

// One way of asking: its panel and the loop that waits for the answer.
class WindowSystem {
public:
    virtual ~WindowSystem() = default;
    // The question's panel, made with the window system.
    virtual AlertPanel& alertPanel() = 0;
    // Handles events until `stop`.
    virtual void run() = 0;
    // Ends `run`; called when the application terminates.
    virtual void stop() = 0;
};

// The entry point of the Qt plug-in: null when no display opens.
extern "C" WindowSystem* QuorvelCreateQtWindowSystem(AlertActions* actions);
// The type of that entry point, as looked up in the loaded plug-in.
using CreateWindowSystemFunction = WindowSystem* (*)(AlertActions*);

// The question through debconf when a Debian package manager started the
// app and debconf answers; null otherwise.
std::unique_ptr<WindowSystem> CreateDebconfWindowSystem(AlertActions* actions);

// The question on the controlling terminal (message, then the two titles,
// the default on Enter). With no terminal, or when nobody may be asked
// (DEBIAN_FRONTEND=noninteractive), it declines at once. `note`, when not
// empty, is logged after the question was asked (why no panel showed).
std::unique_ptr<WindowSystem> CreateTerminalWindowSystem(AlertActions* actions,
                                                         std::string note = "");
