#pragma once

#include "base/Result.h"
#include "platform/OverlaySupport.h"

#include <xcb/xcb.h>

#include <memory>
#include <string>

namespace kasto::x11 {

// Overlay windows on an X server. A thread with a connection of its own watches compositing managers and the
// stacking order of the windows. What is done to a window goes over the connection it was made on, so that it
// stays in order with what the user interface does to the window.
class X11OverlaySupport : public OverlaySupport {
public:
    // An empty name takes $DISPLAY. `ui` is the connection of the windows and must outlive this. It is null
    // where the user interface is not on an X server; windows are then left as they are.
    static Result<std::unique_ptr<X11OverlaySupport>> open(const std::string& displayName,
                                                           xcb_connection_t* ui);
    ~X11OverlaySupport() override;

    bool blendsWindows() const override;
    void prepare(std::uint64_t nativeId, std::uint32_t fillArgb, Painting painting) override;
    void setShape(std::uint64_t nativeId, std::optional<std::span<const PixelRect>> shapePx) override;
    std::unique_ptr<KeptAbove> keepAbove(std::vector<std::uint64_t> nativeIds) override;

private:
    class Watch;
    class Kept;
    X11OverlaySupport(std::unique_ptr<Watch> watch, xcb_connection_t* ui);
    xcb_atom_t atom(const char* name) const;

    std::unique_ptr<Watch> watch_;
    xcb_connection_t* ui_;
};

}  // namespace kasto::x11
