#include "options/Prefs.h"

#include "base/HomeFolders.h"
#include "options/PreferenceStore.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <ranges>
#include <string_view>
#include <utility>

namespace kasto {

namespace {

namespace fs = std::filesystem;

bool flag(std::string_view key, bool whenMissing) {
    return Prefs::store().boolean(key).value_or(whenMissing);
}

// The shortest decimals that read back to the same number, always with a fractional part: "120.0".
std::string decimalText(double value) {
    // The longest is that of the smallest number: a sign, "0." and 324 digits.
    std::array<char, 400> text;
    const auto end = std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed).ptr;
    std::string decimals(text.begin(), end);
    if (decimals.find('.') == decimals.npos) decimals += ".0";
    return decimals;
}

// The finite number that is all of the text, if it is one.
std::optional<double> parsedNumber(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

// Pieces that are empty or no number are skipped; exactly four numbers must remain.
std::optional<Rect> parsedRect(std::string_view text) {
    std::array<double, 4> numbers{};
    std::size_t count = 0;
    for (const auto piece : std::views::split(text, ',')) {
        const auto number = parsedNumber({piece.begin(), piece.end()});
        if (!number) continue;
        if (count == numbers.size()) return std::nullopt;
        numbers[count++] = *number;
    }
    if (count != numbers.size()) return std::nullopt;
    return Rect{numbers[0], numbers[1], numbers[2], numbers[3]};
}

fs::path made(const fs::path& folder) {
    std::error_code ignored;  // whoever writes into the folder reports that it is missing
    fs::create_directories(folder, ignored);
    return folder;
}

}  // namespace

bool Prefs::showClicks() { return flag("showClicks", true); }
bool Prefs::showMarquee() { return flag("showMarquee", true); }
bool Prefs::pipEnabled() { return flag("pipEnabled", true); }
bool Prefs::roundCamera() { return flag("roundCamera", true); }
bool Prefs::captureSystemSound() { return flag("captureSystemSound", true); }
bool Prefs::cloudKastos() { return flag("cloudKastos", true); }
bool Prefs::captureMic() { return flag("captureMic", false); }
bool Prefs::convertMP4() { return flag("convertMP4", false); }
bool Prefs::invertPan() { return flag("invertPan", false); }

int Prefs::fps() {
    constexpr int kDefault = 60;
    const auto stored = store().integer("fps").value_or(kDefault);
    return std::in_range<int>(stored) ? static_cast<int>(stored) : kDefault;
}

std::optional<Rect> Prefs::regionRect() {
    const auto text = store().string("regionRect");
    return text ? parsedRect(*text) : std::nullopt;
}

void Prefs::setRegionRect(const std::optional<Rect>& rect) {
    if (!rect) return store().remove("regionRect");
    store().set("regionRect", decimalText(rect->minX()) + "," + decimalText(rect->minY()) + "," +
                                  decimalText(rect->width) + "," + decimalText(rect->height));
}

std::optional<DisplayId> Prefs::regionDisplayID() {
    const auto number = store().number("regionDisplayID");
    if (!number || *number < 0 || *number > std::numeric_limits<DisplayId>::max()) return std::nullopt;
    return static_cast<DisplayId>(*number);
}

std::optional<fs::path> Prefs::outputDir() { return store().string("outputDir"); }

void Prefs::setOutputDir(const std::optional<fs::path>& folder) {
    if (!folder) return store().remove("outputDir");
    store().set("outputDir", folder->string());
}

std::optional<std::string> Prefs::cameraID() { return store().string("cameraID"); }

fs::path Prefs::saveDir() { return made(moviesFolder() / "kasto"); }

std::optional<fs::path> Prefs::cloudKastosDir() {
    const fs::path base = homeFolder() / "Library/Mobile Documents/com~apple~CloudDocs";
    std::error_code ignored;
    if (!fs::exists(base, ignored)) return std::nullopt;
    return made(base / "tolvane/kastos");
}

PreferenceStore& Prefs::store() {
    // Never destroyed: other threads may ask until the process is gone.
    static PreferenceStore& kept = *new PreferenceStore(configFolder() / "kasto/preferences.json");
    return kept;
}

}  // namespace kasto
