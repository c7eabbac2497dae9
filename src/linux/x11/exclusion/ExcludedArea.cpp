#include "linux/x11/exclusion/ExcludedArea.h"

#include <algorithm>
#include <utility>

namespace kasto::x11 {

bool ExcludedArea::setWindows(const std::vector<OwnWindow>& windows, const std::vector<OwnWindow>& replaced,
                              double nowS) {
    for (const auto& window : replaced)
        for (const auto& place : places_)
            if (place.id == window.nativeId && window.sharing == SharingType::none && window.paintedPx)
                passedThrough_.push_back(Region(*window.paintedPx).translate(place.x, place.y));
    std::map<std::uint32_t, std::optional<Region>> now;
    for (const auto& window : windows) {
        if (window.sharing != SharingType::none) continue;
        auto& painted = now[static_cast<std::uint32_t>(window.nativeId)];
        if (window.paintedPx) painted = Region(*window.paintedPx);
    }
    const auto idOf = [](const auto& entry) { return entry.first; };
    const bool hasSameIds = std::ranges::equal(now, painted_, {}, idOf, idOf);
    for (const auto& [id, painted] : painted_)
        if (!now.contains(id)) former_[id] = tailEndS(nowS);
    painted_ = std::move(now);
    return !hasSameIds;
}

std::vector<std::uint32_t> ExcludedArea::windows() const {
    std::vector<std::uint32_t> ids;
    for (const auto& [id, painted] : painted_) ids.push_back(id);
    for (const auto& [id, untilS] : former_)
        if (!painted_.contains(id)) ids.push_back(id);
    return ids;
}

bool ExcludedArea::forgetFormer(double nowS) {
    return std::erase_if(former_, [&](const auto& entry) { return entry.second <= nowS; }) > 0;
}

double ExcludedArea::tailEndS(double nowS) const { return nowS + exclusionTailS(hasCompositingManager_); }

void ExcludedArea::setPlaces(std::vector<OwnPlace> places, bool hasCompositingManager) {
    places_ = std::move(places);
    hasCompositingManager_ = hasCompositingManager;
}

bool ExcludedArea::isPlacedAt(std::uint32_t topLevel, const PixelRect& outer) const {
    return std::ranges::any_of(places_, [&](const auto& place) {
        const bool isOwn = place.isFramed || place.topLevel == place.id;
        return isOwn && place.topLevel == topLevel && place.topLevelOuter == outer;
    });
}

void ExcludedArea::noteConfigured(std::uint32_t topLevel, const PixelRect& outer) {
    for (const auto& place : places_)
        if (place.topLevel == topLevel)
            passedThrough_.push_back(
                paintedBy(place).translate(outer.x - place.topLevelOuter.x, outer.y - place.topLevelOuter.y));
}

void ExcludedArea::noteMapped(std::uint32_t window) {
    for (const auto& place : places_)
        if (place.topLevel == window || place.id == window) passedThrough_.push_back(paintedBy(place));
}

Region ExcludedArea::paintedBy(const OwnPlace& place) const {
    const auto entry = painted_.find(place.id);
    if (entry == painted_.end()) return {};
    if (!entry->second || place.isFramed) return place.shape;
    auto painted = Region(*entry->second).translate(place.x, place.y);
    // Without a compositing manager no part of a window is transparent.
    return hasCompositingManager_ ? painted : std::move(painted.unite(place.shape));
}

bool ExcludedArea::dependsOnShapeOf(std::uint32_t window) const {
    const auto entry = painted_.find(window);
    if (entry == painted_.end() || !entry->second) return true;
    return !hasCompositingManager_ && std::ranges::any_of(places_, [&](const auto& place) {
        const auto painted = Region(*entry->second).translate(place.x, place.y);
        return place.id == window && !subtracted(place.shape, painted).isEmpty();
    });
}

std::optional<ExcludedArea::Change> ExcludedArea::update(double nowS, bool hasMoved) {
    const auto ended = std::erase_if(tails_, [&](const Tail& tail) { return tail.untilS <= nowS; });
    if (ended == 0 && !hasMoved) return std::nullopt;
    const PixelRect whole{0, 0, area_.width, area_.height};
    Region covered;
    for (const auto& place : places_)
        if (place.isViewable) covered.unite(paintedBy(place));
    covered.intersect(whole);
    passedThrough_.push_back(subtracted(covered_, covered));
    const double untilS = tailEndS(nowS);
    for (auto& passed : std::exchange(passedThrough_, {}))
        if (!passed.intersect(whole).isEmpty()) tails_.push_back({std::move(passed), untilS});
    covered_ = std::move(covered);

    auto region = covered_;
    for (const auto& tail : tails_) region.unite(tail.area);
    Change change{subtracted(region_, region), subtracted(region, region_)};
    region_ = std::move(region);
    return change;
}

}  // namespace kasto::x11
