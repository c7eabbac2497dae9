#pragma once

#include "settings/Row.h"

#include <QRectF>
#include <vector>

namespace kasto {

// Where the rows of the settings window and their controls are, in points, in the order of the rows.
struct PlacedRow {
    QRectF rect;  // the whole row; a heading's is empty in width
    // Of an on/off row its switch, of a choice its button, of an action row its buttons.
    std::vector<QRectF> controls;
};

// The rows below each other, the first at `top`, for a view of this width.
std::vector<PlacedRow> placedRows(const std::vector<Row>& rows, double viewWidth, double top);

// Where the line below the last row begins, with the first row at `top`.
double footerTop(const std::vector<Row>& rows, double top);

// The height of all rows with the margins around them and the line below the last one.
double contentHeight(const std::vector<Row>& rows);

// The margin around the list.
inline constexpr double kSettingsPad = 18;

}  // namespace kasto
