#pragma once

#include "options/PreferenceStore.h"
#include "options/Prefs.h"

namespace kasto::test {

// Sets every option that a test may have changed to its default.
inline void forgetOptions() {
    for (const auto* key : {"showClicks", "showMarquee", "captureSystemSound", "captureMic", "convertMP4",
                            "cloudKastos", "invertPan", "fps", "pipEnabled", "roundCamera", "regionRect",
                            "regionDisplayID", "cameraID", "outputDir", "kastoSettings"})
        Prefs::store().remove(key);
}

}  // namespace kasto::test
