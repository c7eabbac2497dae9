#pragma once

#include <mutex>
#include <utility>

namespace kasto {

// A value together with its mutex: the value can be accessed only while the mutex is held.
template <class T>
class Guarded {
public:
    Guarded() = default;
    explicit Guarded(T value) : value_(std::move(value)) {}

    // Calls f(value) with the mutex held and returns its result. Must not be called from within `f`.
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

    // A copy of the value.
    T copy() const {
        const std::scoped_lock held(mutex_);
        return value_;
    }

    // Replaces the value. The former one is destroyed after the mutex is released.
    void set(T value) {
        const std::scoped_lock held(mutex_);
        std::swap(value_, value);
    }

private:
    mutable std::mutex mutex_;
    T value_{};
};

}  // namespace kasto
