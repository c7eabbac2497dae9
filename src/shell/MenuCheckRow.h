#pragma once

#include <QCheckBox>
#include <functional>
#include <optional>
#include <string>

namespace kasto {

// A menu's line with a check mark that a click flips in place: nothing closes the menu, so that several
// options can be changed in one visit. Main thread.
class MenuCheckRow final : public QCheckBox {
public:
    // `onToggle` is told the new value after every click. `rep` identifies what the row stands for.
    MenuCheckRow(const QString& title, bool isOn, std::optional<std::string> rep,
                 std::function<void(bool)> onToggle);

    const std::optional<std::string>& rep() const { return rep_; }

    bool isOn() const { return isChecked(); }

    // Does not tell `onToggle`.
    void setOn(bool on) { setChecked(on); }

    void setHovered(bool hovered);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

private:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool hitButton(const QPoint& position) const override;
    void paintEvent(QPaintEvent* event) override;

    const QString title_;
    const std::optional<std::string> rep_;
    bool isHovered_ = false;
};

}  // namespace kasto
