#pragma once

#include <cstdint>

namespace kasto {

// Points, sizes and rectangles. The name of a value says which coordinate space it is in (globalPts, cropPx):
// global points and capture pixels have their origin at the top left and y downward, image space has it at
// the bottom left and y upward. The arithmetic is the same in all of them.

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Vector {
    double dx = 0;
    double dy = 0;
    bool operator==(const Vector&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double minY() const { return y; }
    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    double midX() const { return x + width * 0.5; }
    double midY() const { return y + height * 0.5; }

    // True if the rectangle has no area.
    bool isEmpty() const { return !(width > 0 && height > 0); }

    // The edges at minX and minY belong to the rectangle, those at maxX and maxY do not.
    bool contains(Point p) const { return p.x >= x && p.x < maxX() && p.y >= y && p.y < maxY(); }

    // The common area, or an empty rectangle at the origin if there is none.
    Rect intersection(const Rect& other) const;

    // The smallest rectangle that contains both; an empty rectangle adds nothing.
    Rect united(const Rect& other) const;

    // The smallest rectangle with whole-number edges that contains this one.
    Rect integral() const;

    Rect translated(double dx, double dy) const { return {x + dx, y + dy, width, height}; }

    // Moved outward by `margin` on all four sides.
    Rect grown(double margin) const {
        return {x - margin, y - margin, width + 2 * margin, height + 2 * margin};
    }

    bool operator==(const Rect&) const = default;
};

// A rectangle of whole pixels.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    int maxX() const { return x + width; }
    int maxY() const { return y + height; }
    bool isEmpty() const { return width <= 0 || height <= 0; }
    PixelRect intersection(const PixelRect& other) const;
    bool operator==(const PixelRect&) const = default;
};

// Identifies a display: always the same for one output of one machine; 0 = none.
using DisplayId = std::uint32_t;

}  // namespace kasto
