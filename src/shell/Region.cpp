#include "base/DebugLog.h"
#include "options/PreferenceStore.h"
#include "options/Prefs.h"
#include "shell/AppDelegate.h"

#include <QString>
#include <cmath>

namespace kasto {

namespace {

void keep(const RegionChoice& choice) {
    Prefs::store().set("regionDisplayID", choice.display);
    Prefs::setRegionRect(choice.rect);
    const auto whole = [](double value) { return QString::number(std::trunc(value) + 0.0, 'f', 0); };
    DebugLog::log(QStringLiteral("region set %1×%2 @ (%3,%4) display %5")
                      .arg(whole(choice.rect.width), whole(choice.rect.height), whole(choice.rect.minX()),
                           whole(choice.rect.minY()))
                      .arg(choice.display)
                      .toStdString());
}

}  // namespace

void AppDelegate::beginSetRegion() {
    if (isRecording_) return;
    const auto display = Prefs::regionDisplayID();
    const auto rect = Prefs::regionRect();
    const auto initial = display && rect ? std::optional(RegionChoice{*display, *rect}) : std::nullopt;
    if (!regionPicker_)
        regionPicker_ =
            std::make_unique<RegionPicker>(desktop_.displays, desktop_.ownWindows, desktop_.overlaySupport);
    regionPicker_->begin(initial, [](const std::optional<RegionChoice>& choice) {
        if (choice) keep(*choice);
    });
}

}  // namespace kasto
