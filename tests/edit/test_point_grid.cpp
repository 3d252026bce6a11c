#include <gtest/gtest.h>

#include "edit/point_grid.h"
#include "edit_fixtures.h"

using namespace kelvara;
using namespace kelvara::testing;

TEST(GridRows, ShowTenPointsFromTheScrollPositionAndBlankUnusedSlots) {
    const CurveRecord curve = numbered_curve(12);
    const auto rows = grid_rows(curve, top_index_for_scroll_value(3));
    for (int r = 0; r < kGridRowCount; ++r) {
        SCOPED_TRACE(r);
        const GridRow& row = rows[static_cast<std::size_t>(r)];
        EXPECT_EQ(row.point_number, 3 + r);
        EXPECT_EQ(row.point_text, std::to_string(3 + r));
        EXPECT_FALSE(row.units_unused);
        EXPECT_DOUBLE_EQ(row.temperature, 10.0 * (3 + r));
    }
    EXPECT_EQ(rows[0].units_text, "0.3");
    EXPECT_EQ(rows[0].temperature_text, "30");

    const auto tail = grid_rows(numbered_curve(5), 0);
    EXPECT_EQ(tail[4].temperature_text, "50");
    EXPECT_TRUE(tail[5].units_unused);
    EXPECT_TRUE(tail[5].temperature_unused);
    EXPECT_EQ(tail[5].units_text, "");
    EXPECT_EQ(tail[5].temperature_text, "");
}

TEST(GridRows, LastScrollPositionOfEachFamilyEndsAtTheLastSlot) {
    struct Row {
        InstrumentModel model;
        int maximum;
    };
    for (const Row row : {Row{InstrumentModel::TAZ, 191}, Row{InstrumentModel::HOX, 183},
                          Row{InstrumentModel::NAV, 88}}) {
        SCOPED_TRACE(max_breakpoints_of(row.model));
        const GridScrollRange range = grid_scroll_range(max_breakpoints_of(row.model));
        EXPECT_EQ(range.minimum, 1);
        EXPECT_EQ(range.maximum, row.maximum);
        EXPECT_EQ(range.single_step, 1);
        EXPECT_EQ(range.page_step, 10);
        const CurveRecord curve = CurveRecord::for_model(row.model);
        const auto rows = grid_rows(curve, top_index_for_scroll_value(range.maximum));
        EXPECT_EQ(rows.front().point_number, row.maximum);
        EXPECT_EQ(rows.back().point_number, max_breakpoints_of(row.model));
    }
    // HOX shows its fixed sensor-unit grid up to the last slot, 5.6.
    const auto hox = grid_rows(CurveRecord::for_model(InstrumentModel::HOX), 182);
    EXPECT_EQ(hox.back().units_text, "5.6");
    EXPECT_TRUE(hox.back().temperature_unused);
}

struct CellCase {
    const char* name;
    int points;
    GridColumn column;
    int point_number;
    CellEntry entry;
    bool accepted;
    std::vector<std::string> messages;
    int count_after;
};

class ValidateGridCell : public ::testing::TestWithParam<CellCase> {};

TEST_P(ValidateGridCell, StoresOrRefuses) {
    const CellCase& c = GetParam();
    CurveRecord curve = numbered_curve(c.points);
    const CurveRecord before = curve;
    RecordingPrompts prompts;
    RecordingViews views;
    const bool accepted =
        validate_grid_cell(curve, c.column, c.point_number, c.entry, prompts, views);
    EXPECT_EQ(accepted, c.accepted);
    EXPECT_EQ(prompts.texts(), c.messages);
    EXPECT_EQ(curve.breakpoint_count, c.count_after);
    const auto& column =
        c.column == GridColumn::SensorUnits ? curve.sensor_units : curve.temperatures;
    const auto index = static_cast<std::size_t>(c.point_number - 1);
    if (c.accepted) {
        EXPECT_EQ(column[index], c.entry.value.value_or(UNUSED_POINT));
        EXPECT_EQ(views.graph, 1);
    } else {
        EXPECT_EQ(curve.sensor_units, before.sensor_units);
        EXPECT_EQ(curve.temperatures, before.temperatures);
        EXPECT_EQ(views.graph, 0);
    }
}

const char* const kWarning =
    "WARNING! Sensor units must be entered by increasing magnitude as the point number "
    "increases.";

INSTANTIATE_TEST_SUITE_P(
    Cases, ValidateGridCell,
    ::testing::Values(
        CellCase{"EmptyingLastPointDropsIt",
                 5,
                 GridColumn::SensorUnits,
                 5,
                 {std::nullopt, true},
                 true,
                 {},
                 4},
        CellCase{"EmptyingInnerPointRefused",
                 5,
                 GridColumn::SensorUnits,
                 3,
                 {std::nullopt, true},
                 false,
                 {"Enter Valid number."},
                 5},
        CellCase{"TextOnInnerPointRefused",
                 5,
                 GridColumn::Temperature,
                 4,
                 {std::nullopt, false},
                 false,
                 {"Enter Valid number."},
                 5},
        CellCase{"TextBeyondCurveRefused",
                 5,
                 GridColumn::Temperature,
                 7,
                 {std::nullopt, false},
                 false,
                 {"Enter Valid number or nothing."},
                 5},
        CellCase{"TextOnLastPointRefused",
                 5,
                 GridColumn::Temperature,
                 5,
                 {std::nullopt, false},
                 false,
                 {"Enter Valid number or nothing."},
                 5},
        CellCase{"NumberBeyondGapStoredNotCounted",
                 5,
                 GridColumn::Temperature,
                 7,
                 {300.0, false},
                 true,
                 {},
                 5},
        CellCase{"EmptyBeyondCurveAccepted",
                 5,
                 GridColumn::Temperature,
                 9,
                 {std::nullopt, true},
                 true,
                 {},
                 5},
        CellCase{"LowerUnitsWarnOnce",
                 5,
                 GridColumn::SensorUnits,
                 2,
                 {0.05, false},
                 true,
                 {kWarning},
                 5},
        CellCase{"EqualUnitsPass", 5, GridColumn::SensorUnits, 2, {0.1, false}, true, {}, 5},
        CellCase{"NumberIntoEmptyCurve", 0, GridColumn::SensorUnits, 1, {1.5, false}, true, {}, 0}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ValidateGridCellSequence, FillingBothColumnsOfTheNextRowExtendsTheCurve) {
    CurveRecord curve = numbered_curve(5);
    RecordingPrompts prompts;
    RecordingViews views;
    ASSERT_TRUE(
        validate_grid_cell(curve, GridColumn::SensorUnits, 6, {0.6, false}, prompts, views));
    EXPECT_EQ(curve.breakpoint_count, 5);
    ASSERT_TRUE(
        validate_grid_cell(curve, GridColumn::Temperature, 6, {60.0, false}, prompts, views));
    EXPECT_EQ(curve.breakpoint_count, 6);
    // Emptying one column of the new last point removes it from the count again.
    ASSERT_TRUE(validate_grid_cell(curve, GridColumn::Temperature, 6, {std::nullopt, true}, prompts,
                                   views));
    EXPECT_EQ(curve.breakpoint_count, 5);
    EXPECT_TRUE(prompts.shown.empty());
}

TEST(WarnIfUnitsNotIncreasing, ShowsTheWarningOnceWhateverTheNumberOfFaults) {
    RecordingPrompts prompts;
    EXPECT_TRUE(warn_if_units_not_increasing(make_curve({{3, 1}, {2, 2}, {1, 3}}), prompts));
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{kWarning});
    EXPECT_EQ(prompts.shown[0].title, kAppTitle);
    // Units that fall only after a gap are not part of the curve.
    CurveRecord gapped = make_curve({{1, 1}, {2, 2}});
    gapped.sensor_units[3] = 0.5;
    gapped.temperatures[3] = 4;
    EXPECT_FALSE(warn_if_units_not_increasing(gapped, prompts));
    EXPECT_EQ(prompts.shown.size(), 1U);
}

TEST(ValidateSetpointLimit, RefusesTextAndValuesNotAboveZero) {
    struct Row {
        std::optional<double> value;
        bool accepted;
        const char* message;
    };
    for (const Row& row : {Row{std::nullopt, false, "Enter Valid Number."},
                           Row{0.0, false, "Number must be greater than 0."},
                           Row{-5.0, false, "Number must be greater than 0."},
                           Row{0.001, true, nullptr}, Row{475.0, true, nullptr}}) {
        SCOPED_TRACE(row.value.value_or(-1));
        RecordingPrompts prompts;
        EXPECT_EQ(validate_setpoint_limit(row.value, prompts), row.accepted);
        if (row.message)
            EXPECT_EQ(prompts.texts(), std::vector<std::string>{row.message});
        else
            EXPECT_TRUE(prompts.shown.empty());
    }
}
