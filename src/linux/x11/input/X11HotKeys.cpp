#include "linux/x11/input/X11HotKeys.h"

#include "linux/x11/server/Connection.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace kasto::x11 {

class X11HotKeys::Grab : public HotKeyRegistration {
public:
    explicit Grab(X11HotKeys& service) : service_(service) { service.grabs_.push_back(this); }
    ~Grab() override { std::erase(service_.grabs_, this); }

    // Grabs what the keyboard's present mapping asks for, in place of what was grabbed before. False if
    // another program holds a part of it, or the keyboard has no such keys.
    virtual bool update() = 0;

    // True if the press belongs to this grab.
    virtual bool press(const xcb_key_press_event_t&) { return false; }
    virtual void release(const xcb_key_release_event_t&) {}

protected:
    xcb_connection_t* connection() const { return service_.connection_; }
    xcb_window_t root() const { return service_.root_; }
    const KeyboardReader& keyboard() const { return service_.keyboard_; }

    // True if the server granted all of the requests.
    bool areGranted(const std::vector<xcb_void_cookie_t>& requests) const {
        bool all = true;
        for (const auto cookie : requests)
            all &= !Reply<xcb_generic_error_t>(xcb_request_check(connection(), cookie));
        return all;
    }

private:
    X11HotKeys& service_;
};

class X11HotKeys::KeyGrab : public Grab {
public:
    KeyGrab(X11HotKeys& service, const KeyChord& chord, std::function<void()> onPress)
        : Grab(service), chord_(chord), onPress_(std::move(onPress)) {}
    ~KeyGrab() override { ungrab(); }

    bool update() override {
        auto now = keyboard().chordKeys(chord_);
        if (now == keys_) return !keys_.keys.empty();
        ungrab();
        keys_ = std::move(now);
        std::vector<xcb_void_cookie_t> requests;
        forEachState([&](xcb_keycode_t key, std::uint16_t modifiers) {
            requests.push_back(xcb_grab_key_checked(connection(), 0, root(), modifiers, key,
                                                    XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        });
        const bool all = areGranted(requests) && !keys_.keys.empty();
        if (!all) ungrab();
        return all;
    }

    bool press(const xcb_key_press_event_t& event) override {
        constexpr std::uint16_t kModifiers = 0xff;
        if (!has(event.detail) || (event.state & kModifiers & ~keys_.locks) != keys_.modifiers) return false;
        // A key that repeats while it is held is released and pressed again at the same time.
        const bool isRepeated = isDown_ || releasedAt_ == event.time;
        isDown_ = true;
        releasedAt_.reset();
        if (!isRepeated && onPress_) onPress_();
        return true;
    }

    void release(const xcb_key_release_event_t& event) override {
        if (!has(event.detail) || !isDown_) return;
        isDown_ = false;
        releasedAt_ = event.time;
    }

private:
    bool has(xcb_keycode_t key) const { return std::ranges::find(keys_.keys, key) != keys_.keys.end(); }

    // Calls `f` with each key and each state of the lock keys.
    template <class F>
    void forEachState(F&& f) const {
        for (const auto key : keys_.keys)
            for (const auto locks : subsetsOf(keys_.locks))
                f(key, static_cast<std::uint16_t>(keys_.modifiers | locks));
    }

    void ungrab() {
        forEachState([&](xcb_keycode_t key, std::uint16_t modifiers) {
            xcb_ungrab_key(connection(), key, root(), modifiers);
        });
        keys_ = {};
        xcb_flush(connection());
    }

    const KeyChord chord_;
    const std::function<void()> onPress_;
    ChordKeys keys_;
    bool isDown_ = false;
    std::optional<xcb_timestamp_t> releasedAt_;
};

class X11HotKeys::ClickGrab : public Grab {
public:
    using Grab::Grab;
    ~ClickGrab() override { ungrab(); }

    bool update() override {
        const auto bits = keyboard().modifierBits();
        // Shift and Super may be held too, but neither option nor control: those make it a plain right click.
        const unsigned others = XCB_MOD_MASK_SHIFT | bits.command | bits.locks;
        std::vector<std::uint16_t> states;
        for (const auto state : subsetsOf(static_cast<std::uint16_t>(bits.fn | others)))
            if ((state & bits.fn) != 0) states.push_back(state);
        if (states == states_) return !states_.empty();
        ungrab();
        states_ = std::move(states);
        std::vector<xcb_void_cookie_t> requests;
        for (const auto state : states_)
            requests.push_back(xcb_grab_button_checked(
                connection(), 0, root(), XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE,
                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, kRightButton, state));
        return areGranted(requests) && !states_.empty();
    }

private:
    static constexpr std::uint8_t kRightButton = 3;

    void ungrab() {
        for (const auto state : states_) xcb_ungrab_button(connection(), kRightButton, root(), state);
        states_.clear();
        xcb_flush(connection());
    }

    std::vector<std::uint16_t> states_;  // of the modifiers
};

X11HotKeys::X11HotKeys(xcb_connection_t* connection)
    : connection_(connection),
      root_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root),
      keyboard_(connection, KeyboardReader::Watch::mappingAndGroup) {}

X11HotKeys::~X11HotKeys() = default;

std::unique_ptr<HotKeyRegistration> X11HotKeys::registerChord(const KeyChord& chord,
                                                              std::function<void()> onPress) {
    auto grab = std::make_unique<KeyGrab>(*this, chord, std::move(onPress));
    if (!grab->update()) return nullptr;
    return grab;
}

std::unique_ptr<HotKeyRegistration> X11HotKeys::keepFnRightClick() {
    auto grab = std::make_unique<ClickGrab>(*this);
    if (!grab->update()) return nullptr;
    return grab;
}

bool X11HotKeys::handleEvent(const xcb_generic_event_t* event) {
    constexpr std::uint8_t kSentFlag = 0x80;
    const auto grabs = grabs_;  // a copy, because a press may end a registration
    switch (event->response_type & ~kSentFlag) {
        case XCB_KEY_PRESS:
            return std::ranges::any_of(grabs, [&](Grab* grab) {
                return grab->press(*reinterpret_cast<const xcb_key_press_event_t*>(event));
            });
        case XCB_KEY_RELEASE:
            for (auto* grab : grabs) grab->release(*reinterpret_cast<const xcb_key_release_event_t*>(event));
            return false;
        case XCB_BUTTON_PRESS:
        case XCB_BUTTON_RELEASE:
            return reinterpret_cast<const xcb_button_press_event_t*>(event)->event == root_;
        default:
            if (keyboard_.isChange(*event))
                for (auto* grab : grabs) grab->update();
            return false;
    }
}

}  // namespace kasto::x11
