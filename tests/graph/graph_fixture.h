// Curves and header fields for the graph's tests.
#pragma once

#include <vector>

#include "graph/curve_graph.h"

namespace kelvara::test {

// A curve of the given points (temperature, sensor units).
inline CurveRecord curve_of(InstrumentModel model, const std::vector<GraphPoint>& points) {
    CurveRecord curve = CurveRecord::for_model(model);
    for (std::size_t i = 0; i < points.size(); ++i) {
        curve.temperatures[i] = points[i].x;
        curve.sensor_units[i] = points[i].y;
    }
    get_number_of_breakpoints(curve);
    return curve;
}

// The model's fields, offered the one data format given (so that only the model decides).
inline HeaderFields fields_of(InstrumentModel model, const char* format) {
    HeaderFields fields = HeaderFields::for_model(model);
    fields.data_format.entries = {format};
    fields.data_format.selected = 0;
    return fields;
}

}  // namespace kelvara::test
