#include "shell/menus/MenuCheckRow.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <utility>

namespace kasto {

namespace {

// The layout of a row from its left edge, in points, for text that is written from left to right.
constexpr QSize kRowSize{250, 26};
constexpr QMargins kHighlightInset{5, 2, 5, 2};
constexpr qreal kHighlightRadius = 5;
constexpr int kCheckLeft = 14;
constexpr int kCheckWidth = 16;
constexpr int kTitleLeft = 32;
constexpr int kTitleRight = 8;
constexpr int kTextInset = 4;  // at the top and at the bottom

}  // namespace

MenuCheckRow::MenuCheckRow(const QString& title, bool isOn, std::optional<std::string> rep,
                           std::function<void(bool)> onToggle)
    : title_(title), rep_(std::move(rep)) {
    // The title is not the button's own text, in which an ampersand would mark a shortcut.
    setAccessibleName(title);
    setFont(QApplication::font("QMenu"));
    setPalette(QApplication::palette("QMenu"));
    setChecked(isOn);
    setMouseTracking(true);  // the menu follows the pointer across its rows
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QCheckBox::clicked, this, std::move(onToggle));
}

void MenuCheckRow::setHovered(bool hovered) {
    if (isHovered_ == hovered) return;
    isHovered_ = hovered;
    update();
}

QSize MenuCheckRow::sizeHint() const {
    return kRowSize.expandedTo({0, fontMetrics().height() + 2 * kTextInset});
}

void MenuCheckRow::enterEvent(QEnterEvent*) { setHovered(true); }

void MenuCheckRow::leaveEvent(QEvent*) { setHovered(false); }

// Only the left button toggles. Presses of the others are accepted too, because the menu would close on them.
void MenuCheckRow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) QCheckBox::mousePressEvent(event);
    event->accept();
}

void MenuCheckRow::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) QCheckBox::mouseReleaseEvent(event);
    event->accept();
}

bool MenuCheckRow::hitButton(const QPoint& position) const { return rect().contains(position); }

void MenuCheckRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto colours = palette();
    if (isHovered_) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(colours.highlight());
        painter.drawRoundedRect(rect().marginsRemoved(kHighlightInset), kHighlightRadius, kHighlightRadius);
    }
    painter.setPen(colours.color(isHovered_ ? QPalette::HighlightedText : QPalette::Text));
    const auto placed = [this](int left, int width) {
        return QStyle::visualRect(layoutDirection(), rect(), QRect(left, 0, width, height()));
    };
    if (isOn()) painter.drawText(placed(kCheckLeft, kCheckWidth), Qt::AlignCenter, "✓");
    const auto title = placed(kTitleLeft, width() - kTitleLeft - kTitleRight);
    // Aligned by the direction of the program's texts, even if the title is written in the other direction.
    const auto side = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter);
    painter.drawText(title, int(side | Qt::AlignAbsolute) | Qt::TextSingleLine,
                     fontMetrics().elidedText(title_, Qt::ElideRight, title.width()));
}

}  // namespace kasto
