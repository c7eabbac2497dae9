#include "linux/evdev/Touchpad.h"

#include "base/MediaClock.h"

#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <utility>

namespace kasto::evdev {

namespace {

constexpr std::size_t kEventsPerRead = 64;

struct FreeEvdev {
    void operator()(libevdev* device) const { libevdev_free(device); }
};

AxisRange rangeOf(const libevdev* device, unsigned axis) {
    return {libevdev_get_abs_minimum(device, axis), libevdev_get_abs_maximum(device, axis)};
}

bool isTouchpad(const libevdev* device) {
    return libevdev_has_event_code(device, EV_ABS, ABS_MT_POSITION_X) &&
           libevdev_has_event_code(device, EV_ABS, ABS_MT_POSITION_Y) &&
           libevdev_has_event_code(device, EV_KEY, BTN_TOOL_FINGER) &&
           !libevdev_has_property(device, INPUT_PROP_DIRECT);
}

// True if a finger presses harder than the pressure axis's minimum exactly while it touches. On a touchpad
// that measures force, a light touch may report none.
bool pressureTellsTouch(const libevdev* device) {
    constexpr unsigned kPressurePad = 0x07;  // INPUT_PROP_PRESSUREPAD, which older kernel headers lack
    const bool isForce = libevdev_get_abs_resolution(device, ABS_MT_PRESSURE) > 0 ||
                         libevdev_has_property(device, kPressurePad) != 0;
    const bool measuresSize = libevdev_has_event_code(device, EV_ABS, ABS_MT_TOUCH_MAJOR) != 0;
    return libevdev_has_event_code(device, EV_ABS, ABS_MT_PRESSURE) != 0 && !isForce && !measuresSize;
}

Result<TouchpadShape> readShape(int fd, const std::string& path) {
    libevdev* opened = nullptr;
    if (const int error = libevdev_new_from_fd(fd, &opened); error != 0)
        return std::unexpected(systemError(path, -error));
    const std::unique_ptr<libevdev, FreeEvdev> device(opened);
    if (!isTouchpad(device.get())) return failure(path + " is no multi-touch touchpad");
    const auto shape = shapeOf(device.get());
    if (shape.x.minimum >= shape.x.maximum || shape.y.minimum >= shape.y.maximum)
        return failure(path + " has no size");
    return shape;
}

// Reads one axis of all slots into a field, given as a pointer to that member. The field stays as it is when
// the touchpad lacks the axis.
template <class Field>
void readSlots(int fd, int axis, Field field, std::vector<Slot>& slots) {
    struct {
        std::int32_t code;
        std::array<std::int32_t, ContactDecoder::kMaxContacts> values;
    } request{axis, {}};
    if (ioctl(fd, EVIOCGMTSLOTS(sizeof(request)), &request) < 0) return;
    for (std::size_t i = 0; i < slots.size(); ++i) slots[i].*field = request.values[i];
}

int countedFingers(int fd) {
    std::array<std::uint8_t, KEY_CNT / 8> keys{};
    if (ioctl(fd, EVIOCGKEY(keys.size()), keys.data()) < 0) return 0;
    const auto down = [&](std::size_t key) { return (keys[key / 8] >> (key % 8) & 1) != 0; };
    const std::size_t tools[] = {BTN_TOOL_QUINTTAP, BTN_TOOL_QUADTAP, BTN_TOOL_TRIPLETAP, BTN_TOOL_DOUBLETAP,
                                 BTN_TOOL_FINGER};
    for (int i = 0; i < 5; ++i)
        if (down(tools[i])) return 5 - i;
    return 0;
}

double timeOf(const input_event& event) {
    return static_cast<double>(event.input_event_sec) + static_cast<double>(event.input_event_usec) * 1e-6;
}

}  // namespace

TouchpadShape shapeOf(const libevdev* device) {
    return {.x = rangeOf(device, ABS_MT_POSITION_X),
            .y = rangeOf(device, ABS_MT_POSITION_Y),
            .slots = std::clamp(libevdev_get_num_slots(device), 0, ContactDecoder::kMaxContacts),
            .pressureTellsTouch = pressureTellsTouch(device),
            .noPressure = libevdev_get_abs_minimum(device, ABS_MT_PRESSURE)};
}

Result<std::unique_ptr<Touchpad>> Touchpad::open(const std::string& path) {
    FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) return std::unexpected(systemError(path, errno));
    const auto shape = readShape(fd.get(), path);
    if (!shape) return std::unexpected(shape.error());
    int clock = CLOCK_MONOTONIC;
    if (ioctl(fd.get(), EVIOCSCLOCKID, &clock) < 0) return std::unexpected(systemError(path, errno));
    return std::make_unique<Touchpad>(std::move(fd), *shape);
}

Touchpad::Touchpad(FileDescriptor fd, const TouchpadShape& shape)
    : fd_(std::move(fd)), slotCount_(static_cast<std::size_t>(shape.slots)), decoder_(shape) {
    restore();
}

void Touchpad::restore() {
    std::vector<Slot> slots(slotCount_);
    readSlots(fd(), ABS_MT_TRACKING_ID, &Slot::trackingId, slots);
    readSlots(fd(), ABS_MT_POSITION_X, &Slot::x, slots);
    readSlots(fd(), ABS_MT_POSITION_Y, &Slot::y, slots);
    readSlots(fd(), ABS_MT_PRESSURE, &Slot::pressure, slots);
    readSlots(fd(), ABS_MT_DISTANCE, &Slot::distance, slots);
    readSlots(fd(), ABS_MT_TOOL_TYPE, &Slot::tool, slots);
    input_absinfo current{};
    if (ioctl(fd(), EVIOCGABS(ABS_MT_SLOT), &current) < 0) current.value = 0;
    decoder_.restore(slots, current.value, countedFingers(fd()));
}

bool Touchpad::read(const Report& report) {
    std::array<input_event, kEventsPerRead> events;
    while (true) {
        const auto bytes = ::read(fd(), events.data(), sizeof(events));
        if (bytes < 0 && errno == EINTR) continue;
        if (bytes < 0 && errno == EAGAIN) return true;
        if (bytes <= 0) return false;
        for (std::size_t i = 0; i < static_cast<std::size_t>(bytes) / sizeof(input_event); ++i) {
            const auto outcome = decoder_.take(events[i]);
            if (outcome == ContactDecoder::Outcome::stateLost) restore();
            if (outcome != ContactDecoder::Outcome::pending) report(decoder_.contacts(), timeOf(events[i]));
        }
    }
}

void Touchpad::repeat(const Report& report) {
    decoder_.repeat();
    report(decoder_.contacts(), mediaClockNow());
}

}  // namespace kasto::evdev
