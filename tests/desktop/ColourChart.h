#pragma once

#include "demo/ColourChart.h"

namespace kasto::test {
using demo::Colour;
namespace chart = demo::chart;
}  // namespace kasto::test
