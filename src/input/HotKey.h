#pragma once

#include "platform/HotKeyService.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace kasto {

// One system-wide key combination. Main thread; destruction gives the combination free.
class HotKey {
public:
    static constexpr std::uint32_t kCommand = 0x0100;
    static constexpr std::uint32_t kShift = 0x0200;
    static constexpr std::uint32_t kOption = 0x0800;
    static constexpr std::uint32_t kControl = 0x1000;
    static constexpr std::uint32_t kKeyR = 15;

    // `keyCode` numbers a letter key (kKeyR), `modifiers` adds up the values above. Null when the combination
    // cannot be registered. The service must outlive the result.
    static std::unique_ptr<HotKey> make(HotKeyService& service, std::uint32_t keyCode,
                                        std::uint32_t modifiers);

    HotKey(const HotKey&) = delete;
    HotKey& operator=(const HotKey&) = delete;

    // Called on the main thread once per press.
    std::function<void()> onPress;

private:
    HotKey() = default;
    std::unique_ptr<HotKeyRegistration> ref_;
};

}  // namespace kasto
