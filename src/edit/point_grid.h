// The ten-row point grid beside the graph, and the setpoint-limit field.
// Everything here takes numbers already parsed by the window (in the user's locale), so the rules
// stay free of any locale: a cell's text is given as "is it a number" plus "is it empty".
#pragma once

#include <array>
#include <optional>
#include <string>

#include "curve/curve_record.h"
#include "curve/prompts.h"

namespace kelvara {

inline constexpr int kGridRowCount = 10;

enum class GridColumn { SensorUnits, Temperature };

// One row of the grid as display_grid_data fills it. The texts use "." (general_text); the window
// re-renders the doubles in the user's locale and shows an empty cell where the flag says unused.
struct GridRow {
    int point_number = 0;  // top_index + row (1-based)
    double sensor_units = UNUSED_POINT;
    double temperature = UNUSED_POINT;
    bool units_unused = true;
    bool temperature_unused = true;
    std::string point_text;  // "7"
    std::string units_text;  // "" when unused
    std::string temperature_text;
};

// The rows shown with the point of index top_index in row 1. Slots beyond the record's arrays
// show as unused.
std::array<GridRow, kGridRowCount> grid_rows(const CurveRecord& curve, int top_index);

// What the user left in a cell: the parsed number (nullopt when the text is not a number) and
// whether the text is empty.
struct CellEntry {
    std::optional<double> value;
    bool empty = false;
};

// Runs when the user leaves a sensor-units or temperature cell of the row showing point_number.
// On acceptance the value is stored, the points recounted, the order checked and the graph
// redrawn; on refusal the message is shown and the record is untouched. True = accept.
bool validate_grid_cell(CurveRecord& curve, GridColumn column, int point_number, CellEntry entry,
                        Prompts& prompts, Views& views);

// Shows the increasing-units warning once when a point's units are below its predecessor's.
// True when the warning was shown.
bool warn_if_units_not_increasing(const CurveRecord& curve, Prompts& prompts);

// Setpoint-limit field ("Setpoint Limit (K)"): true = accept.
bool validate_setpoint_limit(std::optional<double> value, Prompts& prompts);

// The grid's scroll bar VScroll1.
struct GridScrollRange {
    int minimum = 1;
    int maximum = 1;
    int single_step = 1;
    int page_step = 10;
};
GridScrollRange grid_scroll_range(int max_breakpoints);

// Scroll value v shows top_index v - 1.
constexpr int top_index_for_scroll_value(int value) {
    return value - 1;
}
constexpr int scroll_value_for_top_index(int top_index) {
    return top_index + 1;
}

}  // namespace kelvara
