#include "linux/evdev/ContactDecoder.h"

#include <algorithm>
#include <bit>

namespace kasto::evdev {

namespace {

using State = Contact::State;

// A value's place in a range, from 0 to 1; 0.5 if the range is empty.
double partOf(const AxisRange& range, int value) {
    const double span = static_cast<double>(range.maximum) - range.minimum;
    if (!(span > 0)) return 0.5;
    return std::clamp((static_cast<double>(value) - range.minimum) / span, 0.0, 1.0);
}

int fingersOfTool(int code) {
    switch (code) {
        case BTN_TOOL_FINGER:
            return 1;
        case BTN_TOOL_DOUBLETAP:
            return 2;
        case BTN_TOOL_TRIPLETAP:
            return 3;
        case BTN_TOOL_QUADTAP:
            return 4;
        case BTN_TOOL_QUINTTAP:
            return 5;
        default:
            return 0;
    }
}

}  // namespace

ContactDecoder::ContactDecoder(const TouchpadShape& shape)
    : shape_(shape), slots_(static_cast<std::size_t>(std::clamp(shape.slots, 0, kMaxContacts))) {
    listed_.reserve(kMaxContacts);
    contacts_.reserve(kMaxContacts);
}

ContactDecoder::Outcome ContactDecoder::take(const input_event& event) {
    if (event.type == EV_SYN) return takeSync(event.code);
    if (discards_) return Outcome::pending;
    if (event.type == EV_ABS) takeAxis(event.code, event.value);
    if (event.type == EV_KEY) takeTool(event.code, event.value != 0);
    return Outcome::pending;
}

ContactDecoder::Outcome ContactDecoder::takeSync(int code) {
    if (code == SYN_DROPPED) discards_ = true;
    if (discards_) {
        if (code != SYN_REPORT) return Outcome::pending;
        discards_ = false;
        return Outcome::stateLost;
    }
    if (code == SYN_MT_REPORT && slots_.empty()) {
        if (pending_.trackingId >= 0 && listed_.size() < kMaxContacts) listed_.push_back(pending_);
        pending_ = {};
    }
    if (code != SYN_REPORT) return Outcome::pending;
    return buildFrame() ? Outcome::frame : Outcome::pending;
}

void ContactDecoder::takeAxis(int code, int value) {
    if (code == ABS_MT_SLOT) {
        // An index without a slot: what follows for it is ignored.
        currentSlot_ = value < 0 ? slots_.size() : static_cast<std::size_t>(value);
        return;
    }
    if (!slots_.empty() && currentSlot_ >= slots_.size()) return;
    auto& slot = slots_.empty() ? pending_ : slots_[currentSlot_];
    switch (code) {
        case ABS_MT_TRACKING_ID:
            // Another finger took over the slot within one frame: it makes a new touch.
            if (value >= 0 && value != slot.trackingId) slot.wasTouching = false;
            slot.trackingId = value;
            break;
        case ABS_MT_POSITION_X:
            slot.x = value;
            break;
        case ABS_MT_POSITION_Y:
            slot.y = value;
            break;
        case ABS_MT_PRESSURE:
            slot.pressure = value;
            break;
        case ABS_MT_DISTANCE:
            slot.distance = value;
            break;
        case ABS_MT_TOOL_TYPE:
            slot.tool = value;
            break;
        default:
            return;
    }
    // Without slots a contact needs no tracking id: any axis value begins one.
    if (slots_.empty() && slot.trackingId < 0) slot.trackingId = 0;
}

void ContactDecoder::takeTool(int code, bool down) {
    const int fingers = fingersOfTool(code);
    if (fingers == 0) return;
    const unsigned bit = 1U << fingers;
    toolFingers_ = down ? toolFingers_ | bit : toolFingers_ & ~bit;
}

void ContactDecoder::restore(std::span<const Slot> slots, int currentSlot, int countedFingers) {
    listed_.clear();
    pending_ = {};
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const bool same = i < slots.size() && slots[i].trackingId == slots_[i].trackingId;
        const bool lifted = i >= slots.size() || slots[i].trackingId < 0;
        const bool wasTouching = slots_[i].wasTouching && (same || lifted);
        static_cast<Slot&>(slots_[i]) = i < slots.size() ? slots[i] : Slot{};
        slots_[i].wasTouching = wasTouching;
    }
    takeAxis(ABS_MT_SLOT, currentSlot);
    toolFingers_ = countedFingers > 0 && countedFingers <= 5 ? 1U << countedFingers : 0;
    buildFrame();
}

void ContactDecoder::repeat() {
    std::erase_if(contacts_, [](const auto& contact) { return contact.state == State::breakingTouch; });
    for (auto& contact : contacts_)
        if (contact.state == State::makingTouch) contact.state = State::touching;
}

// True if the frame has contacts, or ends those of the frame before.
bool ContactDecoder::buildFrame() {
    const bool hadContacts = !contacts_.empty();
    contacts_.clear();
    for (auto& slot : listed_) {
        slot.wasTouching = hasFingers_;
        addTracked(slot);
    }
    for (auto& slot : slots_) addTracked(slot);
    addCounted();
    hasFingers_ = std::ranges::any_of(contacts_, [](const Contact& contact) { return contact.isOnPad(); });
    listed_.clear();
    return hadContacts || !contacts_.empty();
}

bool ContactDecoder::touches(const Slot& slot) const {
    return slot.trackingId >= 0 && slot.tool != MT_TOOL_PALM && slot.distance <= 0 &&
           !(shape_.pressureTellsTouch && slot.pressure <= shape_.noPressure);
}

void ContactDecoder::addTracked(TrackedSlot& slot) {
    const bool touching = touches(slot);
    if (slot.trackingId < 0 && !slot.wasTouching) return;
    const auto state = !touching          ? slot.trackingId < 0 ? State::breakingTouch : State::hovering
                       : slot.wasTouching ? State::touching
                                          : State::makingTouch;
    slot.wasTouching = touching;
    add(partOf(shape_.x, slot.x), 1 - partOf(shape_.y, slot.y), state);
}

// A touchpad may count more fingers than it tracks. The others are placed in the middle of the tracked ones,
// so that their number is right and the mean place stays.
void ContactDecoder::addCounted() {
    const int counted = std::bit_width(toolFingers_) - 1;
    if (slots_.empty() || counted <= static_cast<int>(slots_.size())) return;
    double x = 0, y = 0;
    int touching = 0;
    for (const auto& contact : contacts_) {
        if (!contact.isOnPad()) continue;
        x += contact.x;
        y += contact.y;
        ++touching;
    }
    if (touching == 0) return;
    for (int i = touching; i < counted; ++i) add(x / touching, y / touching, State::touching);
}

void ContactDecoder::add(double x, double y, State state) {
    if (contacts_.size() >= kMaxContacts) return;
    auto& contact = contacts_.emplace_back();
    contact.state = state;
    contact.x = static_cast<float>(x);
    contact.y = static_cast<float>(y);
}

}  // namespace kasto::evdev
