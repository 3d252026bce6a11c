// The one open curve: breakpoint arrays and the header values that are not window fields.
// Name, serial number, setpoint, interpolation method and the thermocouple flag are the main
// window's fields and live in HeaderFields.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "curve/model_profile.h"

namespace kelvara {

inline constexpr double UNUSED_POINT = -9.9e-99;

struct CurveRecord {
    int data_format = 0;              // DataFormat code, as last written or read
    int temperature_coefficient = 1;  // 1 negative, 2 positive
    int nav_format_code = 0;
    std::string dun_format_char;  // one character or empty
    std::int32_t breakpoint_count = 0;
    std::int32_t max_breakpoints = 0;
    // Both hold max_breakpoints + 1 slots; the last is a spare that no point occupies.
    std::vector<double> sensor_units;
    std::vector<double> temperatures;

    // The empty curve of a model as the start-up leaves it (HOX: the fixed sensor-unit grid).
    static CurveRecord for_model(InstrumentModel model);

    // Slots breakpoint_count .. max_breakpoints-1 of both arrays become UNUSED_POINT.
    void clear_unused_slots();

    friend bool operator==(const CurveRecord&, const CurveRecord&) = default;
};

// The fixed sensor-unit value of HOX grid slot i (0..191).
double hox_grid_units(int index);

// Recounts breakpoint_count: the index of the first slot empty in either column, capped at
// max_breakpoints.
void get_number_of_breakpoints(CurveRecord& curve);

// 2 (positive) when there are two or more points and the first temperature is not above the
// last one; otherwise 1 (negative).
int temperature_coefficient_of(const CurveRecord& curve);

}  // namespace kelvara
