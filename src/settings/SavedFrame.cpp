#include "settings/SavedFrame.h"

#include "options/Prefs.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QStringList>
#include <QWidget>
#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

namespace kasto {

namespace {

// Larger than any desktop, and small enough that sums of such numbers do not overflow.
constexpr int kMaxCoordinate = 1'000'000;

std::optional<QRect> parsedFrame(const std::string& text) {
    const auto pieces = QString::fromStdString(text).split(',');
    if (pieces.size() != 4) return std::nullopt;
    std::array<int, 4> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        bool isNumber = false;
        numbers[i] = pieces[qsizetype(i)].toInt(&isNumber);
        if (!isNumber || numbers[i] != std::clamp(numbers[i], -kMaxCoordinate, kMaxCoordinate))
            return std::nullopt;
    }
    return QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

// The available area of the screen that shows most of the frame; none if no screen shows any of it.
std::optional<QRect> areaFor(const QRect& frame) {
    std::optional<QRect> area;
    int mostShown = 0;
    for (const auto* screen : QGuiApplication::screens()) {
        const auto shown = screen->availableGeometry() & frame;
        if (shown.isEmpty() || shown.height() * shown.width() <= mostShown) continue;
        mostShown = shown.height() * shown.width();
        area = screen->availableGeometry();
    }
    return area;
}

// The frame moved into the area. Where it is larger than the area, its upper left corner stays inside.
QRect movedInto(const QRect& area, QRect frame) {
    frame.moveLeft(std::max(area.left(), std::min(frame.left(), area.right() + 1 - frame.width())));
    frame.moveTop(std::max(area.top(), std::min(frame.top(), area.bottom() + 1 - frame.height())));
    return frame;
}

}  // namespace

SavedFrame::SavedFrame(QWidget& window) : QObject(&window), window_(window) {
    if (!restore()) centre();
    // While a window is dragged its frame changes many times a second; only the last one is worth storing.
    changed_.setSingleShot(true);
    changed_.setInterval(std::chrono::milliseconds(300));
    connect(&changed_, &QTimer::timeout, this, &SavedFrame::save);
    window.installEventFilter(this);
}

SavedFrame::~SavedFrame() {
    if (changed_.isActive()) save();
}

bool SavedFrame::restore() {
    const auto stored = Prefs::text(OptionId::settingsFrame);
    auto frame = stored ? parsedFrame(*stored) : std::nullopt;
    if (!frame) return false;
    frame->setSize(frame->size().expandedTo(window_.minimumSize()).boundedTo(window_.maximumSize()));
    const auto area = areaFor(*frame);
    if (!area) return false;
    window_.setGeometry(movedInto(*area, *frame));
    return true;
}

void SavedFrame::centre() {
    const auto screen = QGuiApplication::primaryScreen()->availableGeometry();
    const int height = std::max(window_.minimumHeight(), std::min(window_.height(), screen.height()));
    QRect frame(QPoint(), QSize(window_.width(), height));
    frame.moveCenter(screen.center());
    window_.setGeometry(movedInto(screen, frame));
}

bool SavedFrame::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::Move || event->type() == QEvent::Resize) {
        frame_ = window_.geometry();
        changed_.start();
    }
    return false;
}

void SavedFrame::save() {
    const auto text =
        QString("%1,%2,%3,%4").arg(frame_.x()).arg(frame_.y()).arg(frame_.width()).arg(frame_.height());
    Prefs::setText(OptionId::settingsFrame, text.toStdString());
}

}  // namespace kasto
