#include "curve/curve_record.h"

namespace kelvara {

double hox_grid_units(int index) {
    if (index < 150) return index * 0.02;
    if (index < 175) return (index - 150) * 0.04 + 3.0;
    return (index - 175) * 0.1 + 4.0;
}

CurveRecord CurveRecord::for_model(InstrumentModel model) {
    CurveRecord c;
    c.max_breakpoints = max_breakpoints_of(model);
    c.sensor_units.assign(c.max_breakpoints + 1, 0.0);
    c.temperatures.assign(c.max_breakpoints + 1, 0.0);
    for (int i = 0; i < c.max_breakpoints; ++i) {
        c.sensor_units[i] = model == InstrumentModel::HOX ? hox_grid_units(i) : UNUSED_POINT;
        c.temperatures[i] = UNUSED_POINT;
    }
    return c;
}

void CurveRecord::clear_unused_slots() {
    for (int i = breakpoint_count < 0 ? 0 : breakpoint_count; i < max_breakpoints; ++i) {
        sensor_units[i] = UNUSED_POINT;
        temperatures[i] = UNUSED_POINT;
    }
}

void get_number_of_breakpoints(CurveRecord& curve) {
    int i = 0;
    while (i < curve.max_breakpoints && curve.sensor_units[i] != UNUSED_POINT &&
           curve.temperatures[i] != UNUSED_POINT)
        ++i;
    curve.breakpoint_count = i;
}

int temperature_coefficient_of(const CurveRecord& curve) {
    if (curve.breakpoint_count < 2) return 1;
    return curve.temperatures[0] <= curve.temperatures[curve.breakpoint_count - 1] ? 2 : 1;
}

}  // namespace kelvara
