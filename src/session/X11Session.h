#pragma once

#include "linux/x11/capture/X11ScreenCapture.h"
#include "linux/x11/input/X11Pointer.h"
#include "linux/x11/server/X11Displays.h"
#include "linux/x11/server/X11OverlaySupport.h"
#include "linux/x11/server/X11ScreenAccess.h"
#include "platform/ScreenCaptureWithSound.h"
#include "session/Session.h"
#include "session/SessionServices.h"
#include "session/UiHotKeys.h"
#include "ui/QtScale.h"

#include <optional>

namespace kasto {

// An X server, by the connections that watch its displays and its pointer.
class X11Server final : public DisplayServer {
public:
    // Connects to the X server that the environment names. Fails where there is none.
    static Result<std::unique_ptr<DisplayServer>> open();

    Result<std::unique_ptr<Session>> openSession(QGuiApplication& application) override;

private:
    X11Server(std::unique_ptr<x11::X11Displays> displays, std::unique_ptr<x11::X11Pointer> pointer);

    const std::unique_ptr<x11::X11Displays> displays_;
    const std::unique_ptr<x11::X11Pointer> pointer_;
    std::optional<QtScale> qtScale_;  // until Qt's application object has been made
};

// A session on an X server.
class X11Session final : public Session {
public:
    // All of them outlive the session.
    X11Session(QGuiApplication& application, x11::X11Displays& displays, x11::X11Pointer& pointer,
               std::unique_ptr<x11::X11OverlaySupport> overlaySupport);

    Desktop desktop() override;
    Automation& automation() override { return common_.automation; }
    void connectMedia() override;

private:
    x11::X11Displays& displays_;
    x11::X11Pointer& pointer_;
    const std::unique_ptr<x11::X11OverlaySupport> overlaySupport_;
    SessionServices common_;
    x11::X11ScreenAccess screenAccess_;
    x11::X11ScreenCapture pictures_;
    ScreenCaptureWithSound screenCapture_;
    UiHotKeys hotKeys_;
};

}  // namespace kasto
