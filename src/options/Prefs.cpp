#include "options/Prefs.h"

#include "base/files/HomeFolders.h"
#include "options/PreferenceStore.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <limits>
#include <ranges>
#include <string_view>
#include <utility>

namespace kasto {

namespace {

namespace fs = std::filesystem;

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
    std::error_code ignored;  // writing into a folder that is missing fails, and that is reported
    fs::create_directories(folder, ignored);
    return folder;
}

}  // namespace

bool Prefs::isOn(OptionId id) {
    const auto& option = optionOf(id);
    assert(option.control == Control::onOff);
    if (!option.integers) return store().boolean(option.key).value_or(option.isOnByDefault);
    const auto stored = store().integer(option.key);
    return stored ? *stored == option.integers->on : option.isOnByDefault;
}

void Prefs::setOn(OptionId id, bool on) {
    const auto& option = optionOf(id);
    assert(option.control == Control::onOff);
    if (option.integers) {
        store().set(option.key, on ? option.integers->on : option.integers->off);
    } else {
        store().set(option.key, on);
    }
}

std::optional<std::string> Prefs::text(OptionId id) { return store().string(optionOf(id).key); }

void Prefs::setText(OptionId id, const std::optional<std::string>& text) {
    if (!text) return forget(id);
    store().set(optionOf(id).key, *text);
}

void Prefs::forget(OptionId id) { store().remove(optionOf(id).key); }

std::shared_ptr<const void> Prefs::observe(std::function<void(OptionId)> changed) {
    return store().observe([changed = std::move(changed)](std::string_view key) {
        const auto option = std::ranges::find(kOptions, key, &Option::key);
        if (option != kOptions.end()) changed(option->id);
    });
}

int Prefs::fps() {
    const auto& option = optionOf(OptionId::fps);
    const int whenMissing = option.isOnByDefault ? option.integers->on : option.integers->off;
    const auto stored = store().integer(option.key).value_or(whenMissing);
    return std::in_range<int>(stored) ? static_cast<int>(stored) : whenMissing;
}

std::optional<Rect> Prefs::regionRect() {
    const auto stored = text(OptionId::regionRect);
    return stored ? parsedRect(*stored) : std::nullopt;
}

void Prefs::setRegionRect(const std::optional<Rect>& rect) {
    if (!rect) return forget(OptionId::regionRect);
    setText(OptionId::regionRect, decimalText(rect->minX()) + "," + decimalText(rect->minY()) + "," +
                                      decimalText(rect->width) + "," + decimalText(rect->height));
}

std::optional<DisplayId> Prefs::regionDisplayID() {
    const auto number = store().number(optionOf(OptionId::regionDisplayID).key);
    if (!number || *number < 0 || *number > std::numeric_limits<DisplayId>::max()) return std::nullopt;
    return static_cast<DisplayId>(*number);
}

void Prefs::setRegionDisplayID(std::optional<DisplayId> display) {
    if (!display) return forget(OptionId::regionDisplayID);
    store().set(optionOf(OptionId::regionDisplayID).key, *display);
}

std::optional<fs::path> Prefs::outputDir() { return text(OptionId::outputDir); }

void Prefs::setOutputDir(const std::optional<fs::path>& folder) {
    setText(OptionId::outputDir, folder ? std::optional(folder->string()) : std::nullopt);
}

void Prefs::readAgain() { store().readAgain(); }

void Prefs::flush() { store().flush(); }

fs::path Prefs::saveDir() { return made(moviesFolder() / "kasto"); }

std::optional<fs::path> Prefs::cloudKastosDir() {
    const fs::path base = homeFolder() / "Library/Mobile Documents/com~apple~CloudDocs";
    std::error_code ignored;
    if (!fs::exists(base, ignored)) return std::nullopt;
    return made(base / "tolvane/kastos");
}

PreferenceStore& Prefs::store() {
    // Never destroyed, because other threads may read options until the process ends.
    static PreferenceStore& kept = *new PreferenceStore(configFolder() / "kasto/preferences.json");
    return kept;
}

}  // namespace kasto
