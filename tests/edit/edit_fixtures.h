// Curves and recording views shared by the editing tests.
#pragma once

#include <utility>
#include <vector>

#include "curve/curve_record.h"
#include "curve/prompts.h"

namespace kelvara::testing {

struct Point {
    double units;
    double temperature;
};

inline CurveRecord make_curve(const std::vector<Point>& points,
                              InstrumentModel model = InstrumentModel::TAZ) {
    CurveRecord curve = CurveRecord::for_model(model);
    for (std::size_t i = 0; i < points.size(); ++i) {
        curve.sensor_units[i] = points[i].units;
        curve.temperatures[i] = points[i].temperature;
    }
    get_number_of_breakpoints(curve);
    return curve;
}

// Points i = 0..count-1 with units (i+1)/10 and temperature 10*(i+1).
inline CurveRecord numbered_curve(int count, InstrumentModel model = InstrumentModel::TAZ) {
    std::vector<Point> points;
    for (int i = 0; i < count; ++i) points.push_back({(i + 1) / 10.0, 10.0 * (i + 1)});
    return make_curve(points, model);
}

inline std::vector<double> temperatures_in_use(const CurveRecord& curve) {
    return {curve.temperatures.begin(), curve.temperatures.begin() + curve.breakpoint_count};
}

inline std::vector<double> units_in_use(const CurveRecord& curve) {
    return {curve.sensor_units.begin(), curve.sensor_units.begin() + curve.breakpoint_count};
}

struct RecordingViews : Views {
    int graph = 0;
    int graph_series2 = 0;
    int grid_from_top = 0;
    void update_graph() override { ++graph; }
    void update_graph_series2() override { ++graph_series2; }
    void show_grid_from_top() override { ++grid_from_top; }
};

}  // namespace kelvara::testing
