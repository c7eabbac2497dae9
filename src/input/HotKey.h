#pragma once

#include "platform/HotKeyService.h"

#include <functional>
#include <memory>

namespace kasto {

// One system-wide key combination. Main thread. Destruction releases the combination for other programs.
class HotKey {
public:
    // Null when the combination cannot be registered. The service must outlive the result.
    static std::unique_ptr<HotKey> make(HotKeyService& service, const KeyChord& chord);

    HotKey(const HotKey&) = delete;
    HotKey& operator=(const HotKey&) = delete;

    // Called on the main thread once per press.
    std::function<void()> onPress;

private:
    HotKey() = default;
    std::unique_ptr<HotKeyRegistration> ref_;
};

}  // namespace kasto
