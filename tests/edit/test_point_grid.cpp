#include <gtest/gtest.h>

#include "edit/point_grid.h"
#include "edit_fixtures.h"

using namespace kelvara;
using namespace kelvara::testing;

TEST(GridRows, ScrollValueSelectsTheRowsAndUnusedSlotsShowEmpty) {
    const auto rows = grid_rows(numbered_curve(12), top_index_for_scroll_value(3));
    for (int r = 0; r < kGridRowCount; ++r) {
        EXPECT_EQ(rows[r].point_text, std::to_string(3 + r));
        EXPECT_DOUBLE_EQ(rows[r].temperature, 10.0 * (3 + r));
    }
    EXPECT_EQ(rows[0].units_text, "0.3");
    const auto tail = grid_rows(numbered_curve(5), 0);
    EXPECT_EQ(tail[4].temperature_text, "50");
    EXPECT_TRUE(tail[5].units_unused && tail[5].temperature_unused);
    EXPECT_EQ(tail[5].units_text + tail[5].temperature_text, "");
}

TEST(GridRows, LastScrollPositionShowsTheModelsLastSlot) {
    // model, scroll maximum, units text of the last slot
    const std::tuple<InstrumentModel, int, std::string> rows[] = {
        {InstrumentModel::TAZ, 191, ""},
        {InstrumentModel::HOX, 183, "5.6"},
        {InstrumentModel::NAV, 88, ""}};
    for (const auto& [model, maximum, last_units] : rows) {
        SCOPED_TRACE(maximum);
        const GridScrollRange range = grid_scroll_range(max_breakpoints_of(model));
        EXPECT_EQ(std::tie(range.minimum, range.maximum, range.single_step, range.page_step),
                  std::make_tuple(1, maximum, 1, 10));
        const auto shown = grid_rows(CurveRecord::for_model(model), maximum - 1);
        EXPECT_EQ(shown.front().point_number, maximum);
        EXPECT_EQ(shown.back().point_number, max_breakpoints_of(model));
        EXPECT_EQ(shown.back().units_text, last_units);
    }
}

const char* const kWarning =
    "WARNING! Sensor units must be entered by increasing magnitude as the point number "
    "increases.";

struct CellCase {
    const char* name;
    GridColumn column;
    int point_number;
    CellEntry entry;
    bool accepted;
    std::vector<std::string> messages;
    int count_after;
};
void PrintTo(const CellCase& c, std::ostream* os) {
    *os << c.name;
}

class ValidateGridCell : public ::testing::TestWithParam<CellCase> {};

// On a five-point curve with units 0.1 .. 0.5.
TEST_P(ValidateGridCell, StoresOrRefuses) {
    const CellCase& c = GetParam();
    CurveRecord curve = numbered_curve(5);
    const CurveRecord before = curve;
    RecordingPrompts prompts;
    RecordingViews views;
    EXPECT_EQ(validate_grid_cell(curve, c.column, c.point_number, c.entry, prompts, views),
              c.accepted);
    EXPECT_EQ(prompts.texts(), c.messages);
    EXPECT_EQ(curve.breakpoint_count, c.count_after);
    EXPECT_EQ(views.graph, c.accepted ? 1 : 0);
    auto& column = c.column == GridColumn::SensorUnits ? curve.sensor_units : curve.temperatures;
    if (c.accepted) {
        EXPECT_EQ(column[c.point_number - 1], c.entry.value.value_or(UNUSED_POINT));
    } else {
        EXPECT_EQ(curve.sensor_units, before.sensor_units);
        EXPECT_EQ(curve.temperatures, before.temperatures);
    }
}

using C = GridColumn;
// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, ValidateGridCell, ::testing::Values(
    CellCase{"EmptyingLastPointDropsIt", C::SensorUnits, 5, {std::nullopt, true}, true, {}, 4},
    CellCase{"EmptyingInnerPointRefused", C::SensorUnits, 3, {std::nullopt, true}, false, {"Enter Valid number."}, 5},
    CellCase{"TextOnInnerPointRefused", C::Temperature, 4, {std::nullopt, false}, false, {"Enter Valid number."}, 5},
    CellCase{"TextOnLastPointRefused", C::Temperature, 5, {std::nullopt, false}, false, {"Enter Valid number or nothing."}, 5},
    CellCase{"TextBeyondCurveRefused", C::Temperature, 7, {std::nullopt, false}, false, {"Enter Valid number or nothing."}, 5},
    CellCase{"EmptyBeyondCurveAccepted", C::Temperature, 9, {std::nullopt, true}, true, {}, 5},
    CellCase{"NumberBeyondGapStoredNotCounted", C::Temperature, 7, {300.0, false}, true, {}, 5},
    CellCase{"UnitsOfNextRowAloneNotCounted", C::SensorUnits, 6, {0.6, false}, true, {}, 5},
    CellCase{"LowerUnitsWarn", C::SensorUnits, 2, {0.05, false}, true, {kWarning}, 5},
    CellCase{"LowerUnitsOnFirstPointWarn", C::SensorUnits, 1, {0.3, false}, true, {kWarning}, 5},
    CellCase{"EqualUnitsPass", C::SensorUnits, 2, {0.1, false}, true, {}, 5}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

TEST(WarnIfUnitsNotIncreasing, OnceWhateverTheNumberOfFaultsAndNotPastAGap) {
    RecordingPrompts prompts;
    EXPECT_TRUE(warn_if_units_not_increasing(make_curve({{3, 1}, {2, 2}, {1, 3}}), prompts));
    CurveRecord gapped = make_curve({{1, 1}, {2, 2}});
    gapped.sensor_units[3] = 0.5;
    gapped.temperatures[3] = 4;
    EXPECT_FALSE(warn_if_units_not_increasing(gapped, prompts));
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{kWarning});
}

TEST(ValidateSetpointLimit, RefusesTextAndValuesNotAboveZero) {
    const std::pair<std::optional<double>, const char*> rows[] = {
        {std::nullopt, "Enter Valid Number."},
        {0.0, "Number must be greater than 0."},
        {-5.0, "Number must be greater than 0."},
        {0.001, nullptr},
        {475.0, nullptr}};
    for (const auto& [value, message] : rows) {
        RecordingPrompts prompts;
        EXPECT_EQ(validate_setpoint_limit(value, prompts), message == nullptr);
        EXPECT_EQ(prompts.texts(),
                  message ? std::vector<std::string>{message} : std::vector<std::string>{});
    }
}
