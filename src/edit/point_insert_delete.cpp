#include "edit/point_insert_delete.h"

#include <algorithm>
#include <cstddef>

#include "curve/next_field.h"
#include "curve/number_format.h"
#include "edit/point_grid.h"

namespace kelvara {

namespace {

constexpr const char* kUnitsNotNumber = "Enter Valid sensor unit number.";
constexpr const char* kTemperatureNotNumber = "Enter Valid temperature number.";
constexpr const char* kCurveFull =
    "Can't insert point because maximum number of points used for curve.";

void copy_point(CurveRecord& curve, std::size_t from, std::size_t to) {
    curve.sensor_units[to] = curve.sensor_units[from];
    curve.temperatures[to] = curve.temperatures[from];
}

}  // namespace

InsertPrecheck insert_a_point_precheck(const CurveRecord& curve, int top_index, Prompts& prompts) {
    if (!(curve.breakpoint_count < curve.max_breakpoints)) {
        prompts.message(kCurveFull);
        return InsertPrecheck::CurveFull;
    }
    const int first_visible = top_index + 1;
    if (!(first_visible < curve.breakpoint_count)) return InsertPrecheck::NoPair;
    return InsertPrecheck::OpenDialog;
}

std::vector<std::string> insert_pair_entries(const CurveRecord& curve, int top_index) {
    std::vector<std::string> entries;
    // Row 10 has no successor on screen, so it offers no pair.
    for (int row = 1; row < kGridRowCount; ++row) {
        const int p = top_index + row;
        if (p < curve.breakpoint_count)
            entries.push_back(std::to_string(p) + " And " + std::to_string(p + 1));
    }
    return entries;
}

bool validate_insert_units_field(std::optional<double> value, Prompts& prompts) {
    if (value) return true;
    prompts.message(kUnitsNotNumber);
    return false;
}

bool validate_insert_temperature_field(std::optional<double> value, Prompts& prompts) {
    if (value) return true;
    prompts.message(kTemperatureNotNumber);
    return false;
}

std::optional<int> first_number_of_entry(const std::string& entry) {
    int position = 1;
    return to_int32(next_field(entry, position));
}

std::optional<int> insert_point_ok(CurveRecord& curve, const std::string& selected_entry,
                                   const std::string& first_entry, std::optional<double> units,
                                   std::optional<double> temperature, Prompts& prompts,
                                   Views& views) {
    if (!units) {
        prompts.message(kUnitsNotNumber);
        return std::nullopt;
    }
    if (!(curve.breakpoint_count < curve.max_breakpoints)) {
        prompts.message(kCurveFull);
        return std::nullopt;
    }
    const std::optional<int> pair = first_number_of_entry(selected_entry);
    // The list only offers pairs of points in use; anything else cannot be placed.
    if (!pair || *pair < 1 || *pair >= curve.breakpoint_count) return std::nullopt;
    const int p = *pair;
    const auto lower = curve.sensor_units[static_cast<std::size_t>(p - 1)];
    const auto upper = curve.sensor_units[static_cast<std::size_t>(p)];
    if (*units < lower || *units > upper) {
        prompts.message("Enter valid increasing magnitude sensor unit number.");
        return std::nullopt;
    }
    if (!temperature) {
        prompts.message(kTemperatureNotNumber);
        return std::nullopt;
    }
    for (int i = curve.breakpoint_count - 1; i >= p; --i)
        copy_point(curve, static_cast<std::size_t>(i), static_cast<std::size_t>(i + 1));
    curve.sensor_units[static_cast<std::size_t>(p)] = *units;
    curve.temperatures[static_cast<std::size_t>(p)] = *temperature;
    get_number_of_breakpoints(curve);
    views.update_graph();
    return first_number_of_entry(first_entry).value_or(1);
}

std::vector<std::string> delete_point_entries(int top_index) {
    std::vector<std::string> entries;
    for (int row = 1; row <= kGridRowCount; ++row)
        entries.push_back(std::to_string(top_index + row));
    return entries;
}

int delete_point_ok(CurveRecord& curve, int point_number, int first_entry_number, Views& views) {
    const int last = curve.breakpoint_count - 1;
    for (int i = std::max(point_number - 1, 0); i <= last; ++i) {
        const auto at = static_cast<std::size_t>(i);
        if (i < last) {
            copy_point(curve, at + 1, at);
        } else {
            curve.sensor_units[at] = UNUSED_POINT;
            curve.temperatures[at] = UNUSED_POINT;
        }
    }
    get_number_of_breakpoints(curve);
    views.update_graph();
    return first_entry_number;
}

}  // namespace kelvara
