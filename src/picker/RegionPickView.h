#pragma once

#include "base/Geometry.h"

#include <QPixmap>
#include <QWidget>
#include <functional>
#include <optional>
#include <variant>
#include <vector>

namespace kasto {

// The view in which the user draws, moves and resizes the selection on one display. Coordinates are points
// from its top-left corner. Main thread.
class RegionPickView final : public QWidget {
public:
    static constexpr double kMinSidePts = 60;  // smaller selections cannot be made or confirmed
    static constexpr double kHitPts = 12;      // a press this far from a handle's centre still grabs it
    static constexpr double kButtonSidePts = 34;

    struct Handle {
        int hx = 0;  // -1 moves the left edge, +1 the right one, 0 neither
        int hy = 0;  // the same for top and bottom
        Point centre;
    };

    struct Buttons {
        Rect confirm;
        Rect cancel;
    };

    // `screenPicture` is shown under the shade. Without one the view is transparent there.
    explicit RegionPickView(std::optional<QPixmap> screenPicture = {}, QWidget* parent = nullptr);

    // Called at most once: with the selection, rounded to whole points, when the user confirmed it, or with
    // none when the user cancelled. The call must not delete the view.
    std::function<void(std::optional<Rect>)> onDone;

    const std::optional<Rect>& selection() const { return rect_; }
    void setSelection(const std::optional<Rect>& rect);

    // The eight handles of a selection, row by row from the top, each row from the left.
    static std::vector<Handle> handles(const Rect& rect);

    // The buttons of a selection, in a view of this height.
    static Buttons buttons(const Rect& rect, double viewHeight);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Fresh {
        Point start;
    };
    struct Move {
        Point start;
        Rect startRect;
    };
    struct Resize {
        int hx = 0;
        int hy = 0;
        Rect startRect;
    };
    using Drag = std::variant<std::monostate, Fresh, Move, Resize>;

    bool isConfirmable() const;
    void confirm();
    void finish(const std::optional<Rect>& result);
    void press(Point p);
    Rect dragged(const Fresh& drag, Point p) const;
    Rect dragged(const Move& drag, Point p) const;
    Rect dragged(const Resize& drag, Point p) const;

    const std::optional<QPixmap> screenPicture_;
    std::optional<Rect> rect_;
    Drag drag_;
};

}  // namespace kasto
