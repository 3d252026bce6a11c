// Editing a curve record: the adjustment, the point grid, inserting and deleting points.
#include <gmock/gmock.h>

#include "edit/curve_adjustment.h"
#include "edit/point_grid.h"
#include "edit/point_insert_delete.h"

using namespace kelvara;
using Numbers = std::vector<double>;
using Strings = std::vector<std::string>;

namespace {

// Points with the given temperatures, and sensor units 1, 2, 3 ... unless given.
CurveRecord curve_of(const Numbers& temperatures, const Numbers& units = {}) {
    CurveRecord curve = CurveRecord::for_model(InstrumentModel::TAZ);
    for (std::size_t i = 0; i < temperatures.size(); ++i) {
        curve.temperatures[i] = temperatures[i];
        curve.sensor_units[i] = units.empty() ? i + 1.0 : units[i];
    }
    get_number_of_breakpoints(curve);
    return curve;
}

// Points with units 1, 2 ... and temperatures 10, 20 ...
CurveRecord numbered_curve(int count) {
    Numbers temperatures;
    for (int i = 1; i <= count; ++i) temperatures.push_back(10.0 * i);
    return curve_of(temperatures);
}

Numbers first(const Numbers& column, std::size_t count) {
    return {column.begin(), column.begin() + count};
}

struct RecordingViews : Views {
    int graph = 0, graph_series2 = 0, grid_from_top = 0;
    void update_graph() override { ++graph; }
    void update_graph_series2() override { ++graph_series2; }
    void show_grid_from_top() override { ++grid_from_top; }
};

struct MockDialog : AdjustPointsDialog {
    MOCK_METHOD(AdjustAnswer, ask, (), (override));
};

}  // namespace

TEST(ApplyAdjustment, MovesTemperaturesOntoThePairLines) {
    // name, temperatures, pairs, temperatures afterwards, units of the first point left
    // clang-format off
    const std::tuple<const char*, Numbers, std::vector<AdjustmentPair>, Numbers, double> rows[] = {
        {"rising, 77 K", {20, 77, 175, 273, 300, 375, 477, 500}, {{77, 77.5}}, {20.65, 77.5, 175.25, 273, 300, 375, 477, 500}, 1},
        {"rising, both, unsorted", {20, 77, 175, 273, 300, 375, 477, 500}, {{375, 374}, {77, 77.5}}, {20.65, 77.5, 175.25, 273, 300, 374, 475, 497.77}, 1},
        // A warm first point sends every point to the high rule.
        {"falling, 77 K", {500, 477, 375, 300, 273, 175, 77, 20}, {{77, 77.5}}, {500, 477, 375, 300, 273, 175, 77, 20}, 1},
        {"falling, both", {500, 477, 375, 300, 273, 175, 77, 20}, {{77, 77.5}, {375, 374}}, {497.77, 475, 374, 300, 273, 175, 77, 20}, 1},
        {"low pass stops at 273 K", {77, 300, 175, 77}, {{77, 77.5}}, {77.5, 300, 175, 77}, 1},
        {"between high pairs", {330, 400, 450, 500, 600}, {{400, 402}, {500, 501}}, {330.9, 402, 451.5, 501, 600}, 1},
        {"between low pairs", {10, 30, 50, 150}, {{10, 12}, {50, 49}}, {12, 30.5, 49, 149.45}, 1},
        // Equal measured temperatures at an end give no slope: the points beyond stay.
        {"equal at low end", {20, 77, 175}, {{77, 77.5}, {77, 78}}, {20, 77.5, 175.5}, 1},
        {"equal at high end", {375, 477}, {{375, 374}, {375, 376}}, {374, 477}, 1},
        {"two decimals", {0.5, 2.675, 77.123, 80, 300.555}, {{400, 401}}, {0.5, 2.68, 77.12, 80, 300.56}, 1},
        // Leading points pushed below 0 K are removed.
        {"below 0 K", {1, 2, 50, 100, 300}, {{100, 50}}, {50, 300, UNUSED_POINT, UNUSED_POINT, UNUSED_POINT}, 4}};
    // clang-format on
    for (const auto& [name, before, pairs, after, first_units] : rows) {
        SCOPED_TRACE(name);
        CurveRecord curve = curve_of(before);
        ASSERT_EQ(apply_adjustment(curve, pairs), AdjustmentResult::Applied);
        EXPECT_EQ(first(curve.temperatures, before.size()), after);
        EXPECT_EQ(first(curve.sensor_units, 2), (Numbers{first_units, first_units + 1}));
    }
}

TEST(AdjustCommand, CollectsPairsThenAppliesThemOrLeavesTheCurve) {
    const auto next = [](double m, double a) { return AdjustAnswer{kNextPoint, m, a, true}; };
    const auto done = [](double m, double a) { return AdjustAnswer{kDone, m, a, true}; };
    const AdjustAnswer done_empty{kDone}, cancel{kCancel};
    using O = AdjustmentOutcome;
    // name, pairs entered first (away from 77 K), answers, outcome, messages, 77 K point after
    // clang-format off
    const std::tuple<const char*, int, std::vector<AdjustAnswer>, O, Strings, double> rows[] = {
        {"next then done", 0, {next(77, 77.5), done_empty}, O::Applied, {}, 77.5},
        {"cancel drops pairs", 0, {next(77, 77.5), cancel}, O::Cancelled, {}, 77},
        {"0 and 273 dropped", 0, {next(0, 80), next(77, 0), next(273, 77.5), next(77, 273), done_empty}, O::NoPairs,
         {"User must input at least one point to apply any correction."}, 77},
        {"dropped beside kept", 0, {next(273, 100), done(77, 77.5)}, O::Applied, {}, 77.5},
        // A 21st pair is refused and the dialog comes back for Done or Cancel.
        {"21st on next", 20, {next(77, 100), done_empty}, O::Applied, {"At most 20 pairs can be entered."}, 77},
        {"21st on done", 20, {done(77, 100), cancel}, O::Cancelled, {"At most 20 pairs can be entered."}, 77},
        {"every point negative", 0, {done(200, 1)}, O::EveryPointNegative,
         {"The correction would make every temperature negative; the curve is unchanged."}, 77}};
    // clang-format on
    for (const auto& [name, filler, script, outcome, messages, t77_after] : rows) {
        SCOPED_TRACE(name);
        CurveRecord curve = curve_of({20, 77, 175});
        HeaderFields fields = HeaderFields::for_model(InstrumentModel::TAZ);
        fields.name = "PT-100";
        MockDialog dialog;  // asked exactly once per scripted answer
        auto& asked = EXPECT_CALL(dialog, ask());
        for (int i = 0; i < filler; ++i) asked.WillOnce(testing::Return(next(600 + i, 600 + i)));
        for (const AdjustAnswer& answer : script) asked.WillOnce(testing::Return(answer));
        RecordingPrompts prompts;
        RecordingViews views;
        EXPECT_EQ(cmdAdjust_Click(curve, fields, dialog, prompts, views), outcome);
        EXPECT_EQ(prompts.texts(), messages);
        for (const auto& shown : prompts.shown) EXPECT_EQ(shown.title, "Invalid Data");
        EXPECT_DOUBLE_EQ(curve.temperatures[1], t77_after);
        const int applied = outcome == O::Applied ? 1 : 0;
        EXPECT_EQ(std::make_tuple(views.graph, views.graph_series2, views.grid_from_top),
                  std::make_tuple(0, applied, applied));
        EXPECT_EQ(fields.name, applied ? "Adjusted" : "PT-100");
    }
}

TEST(PointGrid, RowsFollowTheScrollValue) {
    // Scroll value 3 of 12 points shows points 3 to 12; past the curve the cells are empty.
    const auto rows = grid_rows(numbered_curve(12), top_index_for_scroll_value(3));
    EXPECT_EQ(rows.front().point_text + " " + rows.front().units_text, "3 3");
    EXPECT_EQ(rows.back().point_text + " " + rows.back().temperature_text, "12 120");
    const auto below = grid_rows(numbered_curve(12), top_index_for_scroll_value(4)).back();
    EXPECT_TRUE(below.units_unused && below.temperature_text.empty());
    // The last scroll position puts the model's last point in the bottom row.
    EXPECT_EQ(grid_scroll_range(max_breakpoints_of(InstrumentModel::HOX)).maximum, 183);
}

TEST(PointGrid, CellsAndSetpointAreStoredOrRefused) {
    const std::string warning =
        "WARNING! Sensor units must be entered by increasing magnitude as the point number "
        "increases.";
    using C = GridColumn;
    // column, point, entry, stored, messages, points afterwards, cell afterwards; on five points
    // with units 1 .. 5 and temperatures 10 .. 50
    // clang-format off
    const std::tuple<C, int, CellEntry, bool, Strings, int, double> rows[] = {
        {C::SensorUnits, 5, {std::nullopt, true}, true, {}, 4, UNUSED_POINT},  // the last point goes
        {C::SensorUnits, 3, {std::nullopt, true}, false, {"Enter Valid number."}, 5, 3},
        {C::Temperature, 5, {std::nullopt, false}, false, {"Enter Valid number or nothing."}, 5, 50},
        {C::Temperature, 7, {300.0, false}, true, {}, 5, 300},  // beyond a gap: stored, not counted
        {C::SensorUnits, 2, {0.5, false}, true, {warning}, 5, 0.5},
        {C::SensorUnits, 2, {1.0, false}, true, {}, 5, 1}};
    // clang-format on
    for (const auto& [column, point, entry, stored, messages, count_after, cell_after] : rows) {
        SCOPED_TRACE(point);
        CurveRecord curve = numbered_curve(5);
        RecordingPrompts prompts;
        RecordingViews views;
        EXPECT_EQ(validate_grid_cell(curve, column, point, entry, prompts, views), stored);
        EXPECT_EQ(prompts.texts(), messages);
        EXPECT_EQ(curve.breakpoint_count, count_after);
        EXPECT_EQ(views.graph, stored ? 1 : 0);
        EXPECT_EQ((column == C::SensorUnits ? curve.sensor_units : curve.temperatures)[point - 1],
                  cell_after);
    }
    // However many points are out of order, the warning comes once.
    RecordingPrompts prompts;
    EXPECT_TRUE(warn_if_units_not_increasing(curve_of({1, 2, 3}, {3, 2, 1}), prompts));
    // The setpoint limit takes numbers above 0 only.
    EXPECT_FALSE(validate_setpoint_limit(std::nullopt, prompts));
    EXPECT_FALSE(validate_setpoint_limit(0.0, prompts));
    EXPECT_TRUE(validate_setpoint_limit(0.001, prompts));
    EXPECT_EQ(prompts.texts(),
              (Strings{warning, "Enter Valid Number.", "Number must be greater than 0."}));
}

TEST(InsertDeletePoint, FollowingPointsShift) {
    RecordingPrompts prompts;
    RecordingViews views;
    EXPECT_EQ(insert_a_point_precheck(numbered_curve(200), 0, prompts), InsertPrecheck::CurveFull);
    EXPECT_EQ(insert_pair_entries(numbered_curve(5), 0),
              (Strings{"1 And 2", "2 And 3", "3 And 4", "4 And 5"}));
    // Units above the upper neighbour are refused; units between them or equal to them are taken.
    CurveRecord curve = curve_of({90, 80, 79, 70}, {0.2, 0.4, 0.4, 0.6});
    EXPECT_EQ(insert_point_ok(curve, "3 And 4", "11 And 12", 0.61, 75, prompts, views),
              std::nullopt);
    EXPECT_EQ(insert_point_ok(curve, "3 And 4", "11 And 12", 0.5, 75, prompts, views), 11);
    EXPECT_EQ(insert_point_ok(curve, "2 And 3", "11 And 12", 0.4, 79.5, prompts, views), 11);
    EXPECT_EQ(prompts.texts(),
              (Strings{"Can't insert point because maximum number of points used for curve.",
                       "Enter valid increasing magnitude sensor unit number."}));
    EXPECT_EQ(first(curve.sensor_units, 7), (Numbers{0.2, 0.4, 0.4, 0.4, 0.5, 0.6, UNUSED_POINT}));
    EXPECT_EQ(first(curve.temperatures, 7), (Numbers{90, 80, 79.5, 79, 75, 70, UNUSED_POINT}));
    EXPECT_EQ(views.graph, 2);

    // Point 8 of five is beyond the curve and changes nothing; point 3 goes.
    CurveRecord five = numbered_curve(5);
    EXPECT_EQ(delete_point_ok(five, 8, 1, views), 1);
    EXPECT_EQ(delete_point_ok(five, 3, 1, views), 1);
    EXPECT_EQ(first(five.sensor_units, 5), (Numbers{1, 2, 4, 5, UNUSED_POINT}));
    EXPECT_EQ(first(five.temperatures, 5), (Numbers{10, 20, 40, 50, UNUSED_POINT}));
}
