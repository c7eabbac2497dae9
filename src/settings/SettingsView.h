#pragma once

#include "settings/Row.h"

#include <QIcon>
#include <QPointF>
#include <QRectF>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace kasto {

class SettingsHost;
class SettingsPainter;

// The settings as one list that scrolls under a header, drawn and handled here without any control of the
// desktop's. Every redraw paints all of it and notes where it can be clicked. Main thread.
class SettingsView final : public QWidget {
public:
    static constexpr int kWidth = 520;
    static constexpr int kHeaderHeight = 53;

    // `host` outlives the view.
    SettingsView(SettingsHost& host, QWidget* parent);

    // Builds the rows anew from the options and the host. Done by the view itself whenever an option changes.
    void reload();

    // What "✕" and Escape do.
    std::function<void()> onClose = [] {};
    // What a press on the header beside its controls does, with the mouse in global coordinates.
    std::function<void(QPointF)> onHeaderPress = [](QPointF) {};

    // True over one of the two controls in the header.
    bool isControl(QPointF position) const;

    double scrollY() const { return scrollY_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override { mousePressEvent(event); }
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Hit {
        QRectF rect;
        std::function<void()> run;
    };

    QRectF minimiseRect() const;
    QRectF closeRect() const;
    double firstRowTop() const;
    double contentHeight() const;
    void clampScroll();
    void scrollTo(double y);
    void setHover(std::optional<std::size_t> index, std::optional<QRectF> chrome);
    std::optional<std::size_t> rowAt(QPointF position) const;

    void drawList(SettingsPainter& painter);
    void drawItem(SettingsPainter& painter, const SectionRow& row, const QRectF& rect, bool hovered);
    void drawItem(SettingsPainter& painter, const ToggleRow& row, const QRectF& rect, bool hovered);
    void drawItem(SettingsPainter& painter, const ChoiceRow& row, const QRectF& rect, bool hovered);
    void drawItem(SettingsPainter& painter, const ActionRow& row, const QRectF& rect, bool hovered);
    void drawHeader(SettingsPainter& painter);

    SettingsHost& host_;
    const QIcon icon_;
    std::vector<Row> rows_;
    std::vector<Hit> hits_;  // in the order they were painted
    double scrollY_ = 0;
    std::optional<std::size_t> hoverIdx_;
    std::optional<QRectF> hoverChrome_;
    std::shared_ptr<const void> optionObservation_;
};

}  // namespace kasto
