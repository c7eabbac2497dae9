#pragma once

#include "base/Geometry.h"
#include "options/OptionTable.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kasto {

class PreferenceStore;

// The values of the options in `kOptions`, kept in `$XDG_CONFIG_HOME/kasto/preferences.json`.
//
// The defaults live in the table only: a fresh installation stores nothing, and setting an option stores it
// even if the value is the default. A missing value, or one of another type, reads as the default. Nothing
// here fails or waits for the disk: the file follows a moment later, and one that cannot be written is
// logged.
//
// Any thread may read; a read takes a lock and no file access, cheap enough for every input poll. Setters are
// for the main thread, since observers follow there.
class Prefs {
public:
    static bool showClicks() { return isOn(OptionId::showClicks); }
    static bool showMarquee() { return isOn(OptionId::showMarquee); }
    static bool pipEnabled() { return isOn(OptionId::pipEnabled); }
    static bool roundCamera() { return isOn(OptionId::roundCamera); }
    static bool captureSystemSound() { return isOn(OptionId::captureSystemSound); }
    static bool cloudKastos() { return isOn(OptionId::cloudKastos); }
    static bool captureMic() { return isOn(OptionId::captureMic); }
    static bool convertMP4() { return isOn(OptionId::convertMP4); }
    static bool invertPan() { return isOn(OptionId::invertPan); }

    // Frames per second of the next take. The switch stores 60 or 30; by hand any number can be stored.
    static int fps();

    // The recorded region in display points from its display's top-left corner; none records whole displays.
    // Stored as "x,y,width,height", each the shortest decimals that read back to the same number, with a
    // fractional part; pieces that are no finite number are skipped when it is read.
    static std::optional<Rect> regionRect();
    static void setRegionRect(const std::optional<Rect>& rect);

    // The display of the region; none also for a number that is no display's.
    static std::optional<DisplayId> regionDisplayID();
    static void setRegionDisplayID(std::optional<DisplayId> display);

    // The folder (an absolute path) that the user has chosen for finished takes; none for the default one.
    static std::optional<std::filesystem::path> outputDir();
    static void setOutputDir(const std::optional<std::filesystem::path>& folder);

    // The identifier of the chosen camera; none for the system's default camera.
    static std::optional<std::string> cameraID() { return text(OptionId::cameraID); }
    static void setCameraID(const std::optional<std::string>& id) { setText(OptionId::cameraID, id); }

    // For an option that is on or off (`Control::onOff`).
    static bool isOn(OptionId option);
    static void setOn(OptionId option, bool on);

    // For an option that is stored as a text.
    static std::optional<std::string> text(OptionId option);
    static void setText(OptionId option, const std::optional<std::string>& text);

    // Sets the option to its default by removing it from the file.
    static void forget(OptionId option);

    // Calls `changed` after each change of an option, on the thread that made the change, for as long as the
    // result lives. The callback may set options. Main thread.
    [[nodiscard]] static std::shared_ptr<const void> observe(std::function<void(OptionId)> changed);

    // Takes over what was changed in the file by hand or by another process, and tells observers. Costs a
    // look at the file's times if nothing was. Main thread; called when options are about to be shown or
    // used.
    static void readAgain();

    // Returns when all options that were set are in the file: before the process ends.
    static void flush();

    // "kasto" in the user's folder for movies; made if missing (a failure to make it is not reported here).
    static std::filesystem::path saveDir();

    // The synchronised folder for finished takes, made if missing; none where there is no cloud drive.
    static std::optional<std::filesystem::path> cloudKastosDir();

    // What the options are kept in, opened on first use. Everybody but tests goes through the functions
    // above.
    static PreferenceStore& store();
};

}  // namespace kasto
