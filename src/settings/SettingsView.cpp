#include "settings/SettingsView.h"

#include "options/Prefs.h"
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

constexpr double kRowHeight = 48;
constexpr double kGap = 4;
constexpr double kSectionHeight = 34;
constexpr double kPad = 18;
constexpr double kFooterHeight = 30;
constexpr double kControlSize = 35;
constexpr double kLinePts = 8;  // what a wheel scrolls for each line

bool isSection(const Row& row) { return std::holds_alternative<SectionRow>(row); }

double heightOf(const Row& row) { return isSection(row) ? kSectionHeight : kRowHeight + kGap; }

// Half-open, unlike Qt's own.
bool contains(const QRectF& rect, QPointF p) {
    return p.x() >= rect.left() && p.x() < rect.right() && p.y() >= rect.top() && p.y() < rect.bottom();
}

// How far the event scrolls, in points. A touchpad tells distances, as eighths of a degree with one degree
// for a point. The pixels of an event mean nothing under X11: there a wheel has some too, as many as its
// driver likes.
double scrollDistance(const QWheelEvent& event) {
    const double eighths = event.angleDelta().y();
    if (event.device()->type() == QInputDevice::DeviceType::TouchPad) return eighths / 8;
    constexpr double kNotch = QWheelEvent::DefaultDeltasPerStep;
    return eighths / kNotch * QApplication::wheelScrollLines() * kLinePts;
}

}  // namespace

SettingsView::SettingsView(SettingsHost& host, QWidget* parent)
    : QWidget(parent), host_(host), icon_(Brand::icon()) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    reload();
    optionObservation_ = Prefs::observe([this](OptionId) { reload(); });
}

void SettingsView::reload() {
    rows_ = settingsRows(host_);
    update();
}

QRectF SettingsView::minimiseRect() const {
    return {width() - 2 * kControlSize, 0, kControlSize, kControlSize};
}

QRectF SettingsView::closeRect() const { return {width() - kControlSize, 0, kControlSize, kControlSize}; }

bool SettingsView::isControl(QPointF position) const {
    return contains(minimiseRect(), position) || contains(closeRect(), position);
}

double SettingsView::firstRowTop() const { return kHeaderHeight + kPad - scrollY_; }

double SettingsView::contentHeight() const {
    double height = kPad + kPad + kFooterHeight;
    for (const auto& row : rows_) height += heightOf(row);
    return height;
}

void SettingsView::clampScroll() {
    const double largest = std::max(0.0, contentHeight() - (height() - kHeaderHeight));
    scrollY_ = std::clamp(scrollY_, 0.0, largest);
}

void SettingsView::scrollTo(double y) {
    scrollY_ = y;
    clampScroll();
    update();
}

void SettingsView::paintEvent(QPaintEvent*) {
    QPainter device(this);
    SettingsPainter painter(device);
    device.fillRect(rect(), Brand::bg());
    hits_.clear();
    clampScroll();

    const QRectF list(0, kHeaderHeight, width(), height() - kHeaderHeight);
    device.setClipRect(list);
    device.fillRect(list, Brand::panel());
    drawList(painter);
    device.setClipping(false);
    drawHeader(painter);
}

void SettingsView::drawList(SettingsPainter& painter) {
    double y = firstRowTop();
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        const QRectF rect(kPad, y, width() - 2 * kPad, kRowHeight);
        std::visit([&](const auto& row) { drawItem(painter, row, rect, hoverIdx_ == i); }, rows_[i]);
        y += heightOf(rows_[i]);
    }
    painter.drawFooter(kPad, y + 8);
}

void SettingsView::drawItem(SettingsPainter& painter, const SectionRow& row, const QRectF& rect, bool) {
    painter.drawSection(rect.left(), rect.top() + 12, row.title);
}

void SettingsView::drawItem(SettingsPainter& painter, const ToggleRow& row, const QRectF& rect,
                            bool hovered) {
    painter.drawRow(rect, row.title, row.desc, hovered);
    painter.drawSwitch({rect.right() - 12 - 44, rect.center().y() - 12, 44, 24}, row.get());
    hits_.push_back({rect, [this, row] {
                         row.set(!row.get());
                         update();
                     }});
}

void SettingsView::drawItem(SettingsPainter& painter, const ChoiceRow& row, const QRectF& rect,
                            bool hovered) {
    painter.drawRow(rect, row.title, row.desc, hovered);
    const auto value = row.value();
    const double buttonWidth = std::clamp(painter.labelWidth(value) + 24, 90.0, 200.0);
    painter.drawButton({rect.right() - 12 - buttonWidth, rect.center().y() - 13, buttonWidth, 26}, value,
                       true);
    hits_.push_back({rect, [this, next = row.next] {
                         next();
                         reload();
                     }});
}

void SettingsView::drawItem(SettingsPainter& painter, const ActionRow& row, const QRectF& rect, bool) {
    painter.drawRow(rect, row.title, row.desc, false);
    double x = rect.right() - 12;
    for (const auto& button : std::views::reverse(row.buttons)) {
        const double buttonWidth = painter.labelWidth(button.label) + 24;
        const QRectF buttonRect(x - buttonWidth, rect.center().y() - 13, buttonWidth, 26);
        painter.drawButton(buttonRect, button.label, button.enabled);
        if (button.enabled) {
            hits_.push_back({buttonRect, [this, run = button.run] {
                                 run();
                                 reload();
                             }});
        }
        x -= buttonWidth + 6;
    }
}

void SettingsView::drawHeader(SettingsPainter& painter) {
    painter.drawHeader(QRectF(0, 0, width(), kHeaderHeight), icon_, QApplication::applicationVersion());
    painter.drawControl(minimiseRect(), "–", Brand::hover(), hoverChrome_ == minimiseRect());
    hits_.push_back({minimiseRect(), [this] { window()->showMinimized(); }});
    painter.drawControl(closeRect(), "✕", Brand::accent(), hoverChrome_ == closeRect());
    hits_.push_back({closeRect(), [this] { onClose(); }});
}

std::optional<std::size_t> SettingsView::rowAt(QPointF position) const {
    if (position.y() < kHeaderHeight || position.x() < kPad || position.x() >= width() - kPad)
        return std::nullopt;
    double y = firstRowTop();
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        if (!isSection(rows_[i]) && position.y() >= y && position.y() < y + kRowHeight) return i;
        y += heightOf(rows_[i]);
    }
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
    const auto position = event->position();
    const bool inHeader = position.y() < kHeaderHeight;
    if (inHeader && !isControl(position)) return onHeaderPress(event->globalPosition());

    // The header's controls were painted last, over whatever is scrolled under them.
    const auto painted = std::views::reverse(hits_);
    const auto hit = std::ranges::find_if(painted, [&](const Hit& h) { return contains(h.rect, position); });
    if (hit == painted.end()) return;
    const auto run = hit->run;  // may paint, and with that replace the hits
    run();
}

void SettingsView::wheelEvent(QWheelEvent* event) {
    scrollTo(scrollY_ - scrollDistance(*event));
    event->accept();
}

void SettingsView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) return onClose();
    QWidget::keyPressEvent(event);
}

void SettingsView::resizeEvent(QResizeEvent*) { scrollTo(scrollY_); }

}  // namespace kasto
