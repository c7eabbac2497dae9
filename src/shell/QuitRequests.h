#pragma once

#include <QObject>
#include <functional>

namespace kasto {

// Wishes of the desktop that the program ends: Qt's Quit event, which stands for the end of a session too.
// They become a call instead of the end of the event loop, because a take has to be finished first. A session
// that is only saved, or whose end is cancelled, sends none. Main thread, while the application object lives.
class QuitRequests final : private QObject {
public:
    explicit QuitRequests(std::function<void()> onQuit);

private:
    bool eventFilter(QObject* object, QEvent* event) override;

    const std::function<void()> onQuit_;
};

}  // namespace kasto
