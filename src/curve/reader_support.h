// Helpers shared by the readers: a point store that refuses to write past the arrays, and the
// last steps every successful read takes.
#pragma once

#include <string>
#include <string_view>

#include "curve/curve_record.h"
#include "curve/files.h"
#include "curve/next_field.h"
#include "curve/number_format.h"

namespace kelvara::file_io {

// Stores a point at index; an index at or beyond max_breakpoints is a file holding more points
// than the model allows.
inline void store_point(CurveRecord& curve, int index, double units, double temperature) {
    if (index < 0 || index >= curve.max_breakpoints ||
        index >= static_cast<int>(curve.sensor_units.size()) ||
        index >= static_cast<int>(curve.temperatures.size()))
        throw FileError("the file holds more points than the model allows (" +
                        std::to_string(curve.max_breakpoints) + ")");
    curve.sensor_units[index] = units;
    curve.temperatures[index] = temperature;
}

// The next token of a line as a number.
inline double number_field(std::string_view line, int& position) {
    return parse_leading_number(next_field(line, position));
}

}  // namespace kelvara::file_io
