#pragma once

#include "settings/Row.h"
#include "settings/SettingsControl.h"

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

// The settings as one list that scrolls under a header, drawn and handled here without widgets. What can be
// clicked, reached by keyboard and told to assistive programs is one list of controls. Tab and the arrow keys
// move the focus through them, Space and Return use the focused one, Escape closes. Main thread.
class SettingsView final : public QWidget {
public:
    static constexpr int kWidth = 520;
    static constexpr int kHeaderHeight = 53;

    // `host` outlives the view.
    SettingsView(SettingsHost& host, QWidget* parent);

    // Builds the rows anew from the options and the host. The view does so itself whenever an option changes.
    void reload();

    // What "✕" and Escape do.
    std::function<void()> onClose = [] {};
    // What a press on the header beside its controls does, with the mouse in global coordinates.
    std::function<void(QPointF)> onHeaderPress = [](QPointF) {};

    // True over one of the two controls in the header.
    bool isControl(QPointF position) const;

    double scrollY() const { return scrollY_; }

    // The controls of the rows and then those of the header, as they are now.
    std::vector<SettingsControl> controls() const;

    // Uses a control as a click does. Nothing happens if it is disabled.
    void use(const SettingsControl& control);

    // The index of the focused control; none before the keyboard is used.
    std::optional<std::size_t> focusedControl() const { return focus_; }

    // Focuses the control with this index and scrolls it into view; none takes the focus away.
    void setFocusedControl(std::optional<std::size_t> index);

protected:
    bool focusNextPrevChild(bool next) override;
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override { mousePressEvent(event); }
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QRectF minimiseRect() const;
    QRectF closeRect() const;
    double firstRowTop() const;
    double maxScroll() const;
    void scrollTo(double y);
    void setHover(std::optional<std::size_t> index, std::optional<QRectF> chrome);
    std::optional<std::size_t> rowAt(QPointF position) const;
    void moveFocus(int step);

    void drawList(SettingsPainter& painter);
    void drawItem(SettingsPainter& painter, const SectionRow& row, const PlacedRow& placed, bool hovered);
    void drawItem(SettingsPainter& painter, const ToggleRow& row, const PlacedRow& placed, bool hovered);
    void drawItem(SettingsPainter& painter, const ChoiceRow& row, const PlacedRow& placed, bool hovered);
    void drawItem(SettingsPainter& painter, const ActionRow& row, const PlacedRow& placed, bool hovered);
    void drawHeader(SettingsPainter& painter);

    SettingsHost& host_;
    const QIcon icon_;
    std::vector<Row> rows_;
    double scrollY_ = 0;
    std::optional<std::size_t> hoverIdx_;
    std::optional<QRectF> hoverChrome_;
    std::optional<std::size_t> focus_;
    std::vector<SettingsControl> told_;  // the controls as assistive programs know them
    std::shared_ptr<const void> optionObservation_;
};

}  // namespace kasto
