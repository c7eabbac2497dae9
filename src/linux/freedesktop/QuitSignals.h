#pragma once

#include "base/Result.h"

#include <functional>
#include <memory>

namespace kasto::freedesktop {

// Turns SIGINT, SIGTERM and SIGHUP into a call on the main thread's event loop. One at a time; its end
// restores what the signals did before.
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
