// What the app needs of a window system, with no toolkit in sight: the alert
// panel and an event loop to wait in. The Qt implementation lives in a
// plug-in (Contents/PlugIns/libquorvel_panel.so) that is loaded only when a
// panel must be shown, so runs that show nothing never start Qt. Without a
// display the question is asked on the terminal instead.
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
    virtual void closeAlert() = 0;
    // The default button, compared by identity with a sender.
    virtual const void* defaultButton() const = 0;
};

class WindowSystem {
public:
    virtual ~WindowSystem() = default;
    virtual AlertPanel& alertPanel() = 0;
    // Handles events until `stop`.
    virtual void run() = 0;
    virtual void stop() = 0;
};

// The entry point of the Qt plug-in.
extern "C" WindowSystem* QuorvelCreateQtWindowSystem(AlertActions* actions);
using CreateWindowSystemFunction = WindowSystem* (*)(AlertActions*);

// The question on the controlling terminal (message, then the two titles,
// the default on Enter). With no terminal either it declines at once.
std::unique_ptr<WindowSystem> CreateTerminalWindowSystem(AlertActions* actions);
