#pragma once

#include "base/Result.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace kasto::x11 {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

// An answer of the server or an event, freed at the end of its life; null when the server refused.
template <class T>
using Reply = std::unique_ptr<T, FreeDeleter>;

// A connection to an X server, and the screen that the display's name selects. Any thread may use the raw
// connection.
class Connection {
public:
    // An empty name takes $DISPLAY. The error names the display.
    static Result<Connection> open(const std::string& displayName);

    xcb_connection_t* raw() const { return connection_.get(); }
    const xcb_screen_t& screen() const { return *screen_; }
    xcb_window_t root() const { return screen_->root; }
    int screenNumber() const { return screenNumber_; }

    // True once the server is gone. Nothing more arrives over this connection then.
    bool isLost() const { return xcb_connection_has_error(raw()) != 0; }

    // The first event number of an extension. The error names the extension that the server lacks.
    Result<std::uint8_t> firstEventOf(xcb_extension_t& extension, const char* name) const;

    // The number the server has for a name; none over a lost connection. Blocks for a round trip.
    xcb_atom_t atom(const std::string& name) const;

    // True if pictures of the root window are 32 bits a pixel in the byte order blue, green, red.
    bool hasBgrxPixels() const;

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    Connection() = default;
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    const xcb_screen_t* screen_ = nullptr;
    int screenNumber_ = 0;
};

// An object in the server, freed at the end of its life. The connection must outlive it. Freeing over a lost
// connection does nothing.
template <auto Free>
class ServerObject {
public:
    ServerObject() = default;
    ServerObject(const Connection& connection, std::uint32_t id) : connection_(connection.raw()), id_(id) {}
    ServerObject(ServerObject&& other) noexcept
        : connection_(other.connection_), id_(std::exchange(other.id_, 0)) {}
    ServerObject& operator=(ServerObject&& other) noexcept {
        std::swap(connection_, other.connection_);
        std::swap(id_, other.id_);
        return *this;
    }
    ~ServerObject() {
        if (id_ != 0) Free(connection_, id_);
    }

    std::uint32_t id() const { return id_; }
    explicit operator bool() const { return id_ != 0; }

    // To be called when the server has freed the object by itself.
    void forget() { id_ = 0; }

private:
    xcb_connection_t* connection_ = nullptr;
    std::uint32_t id_ = 0;
};

}  // namespace kasto::x11
