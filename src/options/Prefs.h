#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace kasto {

class PreferenceStore;

// The user's options. The defaults live in these readers only: a fresh installation stores nothing. A missing
// or mistyped value reads as its default. Any thread; a read is cheap enough for every input poll.
class Prefs {
public:
    static bool showClicks();          // "showClicks", true
    static bool showMarquee();         // "showMarquee", true
    static bool pipEnabled();          // "pipEnabled", true
    static bool roundCamera();         // "roundCamera", true
    static bool captureSystemSound();  // "captureSystemSound", true
    static bool cloudKastos();         // "cloudKastos", true
    static bool captureMic();          // "captureMic", false
    static bool convertMP4();          // "convertMP4", false
    static bool invertPan();           // "invertPan", false
    static int fps();                  // "fps", 60; written as 60 or 30

    // The recorded region in display points from its display's top-left corner; none records whole displays.
    // Stored under "regionRect" as "x,y,width,height", each the shortest decimals that read back to the same
    // number, with a fractional part; pieces that are no finite number are skipped when it is read.
    static std::optional<Rect> regionRect();
    static void setRegionRect(const std::optional<Rect>& rect);

    // "regionDisplayID": the display of the region; none also for a number that is no display's.
    static std::optional<DisplayId> regionDisplayID();

    // "outputDir": the chosen folder (an absolute path) for finished takes, none for the default ones.
    static std::optional<std::filesystem::path> outputDir();
    static void setOutputDir(const std::optional<std::filesystem::path>& folder);

    static std::optional<std::string> cameraID();  // "cameraID", none = the default camera

    // "kasto" in the user's folder for movies; made if missing (a failure to make it is not reported here).
    static std::filesystem::path saveDir();

    // The synchronised folder for finished takes, made if missing; none where there is no cloud drive.
    static std::optional<std::filesystem::path> cloudKastosDir();

    // The store the options live in: what writes them writes here, under the keys above.
    // `$XDG_CONFIG_HOME/kasto/preferences.json`, opened on first use.
    static PreferenceStore& store();
};

}  // namespace kasto
