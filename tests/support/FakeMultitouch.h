#pragma once

#include "platform/Multitouch.h"

#include <algorithm>
#include <string>
#include <vector>

namespace kasto::test {

// Touchpads that a test touches. Keeps what it was asked, in order: "register 1", "start 1 mode 0", …
struct FakeMultitouch : Multitouch {
    struct List : MTDeviceList {
        explicit List(std::vector<void*> listed) : pads(std::move(listed)) {}
        const std::vector<void*>& devices() const override { return pads; }
        std::vector<void*> pads;
    };

    bool unavailable = false;
    std::vector<void*> pads;
    std::vector<std::string> calls;
    MTContactCallback callback = nullptr;

    // A frame of fingers in the state given.
    void touch(const std::vector<MTContact>& contacts, double t) const {
        if (callback) callback(pads.at(0), contacts.data(), static_cast<std::int32_t>(contacts.size()), t, 0);
    }

    std::unique_ptr<MTDeviceList> createList() override {
        return unavailable ? nullptr : std::make_unique<List>(pads);
    }
    void registerCB(void* device, MTContactCallback registered) override {
        note("register", device);
        callback = registered;
    }
    void unregisterCB(void* device, MTContactCallback) override {
        note("unregister", device);
        callback = nullptr;
    }
    void start(void* device, std::int32_t mode) override {
        note("start", device, " mode " + std::to_string(mode));
    }
    void stop(void* device) override { note("stop", device); }

private:
    void note(const std::string& what, void* device, const std::string& more = "") {
        const auto at = std::ranges::find(pads, device) - pads.begin();
        calls.push_back(what + " " + std::to_string(at) + more);
    }
};

}  // namespace kasto::test
