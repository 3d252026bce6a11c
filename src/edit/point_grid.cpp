#include "edit/point_grid.h"

#include <algorithm>
#include <cstddef>

#include "curve/number_format.h"

namespace kelvara {

namespace {

double slot_value(const std::vector<double>& column, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= column.size()) return UNUSED_POINT;
    return column[static_cast<std::size_t>(index)];
}

std::string cell_text(double value) {
    return value == UNUSED_POINT ? std::string() : general_text(value);
}

}  // namespace

std::array<GridRow, kGridRowCount> grid_rows(const CurveRecord& curve, int top_index) {
    std::array<GridRow, kGridRowCount> rows;
    for (int r = 0; r < kGridRowCount; ++r) {
        GridRow& row = rows[static_cast<std::size_t>(r)];
        const int index = top_index + r;
        row.point_number = index + 1;
        row.point_text = std::to_string(row.point_number);
        row.sensor_units = slot_value(curve.sensor_units, index);
        row.temperature = slot_value(curve.temperatures, index);
        row.units_unused = row.sensor_units == UNUSED_POINT;
        row.temperature_unused = row.temperature == UNUSED_POINT;
        row.units_text = cell_text(row.sensor_units);
        row.temperature_text = cell_text(row.temperature);
    }
    return rows;
}

bool validate_grid_cell(CurveRecord& curve, GridColumn column, int point_number, CellEntry entry,
                        Prompts& prompts, Views& views) {
    std::optional<double> stored;
    if (entry.value) {
        stored = *entry.value;
    } else if (point_number < curve.breakpoint_count) {
        // Emptying a point that has points after it would cut the curve in two.
        prompts.message("Enter Valid number.");
        return false;
    } else if (!entry.empty) {
        prompts.message("Enter Valid number or nothing.");
        return false;
    } else {
        stored = UNUSED_POINT;
    }
    // Rows always lie within the model's points; a point number outside them has no slot.
    if (point_number < 1 || point_number > curve.max_breakpoints) return false;
    auto& target = column == GridColumn::SensorUnits ? curve.sensor_units : curve.temperatures;
    const auto index = static_cast<std::size_t>(point_number - 1);
    if (index >= target.size()) return false;
    target[index] = *stored;
    get_number_of_breakpoints(curve);
    warn_if_units_not_increasing(curve, prompts);
    views.update_graph();
    return true;
}

bool warn_if_units_not_increasing(const CurveRecord& curve, Prompts& prompts) {
    if (curve.breakpoint_count < 2) return false;
    for (int i = 1; i < curve.breakpoint_count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        if (curve.sensor_units[at - 1] > curve.sensor_units[at]) {
            prompts.message(
                "WARNING! Sensor units must be entered by increasing magnitude as the point "
                "number increases.");
            return true;
        }
    }
    return false;
}

bool validate_setpoint_limit(std::optional<double> value, Prompts& prompts) {
    if (!value) {
        prompts.message("Enter Valid Number.");
        return false;
    }
    if (!(*value > 0)) {
        prompts.message("Number must be greater than 0.");
        return false;
    }
    return true;
}

GridScrollRange grid_scroll_range(int max_breakpoints) {
    GridScrollRange range;
    // A model with fewer than ten points still gets a usable bar that cannot move.
    range.maximum = std::max(range.minimum, max_breakpoints - (kGridRowCount - 1));
    return range;
}

}  // namespace kelvara
