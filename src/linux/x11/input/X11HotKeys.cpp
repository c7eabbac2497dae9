#include "linux/x11/input/X11HotKeys.h"

#include "linux/x11/input/KeyboardMap.h"
#include "linux/x11/server/Connection.h"

#include <algorithm>
#include <optional>

namespace kasto::x11 {

class X11HotKeys::Grab : public HotKeyRegistration {
public:
    Grab(X11HotKeys& service, const KeyChord& chord, std::function<void()> onPress)
        : service_(service), chord_(chord), onPress_(std::move(onPress)) {
        service_.grabs_.push_back(this);
    }
    ~Grab() override {
        release();
        std::erase(service_.grabs_, this);
    }

    // True when every key in every lock state is ours.
    bool take() {
        keys_ = chordKeys(service_.connection_, chord_);
        if (keys_.keys.empty()) return false;
        std::vector<xcb_void_cookie_t> asked;
        for (const auto key : keys_.keys)
            for (const auto locks : keys_.lockStates)
                asked.push_back(xcb_grab_key_checked(service_.connection_, 0, service_.root_,
                                                     static_cast<std::uint16_t>(keys_.modifiers | locks), key,
                                                     XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        bool all = true;
        for (const auto cookie : asked)
            all &= !Reply<xcb_generic_error_t>(xcb_request_check(service_.connection_, cookie));
        if (!all) release();
        return all;
    }

    void release() {
        for (const auto key : keys_.keys)
            for (const auto locks : keys_.lockStates)
                xcb_ungrab_key(service_.connection_, key, service_.root_,
                               static_cast<std::uint16_t>(keys_.modifiers | locks));
        keys_ = {};
        xcb_flush(service_.connection_);
    }

    bool press(const xcb_key_press_event_t& event) {
        constexpr std::uint16_t kModifiers = 0xff;
        if (!has(event.detail) || (event.state & kModifiers & ~keys_.locks) != keys_.modifiers) return false;
        // A key that repeats is released and pressed again at one time.
        const bool repeats = down_ || (releasedAt_ && *releasedAt_ == event.time);
        down_ = true;
        releasedAt_.reset();
        if (!repeats && onPress_) onPress_();
        return true;
    }

    void releaseKey(const xcb_key_release_event_t& event) {
        if (!has(event.detail) || !down_) return;
        down_ = false;
        releasedAt_ = event.time;
    }

private:
    bool has(xcb_keycode_t key) const { return std::ranges::find(keys_.keys, key) != keys_.keys.end(); }

    X11HotKeys& service_;
    KeyChord chord_;
    std::function<void()> onPress_;
    ChordKeys keys_;
    bool down_ = false;
    std::optional<xcb_timestamp_t> releasedAt_;
};

class X11HotKeys::ClickGrab : public HotKeyRegistration {
public:
    explicit ClickGrab(const X11HotKeys& service) : service_(service) {}
    ~ClickGrab() override {
        for (const auto modifiers : kModifiers)
            xcb_ungrab_button(service_.connection_, kRightButton, service_.root_, modifiers);
        xcb_flush(service_.connection_);
    }

    bool take() {
        bool all = true;
        for (const auto modifiers : kModifiers) {
            const auto cookie = xcb_grab_button_checked(
                service_.connection_, 0, service_.root_,
                XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE, XCB_GRAB_MODE_ASYNC,
                XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, kRightButton, modifiers);
            all &= !Reply<xcb_generic_error_t>(xcb_request_check(service_.connection_, cookie));
        }
        return all;
    }

private:
    static constexpr std::uint8_t kRightButton = 3;
    // Fn, with and without Caps Lock and Num Lock.
    static constexpr std::uint16_t kModifiers[] = {XCB_MOD_MASK_5, XCB_MOD_MASK_5 | XCB_MOD_MASK_LOCK,
                                                   XCB_MOD_MASK_5 | XCB_MOD_MASK_2,
                                                   XCB_MOD_MASK_5 | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

    const X11HotKeys& service_;
};

X11HotKeys::X11HotKeys(xcb_connection_t* connection)
    : connection_(connection), root_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root) {}

X11HotKeys::~X11HotKeys() = default;

std::unique_ptr<HotKeyRegistration> X11HotKeys::registerChord(const KeyChord& chord,
                                                              std::function<void()> onPress) {
    auto grab = std::make_unique<Grab>(*this, chord, std::move(onPress));
    if (!grab->take()) return nullptr;
    return grab;
}

std::unique_ptr<HotKeyRegistration> X11HotKeys::keepFnRightClick() {
    auto grab = std::make_unique<ClickGrab>(*this);
    if (!grab->take()) return nullptr;
    return grab;
}

bool X11HotKeys::handleEvent(const xcb_generic_event_t* event) {
    constexpr std::uint8_t kSentFlag = 0x80;
    const auto grabs = grabs_;  // a press may end a registration
    switch (event->response_type & ~kSentFlag) {
        case XCB_KEY_PRESS:
            return std::ranges::any_of(grabs, [&](Grab* grab) {
                return grab->press(*reinterpret_cast<const xcb_key_press_event_t*>(event));
            });
        case XCB_KEY_RELEASE:
            for (auto* grab : grabs)
                grab->releaseKey(*reinterpret_cast<const xcb_key_release_event_t*>(event));
            return false;
        case XCB_BUTTON_PRESS:
        case XCB_BUTTON_RELEASE:
            return reinterpret_cast<const xcb_button_press_event_t*>(event)->event == root_;
        case XCB_MAPPING_NOTIFY:
            // The letter may lie on another key now.
            for (auto* grab : grabs) {
                grab->release();
                grab->take();
            }
            return false;
        default:
            return false;
    }
}

}  // namespace kasto::x11
