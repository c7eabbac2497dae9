#pragma once

#include "platform/Multitouch.h"

#include <memory>
#include <vector>

namespace kasto::evdev {

// The touchpads of the kernel's input devices. Nothing is grabbed. While one is started, a thread of its own
// reads them, follows those that come and go, and opens one again that was revoked.
class EvdevMultitouch : public Multitouch {
public:
    EvdevMultitouch();
    ~EvdevMultitouch() override;

    // Null when there are touchpads and none of them may be read.
    std::unique_ptr<MTDeviceList> createList() override;
    void registerCB(void* device, MTContactCallback callback) override;
    void unregisterCB(void* device, MTContactCallback callback) override;
    void start(void* device, std::int32_t mode) override;
    void stop(void* device) override;

private:
    struct Pad;
    class List;
    class Reader;

    template <class Edit>
    void change(void* device, Edit&& edit);

    std::vector<std::weak_ptr<Pad>> pads_;  // of the newest list, which keeps them open
    std::unique_ptr<Reader> reader_;        // while a pad is started
};

}  // namespace kasto::evdev
