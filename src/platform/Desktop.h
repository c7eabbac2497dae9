#pragma once

namespace kasto {

class CameraSession;
class Displays;
class HotKeyService;
class MovieExports;
class MovieWriters;
class Multitouch;
class OverlaySupport;
class OwnWindows;
class PointerInput;
class RunningInstance;
class ScreenAccess;
class ScreenCapture;
class StatusItems;
class Workspace;

// The services that kasto expects of a desktop. All of them outlive the program's components.
struct Desktop {
    Displays& displays;
    PointerInput& pointer;
    Multitouch& multitouch;
    ScreenAccess& screenAccess;
    ScreenCapture& screenCapture;
    CameraSession& cameraSession;
    MovieWriters& movieWriters;
    MovieExports& movieExports;
    OwnWindows& ownWindows;
    OverlaySupport& overlaySupport;
    RunningInstance& runningInstance;
    HotKeyService& hotKeys;
    Workspace& workspace;
    StatusItems& statusItems;
};

}  // namespace kasto
