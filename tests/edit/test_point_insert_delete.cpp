#include <gtest/gtest.h>

#include "edit/point_insert_delete.h"
#include "edit_fixtures.h"

using namespace kelvara;
using namespace kelvara::testing;

using Strings = std::vector<std::string>;

TEST(InsertPrecheck, FullCurveRefusedAndNoDialogWithoutAVisiblePair) {
    const char* full = "Can't insert point because maximum number of points used for curve.";
    // points, top index, expected, message
    const std::tuple<int, int, InsertPrecheck, Strings> rows[] = {
        {200, 0, InsertPrecheck::CurveFull, {full}},
        {5, 0, InsertPrecheck::OpenDialog, {}},
        {5, 3, InsertPrecheck::OpenDialog, {}},
        {5, 4, InsertPrecheck::NoPair, {}},  // row 1 is the last point
        {5, 7, InsertPrecheck::NoPair, {}}};
    for (const auto& [points, top, expected, messages] : rows) {
        SCOPED_TRACE(top);
        RecordingPrompts prompts;
        EXPECT_EQ(insert_a_point_precheck(numbered_curve(points), top, prompts), expected);
        EXPECT_EQ(prompts.texts(), messages);
    }
}

TEST(InsertPairEntries, OnePairPerVisiblePointWithASuccessorRowTenExcluded) {
    EXPECT_EQ(insert_pair_entries(numbered_curve(5), 0),
              (Strings{"1 And 2", "2 And 3", "3 And 4", "4 And 5"}));
    const Strings page = insert_pair_entries(numbered_curve(40), 10);
    EXPECT_EQ(page.size(), 9U);
    EXPECT_EQ(page.front(), "11 And 12");
    EXPECT_EQ(page.back(), "19 And 20");
}

struct InsertCase {
    const char* name;
    std::string pair;
    std::optional<double> units;
    std::optional<double> temperature;
    Strings messages;
    std::vector<double> units_after;  // empty: the record must be unchanged
};
void PrintTo(const InsertCase& c, std::ostream* os) {
    *os << c.name;
}

class InsertPointOk : public ::testing::TestWithParam<InsertCase> {};

// Four points with units 0.2 .. 0.8 and temperatures 90 .. 60; the grid row 1 shows point 11.
TEST_P(InsertPointOk, ShiftsOrKeepsTheDialogOpen) {
    const InsertCase& c = GetParam();
    CurveRecord curve = make_curve({{0.2, 90}, {0.4, 80}, {0.6, 70}, {0.8, 60}});
    const CurveRecord before = curve;
    RecordingPrompts prompts;
    RecordingViews views;
    const auto scroll =
        insert_point_ok(curve, c.pair, "11 And 12", c.units, c.temperature, prompts, views);
    EXPECT_EQ(prompts.texts(), c.messages);
    EXPECT_EQ(views.graph, c.units_after.empty() ? 0 : 1);
    if (c.units_after.empty()) {
        EXPECT_FALSE(scroll.has_value());
        EXPECT_EQ(curve.sensor_units, before.sensor_units);
        EXPECT_EQ(curve.temperatures, before.temperatures);
        return;
    }
    EXPECT_EQ(scroll, 11);
    EXPECT_EQ(units_in_use(curve), c.units_after);
    const int p = *first_number_of_entry(c.pair);
    EXPECT_EQ(curve.temperatures[p], *c.temperature);
    EXPECT_EQ(curve.temperatures[p + 1], before.temperatures[p]);  // moved with its units
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, InsertPointOk, ::testing::Values(
    InsertCase{"Between", "2 And 3", 0.5, 75.0, {}, {0.2, 0.4, 0.5, 0.6, 0.8}},
    InsertCase{"EqualToLower", "2 And 3", 0.4, 79.0, {}, {0.2, 0.4, 0.4, 0.6, 0.8}},
    InsertCase{"EqualToUpper", "3 And 4", 0.8, 61.0, {}, {0.2, 0.4, 0.6, 0.8, 0.8}},
    InsertCase{"AfterFirst", "1 And 2", 0.3, 85.0, {}, {0.2, 0.3, 0.4, 0.6, 0.8}},
    InsertCase{"AboveUpper", "2 And 3", 0.61, 75.0, {"Enter valid increasing magnitude sensor unit number."}, {}},
    InsertCase{"BelowLower", "2 And 3", 0.39, 75.0, {"Enter valid increasing magnitude sensor unit number."}, {}},
    InsertCase{"UnitsNotNumber", "2 And 3", std::nullopt, 75.0, {"Enter Valid sensor unit number."}, {}},
    InsertCase{"TemperatureNotNumber", "2 And 3", 0.5, std::nullopt, {"Enter Valid temperature number."}, {}}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

TEST(DeletePoint, RemovesThePointAndMovesTheFollowingOnesDown) {
    EXPECT_EQ(delete_point_entries(182),
              (Strings{"183", "184", "185", "186", "187", "188", "189", "190", "191", "192"}));
    const std::pair<int, std::vector<double>> rows[] = {
        {3, {1, 2, 4, 5}},
        {5, {1, 2, 3, 4}},
        {1, {2, 3, 4, 5}},
        {6, {1, 2, 3, 4, 5}},
        {8, {1, 2, 3, 4, 5}}};  // beyond the count: nothing changes
    for (const auto& [point, units_after] : rows) {
        SCOPED_TRACE(point);
        CurveRecord curve = make_curve({{1, 10}, {2, 20}, {3, 30}, {4, 40}, {5, 50}});
        RecordingViews views;
        EXPECT_EQ(delete_point_ok(curve, point, 1, views), 1);
        EXPECT_EQ(units_in_use(curve), units_after);
        for (std::size_t i = 0; i < units_after.size(); ++i)
            EXPECT_EQ(curve.temperatures[i], units_after[i] * 10);
        EXPECT_EQ(curve.sensor_units[units_after.size()], UNUSED_POINT);
        EXPECT_EQ(curve.temperatures[units_after.size()], UNUSED_POINT);
        EXPECT_EQ(views.graph, 1);
    }
}
