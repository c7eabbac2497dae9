#include "session/X11Session.h"

#include <QGuiApplication>
#include <utility>

namespace kasto {

namespace {

// The display that the environment names.
constexpr auto kDisplay = "";

}  // namespace

Result<std::unique_ptr<DisplayServer>> X11Server::open() {
    auto displays = x11::X11Displays::open(kDisplay);
    if (!displays) return std::unexpected(displays.error());
    auto pointer = x11::X11Pointer::open(kDisplay, **displays);
    if (!pointer) return std::unexpected(pointer.error());
    // The windows must be on the X server that is recorded, to be known there as the program's own.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "xcb");
    return std::unique_ptr<DisplayServer>(new X11Server(std::move(*displays), std::move(*pointer)));
}

X11Server::X11Server(std::unique_ptr<x11::X11Displays> displays, std::unique_ptr<x11::X11Pointer> pointer)
    : displays_(std::move(displays)), pointer_(std::move(pointer)), qtScale_(displays_->scale()) {}

Result<std::unique_ptr<Session>> X11Server::openSession(QGuiApplication& application) {
    qtScale_.reset();
    auto overlaySupport = x11::X11OverlaySupport::open(kDisplay, uiConnection(application));
    if (!overlaySupport) return std::unexpected(overlaySupport.error());
    return std::make_unique<X11Session>(application, *displays_, *pointer_, std::move(*overlaySupport));
}

X11Session::X11Session(QGuiApplication& application, x11::X11Displays& displays, x11::X11Pointer& pointer,
                       std::unique_ptr<x11::X11OverlaySupport> overlaySupport)
    : displays_(displays),
      pointer_(pointer),
      overlaySupport_(std::move(overlaySupport)),
      pictures_(kDisplay, displays, common_.ownWindows),
      screenCapture_(pictures_, common_.sound),
      hotKeys_(application) {}

Desktop X11Session::desktop() {
    return {.displays = displays_,
            .pointer = pointer_,
            .multitouch = common_.multitouch,
            .screenAccess = screenAccess_,
            .screenCapture = screenCapture_,
            .cameraSession = common_.cameraSession,
            .movieWriters = common_.movieWriters,
            .movieExports = common_.movieExports,
            .ownWindows = common_.ownWindows,
            .overlaySupport = *overlaySupport_,
            .runningInstance = common_.runningInstance,
            .hotKeys = hotKeys_,
            .workspace = common_.workspace,
            .statusItems = common_.statusItems};
}

void X11Session::connectMedia() { static_cast<void>(common_.mediaServer.lock()); }

Result<std::unique_ptr<DisplayServer>> openDisplayServer() { return X11Server::open(); }

}  // namespace kasto
