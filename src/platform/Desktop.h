#pragma once

namespace kasto {

class Displays;
class MovieWriters;
class OwnWindows;
class PointerInput;
class RunningInstance;
class ScreenAccess;
class ScreenCapture;

// What kasto expects of a desktop, one reference per service. All of them outlive the program's components.
struct Desktop {
    Displays& displays;
    PointerInput& pointer;
    ScreenAccess& screenAccess;
    ScreenCapture& screenCapture;
    MovieWriters& movieWriters;
    OwnWindows& ownWindows;
    RunningInstance& runningInstance;
};

}  // namespace kasto
