#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace kasto {

// One finger of a contact frame.
struct MTContact {
    static constexpr std::int32_t kHovering = 2;  // near the pad, or a palm
    static constexpr std::int32_t kMakingTouch = 3;
    static constexpr std::int32_t kTouching = 4;
    static constexpr std::int32_t kBreakingTouch = 5;

    std::array<std::byte, 20> unusedBefore{};
    std::int32_t state = 0;
    std::array<std::byte, 8> unusedBetween{};
    float x = 0;  // 0 at the pad's left edge to 1 at its right one
    float y = 0;  // 0 at its lower edge, the one next to the user, to 1
    std::array<std::byte, 56> unusedAfter{};
};
static_assert(sizeof(MTContact) == 96 && offsetof(MTContact, state) == 20);
static_assert(offsetof(MTContact, x) == 32 && offsetof(MTContact, y) == 36);

// A contact frame: `count` consecutive contacts, its time on a monotonic clock in seconds and a running
// number. No contacts at all end whatever the fingers were doing. Called on a thread of the maker's.
using MTContactCallback = std::int32_t (*)(void* device, const void* contacts, std::int32_t count,
                                           double timestampS, std::int32_t frame);

// The touchpads of one moment; they stay usable while this lives.
class MTDeviceList {
public:
    virtual ~MTDeviceList() = default;
    virtual const std::vector<void*>& devices() const = 0;
};

// Raw contacts of the touchpads, which go on working for everybody else. Main thread; the maker outlives its
// lists.
class Multitouch {
public:
    virtual ~Multitouch() = default;

    // Null when contacts cannot be read here; an empty list when there is no touchpad.
    virtual std::unique_ptr<MTDeviceList> createList() = 0;

    // Frames of a started device go to its callback. A touchpad that is plugged in while others are started
    // reports to the callback of one of them.
    virtual void registerCB(void* device, MTContactCallback callback) = 0;
    virtual void unregisterCB(void* device, MTContactCallback callback) = 0;

    // `mode` is 0. A device that is lost (unplugged, or revoked while the system sleeps) reports one frame
    // without contacts and goes on when it is back.
    virtual void start(void* device, std::int32_t mode) = 0;

    // When the last started device is stopped, no frame is under way any more. Not from a callback.
    virtual void stop(void* device) = 0;
};

}  // namespace kasto
