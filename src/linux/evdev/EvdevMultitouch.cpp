#include "linux/evdev/EvdevMultitouch.h"

#include "base/FileDescriptor.h"
#include "base/MediaClock.h"
#include "base/Thread.h"
#include "linux/evdev/Touchpad.h"
#include "linux/evdev/TouchpadWatch.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>
#include <utility>

namespace kasto::evdev {

namespace {

// A pad tells changes only, but fingers that rest are to be seen as resting.
constexpr int kRepeatMs = 20;
constexpr int kReopenMs = 1000;

}  // namespace

// Belongs to the reader's thread while there is one, else to the main thread.
struct EvdevMultitouch::Pad {
    std::string path;
    std::unique_ptr<Touchpad> touchpad;  // none while it is lost
    MTContactCallback callback = nullptr;
    bool isStarted = false;
    std::uint32_t frames = 0;

    bool open(const std::string& node) {
        auto opened = Touchpad::open(node);
        if (!opened) return false;
        path = node;
        touchpad = std::move(*opened);
        return true;
    }
    void report(const void* contacts, std::size_t count, double timeS) {
        const auto frame = static_cast<std::int32_t>(++frames & 0x7fffffffU);
        if (callback && isStarted) callback(this, contacts, static_cast<std::int32_t>(count), timeS, frame);
    }
    Touchpad::Report reporter() {
        return
            [this](const auto& contacts, double timeS) { report(contacts.data(), contacts.size(), timeS); };
    }
};

class EvdevMultitouch::List : public MTDeviceList {
public:
    explicit List(std::vector<std::shared_ptr<Pad>> pads) : pads_(std::move(pads)) {
        for (const auto& pad : pads_) devices_.push_back(pad.get());
    }
    const std::vector<void*>& devices() const override { return devices_; }

private:
    std::vector<std::shared_ptr<Pad>> pads_;
    std::vector<void*> devices_;
};

class EvdevMultitouch::Reader {
public:
    explicit Reader(std::vector<std::shared_ptr<Pad>> pads)
        : pads_(std::move(pads)), stop_(eventfd(0, EFD_CLOEXEC)) {
        if (stop_) thread_ = std::thread([this] { run(); });
    }
    ~Reader() {
        if (!thread_.joinable()) return;
        eventfd_write(stop_.get(), 1);
        thread_.join();
    }

private:
    void run() {
        nameThread("touchpad");
        setThreadPriority(ThreadPriority::userInteractive);
        for (const auto& path : watch_.present()) adopt(path);
        while (true) {
            waits_.assign({{stop_.get(), POLLIN, 0}, {watch_.fd(), POLLIN, 0}});
            for (const auto& pad : pads_)
                waits_.push_back({pad->touchpad ? pad->touchpad->fd() : -1, POLLIN, 0});
            const int ready = poll(waits_.data(), waits_.size(), timeoutMs());
            if (ready < 0 && errno != EINTR) return;
            if (waits_[0].revents != 0) return;
            for (std::size_t i = 0; i < pads_.size(); ++i)
                if (ready > 0 && waits_[i + 2].revents != 0) read(*pads_[i]);
            if (ready == 0) idle();
            while (const auto path = watch_.nextAdded()) adopt(*path);
        }
    }

    int timeoutMs() const {
        if (std::ranges::any_of(pads_,
                                [](const auto& p) { return p->touchpad && p->touchpad->hasFingers(); }))
            return kRepeatMs;
        if (std::ranges::any_of(pads_, [](const auto& p) { return !p->touchpad; })) return kReopenMs;
        return -1;
    }

    static void read(Pad& pad) {
        if (pad.touchpad->read(pad.reporter())) return;
        pad.touchpad.reset();
        pad.report(nullptr, 0, mediaClockNow());
    }

    void idle() {
        for (const auto& pad : pads_) {
            if (pad->touchpad && pad->touchpad->hasFingers()) pad->touchpad->repeat(pad->reporter());
            // It may be back without having gone: access is revoked and given again with the session.
            if (!pad->touchpad) pad->open(pad->path);
        }
    }

    // A touchpad that has come takes the place of one that is lost, else it joins the others.
    void adopt(const std::string& path) {
        const auto known = [&](const auto& pad) { return pad->touchpad && pad->path == path; };
        if (std::ranges::any_of(pads_, known)) return;
        const auto lost = std::ranges::find_if(pads_, [](const auto& pad) { return !pad->touchpad; });
        if (lost != pads_.end()) {
            (*lost)->open(path);
            return;
        }
        const auto other = std::ranges::find_if(pads_, &Pad::isStarted);
        if (other == pads_.end()) return;
        auto guest = std::make_shared<Pad>();
        guest->callback = (*other)->callback;
        guest->isStarted = true;
        if (guest->open(path)) pads_.push_back(std::move(guest));
    }

    std::vector<std::shared_ptr<Pad>> pads_;
    FileDescriptor stop_;
    TouchpadWatch watch_;
    std::vector<pollfd> waits_;
    std::thread thread_;
};

EvdevMultitouch::EvdevMultitouch() = default;

EvdevMultitouch::~EvdevMultitouch() = default;

std::unique_ptr<MTDeviceList> EvdevMultitouch::createList() {
    reader_.reset();
    const auto paths = TouchpadWatch().present();
    std::vector<std::shared_ptr<Pad>> pads;
    for (const auto& path : paths) {
        auto pad = std::make_shared<Pad>();
        if (pad->open(path)) pads.push_back(std::move(pad));
    }
    if (pads.empty() && !paths.empty()) return nullptr;
    pads_.assign(pads.begin(), pads.end());
    return std::make_unique<List>(std::move(pads));
}

// The reader rests while something about a pad changes.
template <class Edit>
void EvdevMultitouch::change(void* device, Edit&& edit) {
    reader_.reset();
    std::vector<std::shared_ptr<Pad>> pads;
    for (const auto& known : pads_)
        if (auto pad = known.lock()) pads.push_back(std::move(pad));
    for (const auto& pad : pads)
        if (pad.get() == device) edit(*pad);
    if (std::ranges::any_of(pads, &Pad::isStarted)) reader_ = std::make_unique<Reader>(std::move(pads));
}

void EvdevMultitouch::registerCB(void* device, MTContactCallback callback) {
    change(device, [&](Pad& pad) { pad.callback = callback; });
}

void EvdevMultitouch::unregisterCB(void* device, MTContactCallback callback) {
    change(device, [&](Pad& pad) {
        if (pad.callback == callback) pad.callback = nullptr;
    });
}

void EvdevMultitouch::start(void* device, std::int32_t) {
    change(device, [](Pad& pad) { pad.isStarted = true; });
}

void EvdevMultitouch::stop(void* device) {
    change(device, [](Pad& pad) { pad.isStarted = false; });
}

}  // namespace kasto::evdev
