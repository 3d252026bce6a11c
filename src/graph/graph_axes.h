// Axis arithmetic of the zoomable graph: windows on linear and logarithmic axes, zooming about
// a point, and tick values a reader can use. Plain numbers, so the rules are checked without
// painting.
#pragma once

#include <vector>

#include "graph/graph_description.h"

namespace kelvara {

// The part of an axis that is shown, in the axis' own values (kelvin, volts ...).
struct AxisWindow {
    double low = 0;
    double high = 1;
    bool operator==(const AxisWindow&) const = default;
};

// Where a value sits along the axis: the value itself on a linear axis, its decimal logarithm
// on a logarithmic one. Zooming and interpolation work in this coordinate, so a zoomed log axis
// keeps the proportions the eye sees.
double axis_position(double value, AxisScale scale);
double axis_value(double position, AxisScale scale);

// The window after zooming by factor (below 1 narrows) about value centre. Never wider than
// full (a zoom out stops at the full curve) and never narrower than a millionth of the values
// it shows, where the labels would stop telling neighbouring ticks apart.
AxisWindow zoom_about(const AxisWindow& shown, const AxisWindow& full, AxisScale scale,
                      double centre, double factor);

// True when window is narrow enough to be worth showing (see zoom_about).
bool zoomable_window(const AxisWindow& window, AxisScale scale);

// The largest step of 1, 2 or 5 times a power of ten that cuts span into at least parts
// parts (so a zoomed axis shows between parts and about 2.5 x parts round labels).
double nice_step(double span, int parts);

// Labelled tick values inside a zoomed logarithmic window, between 3 and 10 of them where the
// window allows: whole decades for wide windows, 1-2-5 or 1..9 times a decade for a decade or
// two, evenly spaced round values inside a fraction of a decade.
std::vector<double> log_ticks(const AxisWindow& window);

// Significant digits a label needs so that ticks step apart show different text.
int label_digits(const AxisWindow& window, double step);

}  // namespace kelvara
