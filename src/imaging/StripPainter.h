#pragma once

#include "imaging/Kernels.h"
#include "imaging/PixelBuffer.h"
#include "imaging/RenderPlan.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace kasto {

// Memory for pixels that only ever grows. Contents are lost when it does.
class PixelMemory {
public:
    // At least that many pixels, aligned for vectors.
    void reserve(std::size_t pixels);
    Pixel* data() const { return pixels_.get(); }

private:
    struct Free {
        void operator()(Pixel* pixels) const;
    };
    std::unique_ptr<Pixel, Free> pixels_;
    std::size_t capacity_ = 0;
};

// Carries out a plan for strips of the target, one thread's share at a time. Layers hold one strip each; they
// and the enlarged rows of pictures stay in the cache.
class StripPainter {
public:
    // Gets ready for the strips of one render. The plan and the target have to stay until the last one.
    void begin(const RenderPlan& plan, PixelBuffer& target, int stripRows);

    // Draws the target's rows [top, bottom); an even number of rows and not more than announced.
    void paint(int top, int bottom);

private:
    using Run = Gradient::Run;

    // The two enlarged rows a picture's target row lies between.
    struct EnlargedRows {
        PixelMemory memory;
        Pixel* pixels[2] = {};
        int sourceRows[2] = {-1, -1};
    };

    Pixel* layerRow(int layer, int row) const;
    void findTouched(int top, int bottom);
    void paintColumns(Run columns, int top, int bottom);
    void carryOut(const Step& step, int row, Run columns);
    void convert(Run columns, int top, int bottom, bool isUntouched);

    void drawRow(const Draw& drawing, int row, Run columns, Pixel* target);
    void drawGradient(const Gradient& gradient, int row, Run columns, Pixel* target);
    void drawDisc(const Step& step, int row, Run columns);
    void drawPixels(std::size_t index, int row, Run columns, Pixel* target);
    void drawInterpolated(std::size_t index, int row, Run columns, Pixel* target);
    void drawAveraged(const Resampling& picture, int row, Run columns, Pixel* target);
    const Pixel* enlargedRow(std::size_t index, int sourceRow, int keep);

    const RenderPlan* plan_ = nullptr;
    PixelBuffer* target_ = nullptr;
    bool isPlanar_ = false;
    bool copiesBase_ = false;  // the lowest picture covers the target pixel by pixel
    int top_ = 0;              // of the strip at hand
    std::ptrdiff_t stride_ = 0;
    std::ptrdiff_t layerSize_ = 0;
    PixelMemory layers_;
    PixelMemory drawn_;  // rows that go over a layer
    PixelMemory saved_;
    PixelMemory masks_;
    PixelMemory averaged_;
    std::vector<const Pixel*> averagedFrom_;
    std::vector<std::uint16_t> averagedBy_;
    std::vector<EnlargedRows> enlarged_;  // by picture
    std::vector<Run> touched_;
};

}  // namespace kasto
