#include "picker/RegionPickView.h"
#include "support/QtInput.h"

#include <gtest/gtest.h>

#include <QImage>
#include <memory>
#include <optional>
#include <variant>

namespace kasto::test {
namespace {

using Selection = std::optional<Rect>;

class RegionPickViewTest : public testing::Test {
protected:
    // With a selection there from the beginning.
    RegionPickView& open(const Selection& selection, std::optional<QPixmap> picture = {}) {
        view_ = std::make_unique<RegionPickView>(std::move(picture));
        view_->resize(800, 600);
        view_->setSelection(selection);
        view_->onDone = [this](const Selection& result) { done = result; };
        done.reset();
        return *view_;
    }

    QColor colourAt(double x, double y) {
        QImage image(800, 600, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        view_->render(&image, {}, {}, QWidget::RenderFlags());
        return image.pixelColor(int(x), int(y));
    }

    std::optional<Selection> done;

private:
    std::unique_ptr<RegionPickView> view_;
};

TEST_F(RegionPickViewTest, dragsDrawMoveAndResize) {
    const Rect box{200, 150, 300, 200};  // its handles at 200, 350, 500 and 150, 250, 350
    const Rect tiny{200, 150, 10, 10};
    const Rect huge{-100, -50, 4000, 3000};
    const std::tuple<Selection, QPointF, QPointF, Selection> rows[] = {
        {{}, {300, 300}, {240, 240}, Rect{240, 240, 60, 60}},
        {{}, {700, 500}, {900, 700}, Rect{700, 500, 200, 200}},  // beyond the display
        {box, {600, 500}, {600, 500}, {}},                       // outside: a new one begins
        {box, {300, 200}, {-900, 900}, Rect{0, 400, 300, 200}},  // inside: moves, flush with the edges
        {huge, {300, 200}, {400, 300}, Rect{-3200, -2400, 4000, 3000}},
        {box, {212, 162}, {100, 100}, Rect{100, 100, 400, 250}},      // just within reach of a handle
        {box, {212.5, 162}, {222.5, 162}, Rect{210, 150, 300, 200}},  // just out of reach
        {box, {200, 250}, {790, 0}, Rect{440, 150, 60, 200}},         // past the opposite edge
        {tiny, {205, 155}, {100, 100}, Rect{100, 100, 110, 60}},      // within reach of all: the first
    };
    for (const auto& [before, from, to, after] : rows) {
        auto& view = open(before);
        drag(view, from, to);
        EXPECT_EQ(view.selection(), after) << testing::PrintToString(before) << " from " << from.x() << ","
                                           << from.y() << " to " << to.x() << "," << to.y();
        EXPECT_FALSE(done.has_value());
    }
}

TEST_F(RegionPickViewTest, confirmsWholePointsAndCancelsAtAnyTime) {
    const Rect fractional{120.4, 80.6, 300.2, 200.1};
    const Rect low{400, 300, 200, 251};
    const Rect left{-40, 300, 70, 70};
    const std::optional<Selection> confirmed{Rect{120, 80, 301, 201}}, cancelled{Selection()}, nothing;
    using Press = std::pair<QPointF, Qt::MouseButton>;
    const std::tuple<Selection, std::variant<Qt::Key, Press>, std::optional<Selection>> rows[] = {
        {fractional, Qt::Key_Return, confirmed},
        {fractional, Qt::Key_Escape, cancelled},
        {Rect{120, 80, 301, 59.9}, Qt::Key_Return, nothing},
        {{}, Qt::Key_Escape, cancelled},
        {fractional, Press{{400, 300}, Qt::LeftButton}, confirmed},
        {fractional, Press{{360, 300}, Qt::LeftButton}, cancelled},
        {fractional, Press{{382, 300}, Qt::LeftButton}, nothing},  // between the buttons
        {fractional, Press{{10, 10}, Qt::RightButton}, cancelled},
        {low, Press{{590, 520}, Qt::LeftButton}, low},
        {left, Press{{8, 400}, Qt::LeftButton}, left},
    };
    for (const auto& [before, input, result] : rows) {
        auto& view = open(before);
        if (const auto* press = std::get_if<Press>(&input))
            mouse(view, QEvent::MouseButtonPress, press->first, press->second);
        else
            key(view, std::get<Qt::Key>(input));
        EXPECT_EQ(done, result) << testing::PrintToString(before) << " " << input.index();
    }
}

TEST_F(RegionPickViewTest, shadesAllButTheSelection) {
    QPixmap picture(800, 600);
    picture.fill(QColor(100, 200, 50));
    const QColor accent(235, 66, 77), shade(0, 0, 0, 71);
    open(Rect{200, 150, 300, 200});
    const std::tuple<int, int, QColor> rows[] = {
        {600, 500, shade},
        {300, 300, Qt::transparent},
        {200, 150, Qt::white},              // a handle
        {221, 150, accent},                 // the outline: eight points drawn
        {224, 149, shade},                  // and six left out
        {470, 364, accent},                 // the confirm button
        {428, 364, QColor(0, 0, 0, 215)}};  // the cancel button, over the shade
    for (const auto& [x, y, colour] : rows) EXPECT_EQ(colourAt(x, y), colour) << x << ", " << y;
    open(Rect{200, 150, 300, 200}, picture);
    EXPECT_EQ(colourAt(600, 500), QColor(72, 144, 36));
    EXPECT_EQ(colourAt(300, 300), QColor(100, 200, 50));
    open({});
    EXPECT_GT(colourAt(400, 253).alpha(), 200);  // behind the hint
    // What a damaged file may hold is drawn in finite time.
    open(Rect{-1e300, -1e9, 3e300, 1e12});
    EXPECT_EQ(colourAt(300, 300), QColor(0, 0, 0, 0));
}

}  // namespace
}  // namespace kasto::test
