#include "settings/SettingsPanel.h"

#include "ui/Brand.h"

#include <QMouseEvent>
#include <QWindow>
#include <algorithm>

namespace kasto {

namespace {

constexpr double kEdge = 4;

}  // namespace

SettingsPanel::SettingsPanel(SettingsHost& host)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowMinimizeButtonHint |
                           Qt::WindowSystemMenuHint | Qt::WindowStaysOnTopHint),
      view_(host, this) {
    setWindowTitle("kasto settings");
    auto colours = palette();
    colours.setColor(QPalette::Window, Brand::bg());
    setPalette(colours);
    setMinimumSize(SettingsView::kWidth, kMinHeight);
    setMaximumSize(SettingsView::kWidth, kMaxHeight);
    resize(SettingsView::kWidth, kFirstHeight);
    setFocusProxy(&view_);
    view_.installEventFilter(this);
    view_.onHeaderPress = [this](QPointF globalPosition) { startDrag({}, globalPosition); };
}

void SettingsPanel::resizeEvent(QResizeEvent*) { view_.setGeometry(rect()); }

Qt::Edges SettingsPanel::edgeAt(QPointF position) const {
    if (view_.isControl(position)) return {};
    if (position.y() < kEdge) return Qt::TopEdge;
    if (position.y() >= height() - kEdge) return Qt::BottomEdge;
    return {};
}

bool SettingsPanel::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick: {
            const auto& press = static_cast<QMouseEvent&>(*event);
            const auto edge = edgeAt(press.position());
            if (press.button() != Qt::LeftButton || !edge) return false;
            startDrag(edge, press.globalPosition());
            return true;
        }
        case QEvent::MouseMove: {
            const auto& move = static_cast<QMouseEvent&>(*event);
            if (!(move.buttons() & Qt::LeftButton)) drag_.reset();
            if (drag_) {
                continueDrag(move.globalPosition());
                return true;
            }
            view_.setCursor(edgeAt(move.position()) ? Qt::SizeVerCursor : Qt::ArrowCursor);
            return false;
        }
        case QEvent::MouseButtonRelease:
            drag_.reset();
            return false;
        default:
            return false;
    }
}

void SettingsPanel::startDrag(Qt::Edges edge, QPointF globalPosition) {
    auto* handle = windowHandle();
    if (handle && (edge ? handle->startSystemResize(edge) : handle->startSystemMove())) return;
    drag_ = Drag{edge, globalPosition, geometry()};
}

void SettingsPanel::continueDrag(QPointF globalPosition) {
    const auto moved = (globalPosition - drag_->start).toPoint();
    auto frame = drag_->frame;
    if (!drag_->edge) {
        frame.translate(moved);
    } else {
        const bool byTop = drag_->edge == Qt::TopEdge;
        const int height =
            std::clamp(frame.height() + (byTop ? -moved.y() : moved.y()), kMinHeight, kMaxHeight);
        if (byTop) frame.setTop(frame.top() + frame.height() - height);
        frame.setHeight(height);
    }
    setGeometry(frame);
}

}  // namespace kasto
