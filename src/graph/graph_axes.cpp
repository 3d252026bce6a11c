#include "graph/graph_axes.h"

#include <algorithm>
#include <cmath>

namespace kelvara {

namespace {

constexpr double kSmallestRelativeSpan = 1e-6;

// Multiples of step inside the window (with a little slack for rounding at the ends).
std::vector<double> multiples(const AxisWindow& w, double step) {
    std::vector<double> ticks;
    const double slack = step * 1e-9;
    for (double k = std::ceil((w.low - slack) / step); k * step <= w.high + slack; k += 1) {
        const double v = k * step;
        ticks.push_back(std::abs(v) < slack ? 0.0 : v);
        if (ticks.size() > 100) break;
    }
    return ticks;
}

// Every mantissa times each power of ten that falls inside the window.
std::vector<double> decade_multiples(const AxisWindow& w, const std::vector<double>& mantissas,
                                     int decade_step) {
    std::vector<double> ticks;
    const int first = static_cast<int>(std::floor(std::log10(w.low)));
    const int last = static_cast<int>(std::ceil(std::log10(w.high)));
    for (int k = first; k <= last; ++k) {
        if (k % decade_step != 0) continue;
        for (double m : mantissas) {
            const double v = m * std::pow(10.0, k);
            if (v >= w.low * (1 - 1e-12) && v <= w.high * (1 + 1e-12)) ticks.push_back(v);
        }
    }
    return ticks;
}

}  // namespace

double axis_position(double value, AxisScale scale) {
    return scale == AxisScale::Logarithmic ? std::log10(value) : value;
}

double axis_value(double position, AxisScale scale) {
    return scale == AxisScale::Logarithmic ? std::pow(10.0, position) : position;
}

bool zoomable_window(const AxisWindow& window, AxisScale scale) {
    if (!(window.low < window.high)) return false;
    if (scale == AxisScale::Logarithmic)
        return window.low > 0 && window.high / window.low - 1 >= kSmallestRelativeSpan;
    const double magnitude = std::max(std::abs(window.low), std::abs(window.high));
    return window.high - window.low >= magnitude * kSmallestRelativeSpan &&
           window.high - window.low > 1e-300;
}

AxisWindow zoom_about(const AxisWindow& shown, const AxisWindow& full, AxisScale scale,
                      double centre, double factor) {
    const double c = axis_position(centre, scale);
    const double low = axis_position(shown.low, scale);
    const double high = axis_position(shown.high, scale);
    AxisWindow next{axis_value(c - (c - low) * factor, scale),
                    axis_value(c + (high - c) * factor, scale)};
    next.low = std::max(next.low, full.low);
    next.high = std::min(next.high, full.high);
    if (!zoomable_window(next, scale)) return shown;
    return next;
}

double nice_step(double span, int parts) {
    const double most = span / std::max(parts, 1);
    const double decade = std::pow(10.0, std::floor(std::log10(most)));
    for (double m : {5.0, 2.0, 1.0})
        if (m * decade <= most * 1.0000001) return m * decade;
    return decade;
}

std::vector<double> log_ticks(const AxisWindow& window) {
    const auto fits = [](const std::vector<double>& t) { return t.size() >= 3 && t.size() <= 10; };
    std::vector<double> ticks = decade_multiples(window, {1}, 1);
    if (ticks.size() > 10) {
        // Very wide: every second, fifth ... decade.
        const int every = static_cast<int>(std::ceil(static_cast<double>(ticks.size()) / 8.0));
        ticks = decade_multiples(window, {1}, every);
    }
    if (fits(ticks)) return ticks;
    ticks = decade_multiples(window, {1, 2, 5}, 1);
    if (fits(ticks)) return ticks;
    ticks = decade_multiples(window, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 1);
    if (fits(ticks)) return ticks;
    // Inside a fraction of a decade the axis is nearly linear: round values evenly spaced.
    return multiples(window, nice_step(window.high - window.low, 4));
}

int label_digits(const AxisWindow& window, double step) {
    const double magnitude = std::max(std::abs(window.low), std::abs(window.high));
    if (!(magnitude > 0) || !(step > 0)) return 6;
    const int needed =
        static_cast<int>(std::floor(std::log10(magnitude)) - std::floor(std::log10(step))) + 1;
    return std::clamp(needed, 6, 15);
}

}  // namespace kelvara
