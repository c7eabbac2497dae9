#include "settings/SettingsLayout.h"

#include "settings/SettingsPainter.h"

#include <algorithm>
#include <ranges>

namespace kasto {

namespace {

constexpr double kRowHeight = 48;
constexpr double kGap = 4;
constexpr double kSectionHeight = 34;
constexpr double kFooterHeight = 30;
constexpr double kControlInset = 12;  // from the row's right edge
constexpr double kButtonHeight = 26;
constexpr double kButtonGap = 6;
constexpr double kLabelMargins = 24;  // left and right of a label together

double heightOf(const Row& row) { return isSection(row) ? kSectionHeight : kRowHeight + kGap; }

// In the middle of the row's height, ending at `right`.
QRectF placedLeftOf(double right, const QRectF& row, double width, double height) {
    return {right - width, row.center().y() - height / 2, width, height};
}

struct ControlsOf {
    const QRectF& row;
    double right = row.right() - kControlInset;

    std::vector<QRectF> operator()(const SectionRow&) const { return {}; }

    std::vector<QRectF> operator()(const ToggleRow&) const { return {placedLeftOf(right, row, 44, 24)}; }

    std::vector<QRectF> operator()(const ChoiceRow& choice) const {
        const double width = SettingsPainter::labelWidth(choice.value()) + kLabelMargins;
        return {placedLeftOf(right, row, std::clamp(width, 90.0, 200.0), kButtonHeight)};
    }

    std::vector<QRectF> operator()(const ActionRow& action) const {
        std::vector<QRectF> buttons;
        double end = right;
        for (const auto& button : std::views::reverse(action.buttons)) {
            const double width = SettingsPainter::labelWidth(button.label) + kLabelMargins;
            buttons.insert(buttons.begin(), placedLeftOf(end, row, width, kButtonHeight));
            end -= width + kButtonGap;
        }
        return buttons;
    }
};

}  // namespace

std::vector<PlacedRow> placedRows(const std::vector<Row>& rows, double viewWidth, double top) {
    std::vector<PlacedRow> placed;
    for (const auto& row : rows) {
        const double height = isSection(row) ? kSectionHeight : kRowHeight;
        const QRectF rect(kSettingsPad, top, viewWidth - 2 * kSettingsPad, height);
        placed.push_back({rect, std::visit(ControlsOf{rect}, row)});
        top += heightOf(row);
    }
    return placed;
}

double footerTop(const std::vector<Row>& rows, double top) {
    for (const auto& row : rows) top += heightOf(row);
    return top;
}

double contentHeight(const std::vector<Row>& rows) {
    return footerTop(rows, kSettingsPad) + kSettingsPad + kFooterHeight;
}

}  // namespace kasto
