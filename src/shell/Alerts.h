#pragma once

#include <QMessageBox>
#include <QPointer>
#include <string>
#include <vector>

namespace kasto {

class OwnWindows;

// Shows messages in a window of their own, one at a time, kept out of takes. The event loop goes on
// meanwhile, so that the program can still be told to quit. Main thread.
class Alerts {
public:
    // `ownWindows` outlives it.
    explicit Alerts(OwnWindows& ownWindows) : ownWindows_(ownWindows) {}

    // Closes what is shown.
    ~Alerts() { close(); }

    Alerts(const Alerts&) = delete;
    Alerts& operator=(const Alerts&) = delete;

    // Shows a message in the place of the one before. The first button is the default one, the last what
    // Escape means. The result is gone when the user has answered.
    QMessageBox& show(const std::string& message, const std::string& informativeText,
                      const std::vector<std::string>& buttons);

    void close() { delete alert_; }

private:
    OwnWindows& ownWindows_;
    QPointer<QMessageBox> alert_;
};

}  // namespace kasto
