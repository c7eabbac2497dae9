#include "recording/TakePlan.h"

#include "base/AppIdentity.h"
#include "base/log/DebugLog.h"
#include "options/Prefs.h"
#include "platform/Displays.h"
#include "platform/PointerInput.h"
#include "recording/KastoError.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace kasto {

namespace {

constexpr double kScaleOfUnknownDisplay = 2.0;  // for a desktop that does not tell the scale
constexpr double kMinRegionPts = 40;
constexpr double kBitsPerPixel = 0.08;
constexpr std::int64_t kMaxBitsPerSecond = 60'000'000;
constexpr int kKeyFrameIntervalS = 2;

struct Target {
    DisplayId display = 0;
    std::optional<Rect> regionPts;
};

struct Area {
    Rect partPts;  // counted from the display's top-left corner
    bool isWholeDisplay = true;
    Point displayOriginPts;
    int width = 0;  // in pixels
    int height = 0;
};

DisplayId fallbackDisplay(const Desktop& desktop) {
    const Point pointer = desktop.pointer.location().value_or(Point{});
    return desktop.displays.displayAt(pointer).value_or(desktop.displays.mainDisplay());
}

bool contains(const std::vector<DisplayId>& displays, DisplayId id) {
    return std::ranges::find(displays, id) != displays.end();
}

Result<Target> chooseTarget(const std::vector<DisplayId>& shareable, DisplayId fallback) {
    Target target{fallback, std::nullopt};
    const auto regionDisplay = Prefs::regionDisplayID();
    const auto region = Prefs::regionRect();
    if (regionDisplay && region) {
        if (contains(shareable, *regionDisplay))
            target = {*regionDisplay, region};
        else
            DebugLog::log("region display " + std::to_string(*regionDisplay) +
                          " missing — recording full screen");
    }
    if (contains(shareable, target.display)) return target;
    if (shareable.empty()) return failure(KastoError::noDisplay);
    return Target{shareable.front(), std::nullopt};
}

ContentFilter filterFor(DisplayId display, const ShareableContent& content) {
    ContentFilter filter{display, {}};
    std::ranges::copy_if(content.applications, std::back_inserter(filter.excludedApplications),
                         [](const auto& app) { return app.bundleIdentifier == kBundleIdentifier; });
    DebugLog::log("filter excludes " + std::to_string(filter.excludedApplications.size()) + " app(s)");
    return filter;
}

std::string whole(double number) { return std::to_string(static_cast<int>(number)); }

// The number cut to a whole even one. The tolerance is needed because sizes are computed back from points:
// 768 pixels at a scale of 1.4 give 767.9999…, and would lose two pixels.
int evenPixels(double pixels) {
    constexpr double kTolerance = 1e-6;
    return static_cast<int>(pixels + kTolerance) / 2 * 2;
}

// The part of the region that is on the display, in whole points, or the whole display if less than 40 points
// are left.
Rect partToRecord(const std::optional<Rect>& regionPts, const Rect& wholePts) {
    if (!regionPts) return wholePts;
    // The second intersection undoes what rounding adds beyond a display that ends within a point.
    const Rect part = regionPts->intersection(wholePts).integral().intersection(wholePts);
    if (part.width >= kMinRegionPts && part.height >= kMinRegionPts) return part;
    DebugLog::log("region degenerate — recording full screen");
    return wholePts;
}

Result<Area> measure(const Displays& displays, const Target& target) {
    const auto all = displays.all();
    const auto display = std::ranges::find(all, target.display, &Display::id);
    const bool known = display != all.end();
    const double scale = known && display->scale > 0 ? display->scale : kScaleOfUnknownDisplay;
    const Rect boundsPts = known ? display->boundsPts : Rect{};
    const Rect wholePts{0, 0, boundsPts.width, boundsPts.height};

    Area area;
    area.partPts = partToRecord(target.regionPts, wholePts);
    area.isWholeDisplay = area.partPts == wholePts;
    area.displayOriginPts = {boundsPts.x, boundsPts.y};
    area.width = evenPixels(scale * area.partPts.width);
    area.height = evenPixels(scale * area.partPts.height);
    // The display went away after the desktop listed it.
    if (area.width <= 0 || area.height <= 0) return failure(KastoError::noDisplay);
    return area;
}

StreamConfiguration streamConfiguration(const Area& area, int fps, bool microphoneDeliverable) {
    StreamConfiguration configuration;
    configuration.width = area.width;
    configuration.height = area.height;
    configuration.minimumFrameIntervalS = 1.0 / fps;
    configuration.firstNeededS = kFirstFrameS;
    configuration.showsCursor = true;
    if (!area.isWholeDisplay) {
        const Rect& part = area.partPts;
        configuration.sourceRectPts = part;
        DebugLog::log("region " + whole(part.width) + "×" + whole(part.height) + " @ (" + whole(part.x) +
                      "," + whole(part.y) + ")");
    }
    configuration.capturesAudio = Prefs::captureSystemSound();
    configuration.capturesMicrophone = microphoneDeliverable && Prefs::captureMic();
    return configuration;
}

// The preference file may hold any number.
int framesPerSecond() { return std::clamp(Prefs::fps(), 1, 240); }

}  // namespace

VideoInputSettings videoInputSettings(int width, int height, int fps) {
    VideoInputSettings settings;
    settings.width = width;
    settings.height = height;
    settings.averageBitRate =
        std::min(static_cast<std::int64_t>(static_cast<double>(width) * height * fps * kBitsPerPixel),
                 kMaxBitsPerSecond);
    settings.maxKeyFrameInterval = kKeyFrameIntervalS * fps;
    settings.expectedFrameRate = fps;
    return settings;
}

Result<TakePlan> planTake(const Desktop& desktop) {
    const DisplayId fallback = fallbackDisplay(desktop);
    const auto content = desktop.screenCapture.shareableContent();
    if (!content) return std::unexpected(content.error());
    const auto target = chooseTarget(content->displays, fallback);
    if (!target) return std::unexpected(target.error());
    ContentFilter filter = filterFor(target->display, *content);
    const auto area = measure(desktop.displays, *target);
    if (!area) return std::unexpected(area.error());
    const int fps = framesPerSecond();

    TakePlan plan;
    plan.filter = std::move(filter);
    plan.areaGlobalPts = area->partPts.translated(area->displayOriginPts.x, area->displayOriginPts.y);
    plan.stream = streamConfiguration(*area, fps, desktop.screenCapture.deliversMicrophone());
    plan.video = videoInputSettings(area->width, area->height, fps);
    return plan;
}

}  // namespace kasto
