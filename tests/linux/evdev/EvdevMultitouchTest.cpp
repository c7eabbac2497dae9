#include "base/Guarded.h"
#include "linux/evdev/EvdevMultitouch.h"
#include "linux/evdev/TouchpadSource.h"
#include "support/WaitUntil.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

namespace kasto::evdev {
namespace {

using test::waitUntil;

// Touchpads made of pipes, by path. What a test writes into a pipe is what the kernel would report.
struct Hardware {
    struct Device {
        FileDescriptor toPad;  // closing it unplugs the touchpad
        bool isReadable = true;
    };

    void plug(const std::string& path, bool isReadable = true) {
        devices.with([&](auto& all) { all[path].isReadable = isReadable; });
    }
    void announce(const std::string& path) {
        plug(path);
        added.with([&](auto& paths) { paths.push_back(path); });
        eventfd_write(news.get(), 1);
    }
    void unplug(const std::string& path) {
        devices.with([&](auto& all) { all[path].toPad = FileDescriptor(); });
    }
    bool isOpen(const std::string& path) {
        return devices.with([&](auto& all) { return static_cast<bool>(all[path].toPad); });
    }
    // One finger at x, or none where x is negative.
    void touch(const std::string& path, int x) {
        const std::array events{
            input_event{.time = {}, .type = EV_ABS, .code = ABS_MT_TRACKING_ID, .value = x < 0 ? -1 : 1},
            input_event{.time = {}, .type = EV_ABS, .code = ABS_MT_POSITION_X, .value = x},
            input_event{.time = {}, .type = EV_SYN, .code = SYN_REPORT, .value = 0}};
        devices.with([&](auto& all) {
            EXPECT_EQ(write(all[path].toPad.get(), events.data(), sizeof events), ssize_t(sizeof events));
        });
    }

    Guarded<std::map<std::string, Device>> devices;
    Guarded<std::vector<std::string>> added;
    FileDescriptor news{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
};

class PipeSource : public TouchpadSource {
public:
    explicit PipeSource(Hardware& hardware) : hardware_(hardware) {}

    std::vector<std::string> present() const override {
        return hardware_.devices.with([](const auto& all) {
            std::vector<std::string> paths;
            for (const auto& [path, device] : all) paths.push_back(path);
            return paths;
        });
    }
    int fd() const override { return hardware_.news.get(); }
    std::optional<std::string> nextAdded() override {
        eventfd_t count = 0;
        eventfd_read(fd(), &count);
        return hardware_.added.with([](auto& paths) -> std::optional<std::string> {
            if (paths.empty()) return std::nullopt;
            const auto path = paths.front();
            paths.erase(paths.begin());
            return path;
        });
    }
    Result<std::unique_ptr<Touchpad>> open(const std::string& path) const override {
        return hardware_.devices.with([&](auto& all) -> Result<std::unique_ptr<Touchpad>> {
            auto& device = all.at(path);
            std::array<int, 2> ends{};
            if (!device.isReadable || pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC) != 0)
                return failure(path + " may not be read");
            device.toPad = FileDescriptor(ends[1]);
            return std::make_unique<Touchpad>(FileDescriptor(ends[0]),
                                              TouchpadShape{.x = {0, 100}, .y = {0, 100}, .slots = 2});
        });
    }

private:
    Hardware& hardware_;
};

class EvdevMultitouchTest : public testing::Test {
protected:
    void read() {
        reading = multitouch.read([this](std::span<const Contact> contacts, double timeS) {
            frames.with([&](auto& all) { all.push_back({{contacts.begin(), contacts.end()}, timeS}); });
        });
    }
    // True if a frame comes, from now on, whose only finger is at x hundredths; or one without fingers.
    bool sees(int x) {
        return waitUntil([&] {
            return frames.with([&](const auto& all) {
                return std::ranges::any_of(all, [&](const auto& frame) {
                    const auto& contacts = frame.first;
                    return x < 0 ? contacts.empty()
                                 : contacts.size() == 1 && std::lround(contacts[0].x * 100) == x;
                });
            });
        });
    }
    bool touchIsSeen(const std::string& path, int x) {
        frames.set({});
        hardware.touch(path, x);
        return sees(x);
    }

    Hardware hardware;
    EvdevMultitouch multitouch{[this] { return std::make_unique<PipeSource>(hardware); }};
    Guarded<std::vector<std::pair<std::vector<Contact>, double>>> frames;
    std::unique_ptr<MultitouchReading> reading;
};

TEST_F(EvdevMultitouchTest, ReadsEveryTouchpadAndRepeatsFingersThatRest) {
    hardware.plug("a");
    hardware.plug("b");
    hardware.plug("without permission", false);
    read();
    ASSERT_TRUE(reading);
    EXPECT_EQ(reading->touchpadCount(), 2u);
    EXPECT_TRUE(touchIsSeen("a", 10));
    frames.set({});
    EXPECT_TRUE(sees(10)) << "a finger that rests is repeated";
    hardware.touch("a", -1);
    EXPECT_TRUE(touchIsSeen("b", 20));
}

TEST_F(EvdevMultitouchTest, FollowsTouchpadsThatComeAndGo) {
    read();
    ASSERT_TRUE(reading) << "no touchpad yet";
    EXPECT_EQ(reading->touchpadCount(), 0u);
    hardware.announce("a");
    ASSERT_TRUE(waitUntil([&] { return hardware.added.copy().empty(); }));
    EXPECT_TRUE(touchIsSeen("a", 10));
    hardware.announce("a");  // known and open: nothing changes
    ASSERT_TRUE(waitUntil([&] { return hardware.added.copy().empty(); }));
    EXPECT_TRUE(touchIsSeen("a", 20));

    frames.set({});
    hardware.unplug("a");
    EXPECT_TRUE(sees(-1)) << "losing a touchpad ends what its fingers were doing";
    EXPECT_TRUE(waitUntil([&] { return hardware.isOpen("a"); })) << "it is opened again when that works";
    EXPECT_TRUE(touchIsSeen("a", 30));
}

TEST_F(EvdevMultitouchTest, IsUnavailableWhereNoTouchpadMayBeRead) {
    hardware.plug("without permission", false);
    read();
    EXPECT_FALSE(reading);
}

}  // namespace
}  // namespace kasto::evdev
