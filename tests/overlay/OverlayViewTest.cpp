// What the overlay paints, pixel by pixel.

#include "overlay/OverlayView.h"
#include "support/OffscreenQt.h"
#include "ui/Brand.h"

#include <QImage>

namespace kasto::test {
namespace {

constexpr Size kSize{320, 200};

class OverlayViewTest : public testing::TestWithParam<double> {
protected:
    OverlayViewTest() {
        picture.fill(Qt::transparent);
        snapshot.area = CaptureArea({0, 0, 320, 200}, {640, 400});
        snapshot.cropPx = {0, 0, 640, 400};
        show();
    }

    void show(bool blends = true, double timeS = 0) {
        view.setCanvas({kSize, scale, blends});
        view.render(snapshot, 5, "", {}, timeS);
    }

    // As a window does: clears what changed and paints it.
    void paint() {
        const auto dirty = view.takeDirty();
        QPainter painter(&picture);
        painter.setClipRegion(dirty);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(picture.rect(), Qt::transparent);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.scale(scale, scale);
        view.paint(painter, dirty);
    }

    // Of a point of the view.
    QPoint pixel(double x, double y) const { return {int(x * scale), int(y * scale)}; }
    QColor at(double x, double y) const { return picture.pixelColor(pixel(x, y)); }

    void expectNothingOutside(const QRegion& area) const {
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                ASSERT_TRUE(area.contains(QPoint(x, y)) || qAlpha(picture.pixel(x, y)) == 0) << x << " " << y;
    }

    const double scale = GetParam();
    QImage picture{(QSizeF(kSize.width, kSize.height) * scale).toSize(), QImage::Format_ARGB32_Premultiplied};
    RenderSnapshot snapshot;
    OverlayView view;
    const QColor accent = QColor(Brand::accent().rgb());
};

TEST_P(OverlayViewTest, paintsItsPartsAndNothingElse) {
    snapshot.ripples.push_back({{200, 200}, 60, 0.1});
    snapshot.heldDisc = {{200, 200}, 32, 0.3};
    snapshot.camRect = Rect{400, 200, 160, 160};
    // Green between blue sides.
    const auto frame = PixelBuffer::make(PixelFormat::bgrx, 8, 4);
    QImage pixels(frame->plane(0).data, 8, 4, frame->plane(0).strideBytes, QImage::Format_RGB32);
    pixels.fill(QColor(0, 200, 255));
    QPainter(&pixels).fillRect(2, 0, 4, 4, QColor(0, 200, 0));
    view.setCameraPreview([&] { return frame; });
    show();
    paint();
    expectNothingOutside(view.paintedPx());
    EXPECT_EQ(at(6, 2.5), accent);              // the first dash along the top
    EXPECT_EQ(at(6, 1.5).alpha(), 0);           // the line begins two points from the edge
    EXPECT_NEAR(at(130, 100).alpha(), 204, 6);  // a pulse
    EXPECT_NEAR(at(100, 84).alpha(), 204, 1);   // the held disc
    EXPECT_EQ(at(320 - 20, 40).alpha(), 184);   // the ground of the heads-up display
    EXPECT_EQ(at(200.5, 120), accent);          // the tile's border
    EXPECT_EQ(at(240, 140), QColor(0, 200, 0));
    EXPECT_EQ(at(203, 103), QColor(0, 200, 0));  // the picture's sides are cut off

    snapshot.camRound = true;
    snapshot.ripples = {};
    show();
    paint();
    EXPECT_EQ(at(203, 103).alpha(), 0);
    expectNothingOutside(view.paintedPx());
}

TEST_P(OverlayViewTest, paintsOnlyWhatChanged) {
    const auto hud = pixel(300, 45);
    paint();
    show();
    EXPECT_TRUE(view.takeDirty().isEmpty());
    show(true, 0.2);
    const auto sides = view.takeDirty();
    EXPECT_TRUE(!sides.isEmpty() && !sides.contains(hud) && !sides.contains(picture.rect().center()));
    snapshot.zoom = 1.5;
    show(true, 0.2);
    EXPECT_TRUE(view.takeDirty().contains(hud));
    snapshot.area = {};
    view.render(snapshot, 90, "", {}, 9);
    EXPECT_TRUE(view.takeDirty().isEmpty());
}

// Without a compositing manager there are no translucent pixels, and the lines are left to another window.
TEST_P(OverlayViewTest, isCutOutWhereNothingIsBlended) {
    snapshot.ripples.push_back({{200, 200}, 60, 0.1});
    snapshot.camRect = Rect{400, 200, 160, 160};
    view.setCameraPreview([] { return PixelBufferRef(); });
    show(false);
    paint();
    const auto shape = view.shapePx();
    EXPECT_TRUE(shape.contains(pixel(300, 45)) && shape.contains(pixel(200.5, 120)));
    EXPECT_FALSE(shape.contains(pixel(240, 140))) << "the middle of a tile without a picture";
    expectNothingOutside(shape);
    QRegion red;
    for (const auto& rect : view.linesPx()) red += QRect(rect.x, rect.y, rect.width, rect.height);
    const auto isRed = [&](double x, double y) { return red.contains(pixel(x, y)); };
    EXPECT_TRUE(isRed(6, 2.5) && isRed(130, 100) && isRed(100, 70));
    EXPECT_FALSE(isRed(14.5, 3) || isRed(100, 100) || isRed(126, 100) || isRed(300, 45));
    EXPECT_TRUE((red - view.linesAreaPx()).isEmpty());
    EXPECT_TRUE((view.linesAreaPx() & view.paintedPx()).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Scales, OverlayViewTest, testing::Values(1.0, 1.25, 2.0));

}  // namespace
}  // namespace kasto::test
