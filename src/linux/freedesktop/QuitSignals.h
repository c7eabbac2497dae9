#pragma once

#include "base/Result.h"

#include <functional>
#include <memory>

namespace kasto::freedesktop {

// Turns signals into calls from the main thread's event loop: SIGINT, SIGTERM and SIGHUP into calls of
// `onQuit`, and every SIGINT or SIGTERM after the first one into a call of `onInsist` too. Only one may exist
// at a time. Its destructor restores the former signal handlers. Main thread.
class QuitSignals {
public:
    static Result<std::unique_ptr<QuitSignals>> install(std::function<void()> onQuit,
                                                        std::function<void()> onInsist);
    ~QuitSignals();

private:
    class Wake;
    explicit QuitSignals(std::unique_ptr<Wake> wake);
    std::unique_ptr<Wake> wake_;
};

}  // namespace kasto::freedesktop
