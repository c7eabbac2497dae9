#pragma once

#include <mutex>
#include <utility>

namespace kasto {

// A value and the lock that guards it, in one: the value cannot be reached without the lock.
template <class T>
class Guarded {
public:
    Guarded() = default;
    explicit Guarded(T value) : value_(std::move(value)) {}

    // Calls `f` with the value while the lock is held, and hands its result on. Not re-entrant.
    template <class F>
    decltype(auto) with(F&& f) {
        const std::scoped_lock held(mutex_);
        return std::forward<F>(f)(value_);
    }
    template <class F>
    decltype(auto) with(F&& f) const {
        const std::scoped_lock held(mutex_);
        return std::forward<F>(f)(value_);
    }

    // A copy of the value, taken under the lock.
    T copy() const {
        const std::scoped_lock held(mutex_);
        return value_;
    }

    // Replaces the value; the former one is destroyed after the lock is released.
    void set(T value) {
        const std::scoped_lock held(mutex_);
        std::swap(value_, value);
    }

private:
    mutable std::mutex mutex_;
    T value_{};
};

}  // namespace kasto
