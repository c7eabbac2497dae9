#include "settings/SettingsView.h"

#include "options/Prefs.h"
#include "settings/SettingsAccessibility.h"
#include "settings/SettingsLayout.h"
#include "settings/SettingsPainter.h"
#include "settings/SettingsRows.h"
#include "ui/Brand.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPointingDevice>
#include <QWheelEvent>
#include <algorithm>
#include <ranges>

namespace kasto {

namespace {

constexpr double kControlSize = 35;
constexpr std::size_t kHeaderControls = 2;
constexpr double kLinePts = 8;  // what a wheel scrolls for each line

// Half-open, unlike QRectF's own `contains`.
bool contains(const QRectF& rect, QPointF p) {
    return p.x() >= rect.left() && p.x() < rect.right() && p.y() >= rect.top() && p.y() < rect.bottom();
}

// How far the event scrolls, in points. A touchpad reports distances as eighths of a degree, with one degree
// for a point. `pixelDelta` is not used: under X11 wheels report pixels too, as many as their driver likes.
double scrollDistance(const QWheelEvent& event) {
    const double eighths = event.angleDelta().y();
    if (event.device()->type() == QInputDevice::DeviceType::TouchPad) return eighths / 8;
    constexpr double kNotch = QWheelEvent::DefaultDeltasPerStep;
    return eighths / kNotch * QApplication::wheelScrollLines() * kLinePts;
}

}  // namespace

SettingsView::SettingsView(SettingsHost& host, QWidget* parent)
    : QWidget(parent), host_(host), icon_(Brand::icon()) {
    describeSettingsToAssistivePrograms();
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    reload();
    optionObservation_ = Prefs::observe([this](OptionId) { reload(); });
}

void SettingsView::reload() {
    rows_ = settingsRows(host_);
    tellChangesToAssistivePrograms(*this, told_);
    told_ = controls();
    update();
}

QRectF SettingsView::minimiseRect() const {
    return {width() - 2 * kControlSize, 0, kControlSize, kControlSize};
}

QRectF SettingsView::closeRect() const { return {width() - kControlSize, 0, kControlSize, kControlSize}; }

bool SettingsView::isControl(QPointF position) const {
    return contains(minimiseRect(), position) || contains(closeRect(), position);
}

double SettingsView::firstRowTop() const { return kHeaderHeight + kSettingsPad - scrollY_; }

double SettingsView::maxScroll() const {
    return std::max(0.0, contentHeight(rows_) - (height() - kHeaderHeight));
}

void SettingsView::scrollTo(double y) {
    scrollY_ = std::clamp(y, 0.0, maxScroll());
    update();
}

std::vector<SettingsControl> SettingsView::controls() const {
    auto controls = controlsOf(rows_, placedRows(rows_, width(), firstRowTop()));
    controls.push_back(
        {.name = "minimise", .rect = minimiseRect(), .run = [this] { window()->showMinimized(); }});
    controls.push_back({.name = "close", .rect = closeRect(), .run = [this] { onClose(); }});
    return controls;
}

void SettingsView::use(const SettingsControl& control) {
    if (!control.isEnabled) return;
    control.run();
    reload();
}

void SettingsView::setFocusedControl(std::optional<std::size_t> index) {
    focus_ = index;
    const auto all = controls();
    const bool isInList = index && *index < all.size() - kHeaderControls;
    if (isInList) {
        const auto rect = all[*index].rect;
        const double above = kHeaderHeight + kSettingsPad - rect.top();
        const double below = rect.bottom() - (height() - kSettingsPad);
        if (above > 0) scrollTo(scrollY_ - above);
        if (below > 0) scrollTo(scrollY_ + below);
    }
    tellFocusToAssistivePrograms(*this);
    update();
}

// To the next enabled control in this direction, and from one end of the list to the other.
void SettingsView::moveFocus(int step) {
    const auto all = controls();
    const int count = int(all.size());
    int index = focus_ ? int(*focus_) : (step > 0 ? -1 : count);
    do {
        index = (index + step + count) % count;
    } while (!all[std::size_t(index)].isEnabled);
    setFocusedControl(std::size_t(index));
}

bool SettingsView::focusNextPrevChild(bool next) {
    moveFocus(next ? 1 : -1);
    return true;
}

void SettingsView::paintEvent(QPaintEvent*) {
    QPainter device(this);
    SettingsPainter painter(device);
    device.fillRect(rect(), Brand::bg());
    const QRectF list(0, kHeaderHeight, width(), height() - kHeaderHeight);
    device.setClipRect(list);
    device.fillRect(list, Brand::panel());
    drawList(painter);
    device.setClipping(false);
    drawHeader(painter);
    if (focus_) {
        const bool isInList = *focus_ < controls().size() - kHeaderControls;
        if (isInList) device.setClipRect(list);
        painter.drawFocus(controls()[*focus_].rect);
    }
}

void SettingsView::drawList(SettingsPainter& painter) {
    const auto placed = placedRows(rows_, width(), firstRowTop());
    for (std::size_t i = 0; i < rows_.size(); ++i)
        std::visit([&](const auto& row) { drawItem(painter, row, placed[i], hoverIdx_ == i); }, rows_[i]);
    painter.drawFooter(kSettingsPad, footerTop(rows_, firstRowTop()) + 8);
}

void SettingsView::drawItem(SettingsPainter& painter, const SectionRow& row, const PlacedRow& placed, bool) {
    painter.drawSection(placed.rect.left(), placed.rect.top() + 12, row.title);
}

void SettingsView::drawItem(SettingsPainter& painter, const ToggleRow& row, const PlacedRow& placed,
                            bool hovered) {
    painter.drawRow(placed.rect, row.title, row.desc, placed.controls[0].left(), hovered);
    painter.drawSwitch(placed.controls[0], row.get());
}

void SettingsView::drawItem(SettingsPainter& painter, const ChoiceRow& row, const PlacedRow& placed,
                            bool hovered) {
    painter.drawRow(placed.rect, row.title, row.desc, placed.controls[0].left(), hovered);
    painter.drawButton(placed.controls[0], row.value(), true);
}

void SettingsView::drawItem(SettingsPainter& painter, const ActionRow& row, const PlacedRow& placed, bool) {
    painter.drawRow(placed.rect, row.title, row.desc, placed.controls[0].left(), false);
    for (std::size_t i = 0; i < row.buttons.size(); ++i)
        painter.drawButton(placed.controls[i], row.buttons[i].label, row.buttons[i].enabled);
}

void SettingsView::drawHeader(SettingsPainter& painter) {
    painter.drawHeader(QRectF(0, 0, width(), kHeaderHeight), icon_, QApplication::applicationVersion());
    painter.drawControl(minimiseRect(), "–", Brand::hover(), hoverChrome_ == minimiseRect());
    painter.drawControl(closeRect(), "✕", Brand::accent(), hoverChrome_ == closeRect());
}

std::optional<std::size_t> SettingsView::rowAt(QPointF position) const {
    if (position.y() < kHeaderHeight) return std::nullopt;
    const auto placed = placedRows(rows_, width(), firstRowTop());
    for (std::size_t i = 0; i < rows_.size(); ++i)
        if (!isSection(rows_[i]) && contains(placed[i].rect, position)) return i;
    return std::nullopt;
}

void SettingsView::setHover(std::optional<std::size_t> index, std::optional<QRectF> chrome) {
    if (index == hoverIdx_ && chrome == hoverChrome_) return;
    hoverIdx_ = index;
    hoverChrome_ = chrome;
    update();
}

void SettingsView::mouseMoveEvent(QMouseEvent* event) {
    const auto position = event->position();
    std::optional<QRectF> chrome;
    for (const auto& rect : {minimiseRect(), closeRect()})
        if (contains(rect, position)) chrome = rect;
    setHover(rowAt(position), chrome);
}

void SettingsView::leaveEvent(QEvent*) { setHover(std::nullopt, std::nullopt); }

void SettingsView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    focus_.reset();
    const auto position = event->position();
    const bool isInHeader = position.y() < kHeaderHeight;
    if (isInHeader && !isControl(position)) return onHeaderPress(event->globalPosition());

    // The header's controls come last and lie over the rows that are scrolled under them.
    const auto all = controls();
    const auto under = std::views::reverse(all);
    const auto hit = std::ranges::find_if(
        under, [&](const SettingsControl& control) { return contains(control.rect, position); });
    if (hit != under.end()) use(*hit);
}

void SettingsView::wheelEvent(QWheelEvent* event) {
    scrollTo(scrollY_ - scrollDistance(*event));
    event->accept();
}

void SettingsView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Escape:
            return onClose();
        case Qt::Key_Down:
        case Qt::Key_Right:
            return moveFocus(1);
        case Qt::Key_Up:
        case Qt::Key_Left:
            return moveFocus(-1);
        case Qt::Key_Space:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (focus_) use(controls()[*focus_]);
            return;
        default:
            QWidget::keyPressEvent(event);
    }
}

void SettingsView::resizeEvent(QResizeEvent*) { scrollTo(scrollY_); }

}  // namespace kasto
