#include "settings/SavedFrame.h"

#include "options/PreferenceStore.h"
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

// No desktop is larger, and the sums of such numbers are still numbers.
constexpr int kFarthest = 1'000'000;

std::optional<QRect> parsedFrame(const std::string& text) {
    const auto pieces = QString::fromStdString(text).split(',');
    if (pieces.size() != 4) return std::nullopt;
    std::array<int, 4> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        bool isNumber = false;
        numbers[i] = pieces[qsizetype(i)].toInt(&isNumber);
        if (!isNumber || numbers[i] != std::clamp(numbers[i], -kFarthest, kFarthest)) return std::nullopt;
    }
    return QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

// The area of the screen that shows most of the frame; none where no screen shows any.
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

// Moved into the area; where it is larger than that, its upper left corner is what stays inside.
QRect movedInto(const QRect& area, QRect frame) {
    frame.moveLeft(std::max(area.left(), std::min(frame.left(), area.right() + 1 - frame.width())));
    frame.moveTop(std::max(area.top(), std::min(frame.top(), area.bottom() + 1 - frame.height())));
    return frame;
}

}  // namespace

SavedFrame::SavedFrame(QWidget& window, std::string key)
    : QObject(&window), window_(window), key_(std::move(key)) {
    if (!restore()) centre();
    // Dragging a window changes its frame all the time.
    changed_.setSingleShot(true);
    changed_.setInterval(std::chrono::milliseconds(300));
    connect(&changed_, &QTimer::timeout, this, &SavedFrame::save);
    window.installEventFilter(this);
}

SavedFrame::~SavedFrame() {
    if (changed_.isActive()) save();
}

bool SavedFrame::restore() {
    const auto stored = Prefs::store().string(key_);
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
    Prefs::store().set(key_, QString("%1,%2,%3,%4")
                                 .arg(frame_.x())
                                 .arg(frame_.y())
                                 .arg(frame_.width())
                                 .arg(frame_.height())
                                 .toStdString());
}

}  // namespace kasto
