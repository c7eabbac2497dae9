#pragma once

#include <pipewire/pipewire.h>

#include <cstdint>
#include <ctime>
#include <memory>

namespace kasto::pipewire {

struct LoopSourceDeleter {
    pw_loop* loop = nullptr;
    void operator()(spa_source* source) const { pw_loop_destroy_source(loop, source); }
};

// An event or a timer of a PipeWire loop. Made and destroyed with the connection's lock held.
using LoopSource = std::unique_ptr<spa_source, LoopSourceDeleter>;

// Calls `member` of the object on the loop's thread after pw_loop_signal_event(). Signals that come before
// the call are merged into one.
template <auto member, class T>
LoopSource loopEvent(pw_loop* loop, T* object) {
    const auto call = [](void* data, std::uint64_t) { (static_cast<T*>(data)->*member)(); };
    return {pw_loop_add_event(loop, call, object), {loop}};
}

// Calls `member` of the object on the loop's thread every `seconds` seconds.
template <auto member, class T>
LoopSource loopTimer(pw_loop* loop, T* object, std::time_t seconds) {
    const auto call = [](void* data, std::uint64_t) { (static_cast<T*>(data)->*member)(); };
    LoopSource timer(pw_loop_add_timer(loop, call, object), {loop});
    timespec interval{seconds, 0};
    if (timer) pw_loop_update_timer(loop, timer.get(), &interval, &interval, false);
    return timer;
}

}  // namespace kasto::pipewire
