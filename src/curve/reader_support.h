// Helpers shared by the readers: a point store that refuses to write past the arrays, and the
// last steps every successful read takes.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "curve/curve_record.h"
#include "curve/file_io.h"
#include "curve/files.h"
#include "curve/next_field.h"
#include "curve/number_format.h"

namespace kelvara::file_io {

// Stores a point read on the given line at index; an index at or beyond max_breakpoints is a
// file holding more points than the model allows.
inline void store_point(CurveRecord& curve, int index, double units, double temperature, int line) {
    if (index < 0 || index >= curve.max_breakpoints ||
        index >= static_cast<int>(curve.sensor_units.size()) ||
        index >= static_cast<int>(curve.temperatures.size()))
        throw FileError(on_line(line, kTooManyPoints));
    curve.sensor_units[index] = units;
    curve.temperatures[index] = temperature;
}

// The next token of a line as a number.
inline double number_field(std::string_view line, int& position) {
    return parse_leading_number(next_field(line, position));
}

// The point count and the numbered points of the .TAZ and .NAV layouts; returns the count.
int read_numbered_points(LineReader& in, CurveRecord& curve);

// Runs a reader's body on copies of the record and fields, so that a failed read leaves the
// window showing the curve it had. The body returns how many points it stored; on success the
// copies replace the originals.
template <class Body>
void read_into_copies(CurveRecord& curve, HeaderFields& fields, Body body) {
    CurveRecord c = curve;
    HeaderFields f = fields;
    c.breakpoint_count = body(c, f);
    c.clear_unused_slots();
    curve = std::move(c);
    fields = std::move(f);
}

// The same for the readers that tell the user "Bad file format." when they fail.
template <class Body>
void read_into_copies_or_complain(CurveRecord& curve, HeaderFields& fields, Prompts& prompts,
                                  Body body) {
    try {
        read_into_copies(curve, fields, body);
    } catch (const FileError&) {
        prompts.message("Bad file format.");
        throw;
    }
}

}  // namespace kelvara::file_io
