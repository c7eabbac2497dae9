#include "shell/AppDelegate.h"

#include <utility>

namespace kasto {

void AppDelegate::finishStop(bool reveal, std::function<void()> done) {
    if (!isRecording_) return;
    isRecording_ = false;
    isBusy_ = true;
    worker_.async([this, reveal, done = std::move(done)]() mutable {
        auto file = recorder_.stop();
        mainQueue_->async([this, reveal, file = std::move(file), done = std::move(done)] {
            takeFinished(file, reveal);
            if (done) done();
        });
    });
}

// The file is whole and in the default folder here.
void AppDelegate::takeFinished(const std::optional<std::filesystem::path>&, bool) { becomeIdle(); }

}  // namespace kasto
