// Editing a curve record: the adjustment, the point grid, inserting and deleting points.
#include <gtest/gtest.h>

#include <functional>

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

Numbers first(const Numbers& column, int count) {
    return {column.begin(), column.begin() + count};
}

struct RecordingViews : Views {
    int graph = 0, graph_series2 = 0, grid_from_top = 0;
    void update_graph() override { ++graph; }
    void update_graph_series2() override { ++graph_series2; }
    void show_grid_from_top() override { ++grid_from_top; }
};

// Plays its answers in order, then Cancel as the window's close button does.
struct ScriptedDialog : AdjustPointsDialog {
    std::vector<AdjustAnswer> script;
    std::size_t asked = 0;
    AdjustAnswer ask() override {
        const std::size_t i = asked++;
        return i < script.size() ? script[i] : AdjustAnswer{kCancel};
    }
};

}  // namespace

TEST(ApplyAdjustment, MovesTemperaturesOntoThePairLines) {
    const Numbers rising{20, 77, 175, 273, 300, 375, 477, 500};
    const Numbers falling{500, 477, 375, 300, 273, 175, 77, 20};
    // name, temperatures, pairs, temperatures afterwards, units of the first point left
    // clang-format off
    const std::tuple<const char*, Numbers, std::vector<AdjustmentPair>, Numbers, double> rows[] = {
        {"rising, 77 K", rising, {{77, 77.5}}, {20.65, 77.5, 175.25, 273, 300, 375, 477, 500}, 1},
        {"rising, both, unsorted", rising, {{375, 374}, {77, 77.5}}, {20.65, 77.5, 175.25, 273, 300, 374, 475, 497.77}, 1},
        // A warm first point sends every point to the high rule.
        {"falling, 77 K", falling, {{77, 77.5}}, falling, 1},
        {"falling, both", falling, {{77, 77.5}, {375, 374}}, {497.77, 475, 374, 300, 273, 175, 77, 20}, 1},
        {"low pass stops at 273 K", {77, 300, 175, 77}, {{77, 77.5}}, {77.5, 300, 175, 77}, 1},
        {"between high pairs", {330, 400, 450, 500, 600}, {{400, 402}, {500, 501}}, {330.9, 402, 451.5, 501, 600}, 1},
        {"between low pairs", {10, 30, 50, 150}, {{10, 12}, {50, 49}}, {12, 30.5, 49, 149.45}, 1},
        // Equal measured temperatures at an end give no slope: the points beyond stay.
        {"equal at low end", {20, 77, 175}, {{77, 77.5}, {77, 78}}, {20, 77.5, 175.5}, 1},
        {"equal at high end", {375, 477}, {{375, 374}, {375, 376}}, {374, 477}, 1},
        {"two decimals", {0.5, 2.675, 77.123, 80, 300.555}, {{400, 401}}, {0.5, 2.68, 77.12, 80, 300.56}, 1},
        // Leading points pushed below 0 K are removed.
        {"below 0 K", {1, 2, 50, 100, 300}, {{100, 50}}, {50, 300}, 4}};
    // clang-format on
    for (const auto& [name, before, pairs, after, first_units] : rows) {
        SCOPED_TRACE(name);
        CurveRecord curve = curve_of(before);
        ASSERT_EQ(apply_adjustment(curve, pairs), AdjustmentResult::Applied);
        const int count = curve.breakpoint_count;
        EXPECT_EQ(first(curve.temperatures, count), after);
        for (int i = 0; i < count; ++i) EXPECT_EQ(curve.sensor_units[i], first_units + i);
        EXPECT_EQ(curve.temperatures[count], UNUSED_POINT);
    }
}

TEST(AdjustCommand, CollectsPairsThenAppliesThemOrLeavesTheCurve) {
    const auto next = [](double m, double a) { return AdjustAnswer{kNextPoint, m, a, true}; };
    const auto done = [](double m, double a) { return AdjustAnswer{kDone, m, a, true}; };
    const AdjustAnswer done_empty{kDone}, cancel{kCancel};
    const std::string too_many = "At most 20 pairs can be entered.";
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
        {"21st on next", 20, {next(77, 100), done_empty}, O::Applied, {too_many}, 77},
        {"21st on done", 20, {done(77, 100), cancel}, O::Cancelled, {too_many}, 77},
        {"every point negative", 0, {done(200, 1)}, O::EveryPointNegative,
         {"The correction would make every temperature negative; the curve is unchanged."}, 77}};
    // clang-format on
    for (const auto& [name, filler, script, outcome, messages, t77_after] : rows) {
        SCOPED_TRACE(name);
        CurveRecord curve = curve_of({20, 77, 175});
        HeaderFields fields = HeaderFields::for_model(InstrumentModel::TAZ);
        fields.name = "PT-100";
        ScriptedDialog dialog;
        for (int i = 0; i < filler; ++i) dialog.script.push_back(next(600 + i, 600 + i));
        dialog.script.insert(dialog.script.end(), script.begin(), script.end());
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
    const auto rows = grid_rows(numbered_curve(12), top_index_for_scroll_value(3));
    for (int r = 0; r < kGridRowCount; ++r) {
        EXPECT_EQ(rows[r].point_text, std::to_string(3 + r));
        EXPECT_DOUBLE_EQ(rows[r].temperature, 10.0 * (3 + r));
    }
    EXPECT_EQ(rows[0].units_text + " " + rows[9].temperature_text, "3 120");
    // At the last scroll position the bottom row shows the model's last point.
    const int hox_maximum = grid_scroll_range(max_breakpoints_of(InstrumentModel::HOX)).maximum;
    EXPECT_EQ(hox_maximum, 183);
    const auto bottom = grid_rows(CurveRecord::for_model(InstrumentModel::HOX),
                                  top_index_for_scroll_value(hox_maximum));
    EXPECT_EQ(bottom.back().point_number, 192);
}

TEST(PointGrid, CellIsStoredOrRefused) {
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
    EXPECT_EQ(prompts.texts(), Strings{warning});
}

TEST(PointGrid, SetpointLimitMustBeAPositiveNumber) {
    const std::pair<std::optional<double>, Strings> rows[] = {
        {std::nullopt, {"Enter Valid Number."}},
        {0.0, {"Number must be greater than 0."}},
        {0.001, {}}};
    for (const auto& [value, messages] : rows) {
        RecordingPrompts prompts;
        EXPECT_EQ(validate_setpoint_limit(value, prompts), messages.empty());
        EXPECT_EQ(prompts.texts(), messages);
    }
}

TEST(InsertDeletePoint, OfferedPairsAndTheShiftOfTheFollowingPoints) {
    RecordingPrompts full;
    EXPECT_EQ(insert_a_point_precheck(numbered_curve(200), 0, full), InsertPrecheck::CurveFull);
    EXPECT_EQ(full.texts(),
              Strings{"Can't insert point because maximum number of points used for curve."});
    EXPECT_EQ(insert_pair_entries(numbered_curve(5), 0),
              (Strings{"1 And 2", "2 And 3", "3 And 4", "4 And 5"}));

    // Every point, inserted ones included, has the temperature 100 - 50 * units.
    using Change = std::function<int(CurveRecord&, Prompts&, Views&)>;
    const auto insert = [](double units) -> Change {
        return [=](CurveRecord& c, Prompts& p, Views& v) {
            return insert_point_ok(c, "2 And 3", "11 And 12", units, 100 - 50 * units, p, v)
                .value_or(0);
        };
    };
    const auto erase = [](int point) -> Change {
        return [=](CurveRecord& c, Prompts&, Views& v) { return delete_point_ok(c, point, 11, v); };
    };
    const Strings refused{"Enter valid increasing magnitude sensor unit number."};
    // change, scroll value afterwards (0: the dialog stays), messages, units afterwards
    // clang-format off
    const std::tuple<const char*, Change, int, Strings, Numbers> rows[] = {
        {"between 0.4 and 0.6", insert(0.5), 11, {}, {0.2, 0.4, 0.5, 0.6, 0.8, 1}},
        {"equal to 0.4", insert(0.4), 11, {}, {0.2, 0.4, 0.4, 0.6, 0.8, 1}},
        {"above 0.6", insert(0.61), 0, refused, {0.2, 0.4, 0.6, 0.8, 1}},
        {"delete 3", erase(3), 11, {}, {0.2, 0.4, 0.8, 1}},
        {"delete 8", erase(8), 11, {}, {0.2, 0.4, 0.6, 0.8, 1}}};
    // clang-format on
    for (const auto& [name, change, scroll, messages, units_after] : rows) {
        SCOPED_TRACE(name);
        CurveRecord curve = curve_of({90, 80, 70, 60, 50}, {0.2, 0.4, 0.6, 0.8, 1});
        RecordingPrompts prompts;
        RecordingViews views;
        EXPECT_EQ(change(curve, prompts, views), scroll);
        EXPECT_EQ(prompts.texts(), messages);
        EXPECT_EQ(views.graph, scroll == 0 ? 0 : 1);
        EXPECT_EQ(first(curve.sensor_units, curve.breakpoint_count), units_after);
        for (std::size_t i = 0; i < units_after.size(); ++i)
            EXPECT_DOUBLE_EQ(curve.temperatures[i], 100 - 50 * units_after[i]) << i;
    }
}
