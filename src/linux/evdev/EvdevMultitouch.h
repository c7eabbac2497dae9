#pragma once

#include "platform/Multitouch.h"

#include <functional>
#include <memory>

namespace kasto::evdev {

class TouchpadSource;

// The touchpads of the kernel's input devices. Nothing is grabbed. A reading has a thread of its own, which
// also opens touchpads that are plugged in, and reopens those the session lost access to for a while.
class EvdevMultitouch : public Multitouch {
public:
    using MakeSource = std::function<std::unique_ptr<TouchpadSource>()>;

    // Takes the touchpads from the device manager.
    EvdevMultitouch();
    // Takes them from another source, one for each reading.
    explicit EvdevMultitouch(MakeSource makeSource);

    std::unique_ptr<MultitouchReading> read(OnFrame onFrame) override;

private:
    class Reading;
    const MakeSource makeSource_;
};

}  // namespace kasto::evdev
