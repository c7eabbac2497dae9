#pragma once

#include "base/Result.h"

#include <functional>
#include <memory>

namespace kasto::freedesktop {

// Turns SIGINT, SIGTERM and SIGHUP into calls of `onQuit` from the main thread's event loop. Only one may
// exist at a time. Its destructor restores the former signal handlers. Main thread.
class QuitSignals {
public:
    static Result<std::unique_ptr<QuitSignals>> install(std::function<void()> onQuit);
    ~QuitSignals();

private:
    class Wake;
    explicit QuitSignals(std::unique_ptr<Wake> wake);
    std::unique_ptr<Wake> wake_;
};

}  // namespace kasto::freedesktop
