#pragma once

#include "platform/Desktop.h"

#include <QTimer>
#include <functional>

namespace kasto {

class Alerts;

// The right to record the screen: asks the user for it, explains what to do, and starts the program anew when
// it is granted. Main thread.
class ScreenAccessWatch {
public:
    // Desktop services and alerts outlive it. `terminate` ends the program; it is called once, after a new
    // start of the program has been asked for.
    ScreenAccessWatch(const Desktop& desktop, Alerts& alerts, std::function<void()> terminate);

    bool isGranted() const;

    // At launch: asks for the right where it is missing, and waits for it.
    void askIfMissing();

    // Before a take: true if the right is granted. Else asks for it, waits for it and shows an alert.
    bool isGrantedElseExplain();

    // Opens the desktop's settings where the right is granted, if it has such a page.
    void openPrivacyPane();

private:
    void startPermissionWatch();
    void permissionTick();
    void permissionAlert();

    const Desktop desktop_;
    Alerts& alerts_;
    const std::function<void()> terminate_;
    QTimer permissionTimer_;  // runs while the right is waited for
};

}  // namespace kasto
