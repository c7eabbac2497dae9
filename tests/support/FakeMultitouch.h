#pragma once

#include "platform/Multitouch.h"

#include <vector>

namespace kasto::test {

// Touchpads that a test touches.
struct FakeMultitouch : Multitouch {
    struct List : MTDeviceList {
        explicit List(std::vector<void*> listed) : pads(std::move(listed)) {}
        const std::vector<void*>& devices() const override { return pads; }
        std::vector<void*> pads;
    };

    bool unavailable = false;
    std::vector<void*> pads;
    std::vector<void*> started;
    MTContactCallback callback = nullptr;

    // A frame of fingers in the state given.
    void touch(const std::vector<MTContact>& contacts, double t) const {
        if (callback) callback(pads.at(0), contacts.data(), static_cast<std::int32_t>(contacts.size()), t, 0);
    }

    std::unique_ptr<MTDeviceList> createList() override {
        return unavailable ? nullptr : std::make_unique<List>(pads);
    }
    void registerCB(void*, MTContactCallback registered) override { callback = registered; }
    void unregisterCB(void*, MTContactCallback) override { callback = nullptr; }
    void start(void* device, std::int32_t) override { started.push_back(device); }
    void stop(void* device) override { std::erase(started, device); }
};

}  // namespace kasto::test
