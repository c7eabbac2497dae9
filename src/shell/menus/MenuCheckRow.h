#pragma once

#include <QCheckBox>
#include <functional>
#include <optional>
#include <string>

namespace kasto {

// A line of a menu with a check mark. A click flips the mark and leaves the menu open, so that several
// options can be changed at once. Main thread.
class MenuCheckRow final : public QCheckBox {
public:
    // `onToggle` is called with the new value after every click. `rep` is the identifier of what the row
    // stands for, such as a camera's.
    MenuCheckRow(const QString& title, bool isOn, std::optional<std::string> rep,
                 std::function<void(bool)> onToggle);

    const std::optional<std::string>& rep() const { return rep_; }

    bool isOn() const { return isChecked(); }

    // Does not call `onToggle`.
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
