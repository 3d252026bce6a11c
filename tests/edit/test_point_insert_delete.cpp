#include <gtest/gtest.h>

#include "edit/point_insert_delete.h"
#include "edit_fixtures.h"

using namespace kelvara;
using namespace kelvara::testing;

using Strings = std::vector<std::string>;

TEST(InsertPrecheck, FullCurveRefusedAndNoPairNoDialog) {
    struct Row {
        const char* name;
        int points;
        int top_index;
        InsertPrecheck expected;
        bool message;
    };
    for (const Row& row : {
             Row{"full", 200, 0, InsertPrecheck::CurveFull, true},
             Row{"top", 5, 0, InsertPrecheck::OpenDialog, false},
             Row{"row1 is last point", 5, 4, InsertPrecheck::NoPair, false},
             Row{"row1 beyond curve", 5, 7, InsertPrecheck::NoPair, false},
             Row{"row1 has a successor", 5, 3, InsertPrecheck::OpenDialog, false},
             Row{"one short of full", 199, 190, InsertPrecheck::OpenDialog, false},
         }) {
        SCOPED_TRACE(row.name);
        RecordingPrompts prompts;
        EXPECT_EQ(insert_a_point_precheck(numbered_curve(row.points), row.top_index, prompts),
                  row.expected);
        EXPECT_EQ(prompts.texts(),
                  row.message ? Strings{"Can't insert point because maximum number of points "
                                        "used for curve."}
                              : Strings{});
    }
}

TEST(InsertPairEntries, OnePairPerVisiblePointWithASuccessorRowTenExcluded) {
    EXPECT_EQ(insert_pair_entries(numbered_curve(5), 0),
              (Strings{"1 And 2", "2 And 3", "3 And 4", "4 And 5"}));
    const Strings page = insert_pair_entries(numbered_curve(40), 10);
    EXPECT_EQ(page.size(), 9U);
    EXPECT_EQ(page.front(), "11 And 12");
    EXPECT_EQ(page.back(), "19 And 20");
    EXPECT_EQ(first_number_of_entry(page.back()), 19);
}

struct InsertCase {
    const char* name;
    std::vector<Point> points;
    std::string pair;
    std::optional<double> units;
    std::optional<double> temperature;
    Strings messages;
    std::vector<double> units_after;  // empty: the record must be unchanged
};

class InsertPointOk : public ::testing::TestWithParam<InsertCase> {};

TEST_P(InsertPointOk, ShiftsOrKeepsTheDialogOpen) {
    const InsertCase& c = GetParam();
    CurveRecord curve = make_curve(c.points);
    const CurveRecord before = curve;
    RecordingPrompts prompts;
    RecordingViews views;
    const auto scroll =
        insert_point_ok(curve, c.pair, "1 And 2", c.units, c.temperature, prompts, views);
    EXPECT_EQ(prompts.texts(), c.messages);
    if (c.units_after.empty()) {
        EXPECT_FALSE(scroll.has_value());
        EXPECT_EQ(curve.sensor_units, before.sensor_units);
        EXPECT_EQ(curve.temperatures, before.temperatures);
        EXPECT_EQ(views.graph, 0);
        return;
    }
    EXPECT_EQ(scroll, 1);
    EXPECT_EQ(views.graph, 1);
    EXPECT_EQ(units_in_use(curve), c.units_after);
    EXPECT_EQ(curve.breakpoint_count, before.breakpoint_count + 1);
    const int p = *first_number_of_entry(c.pair);
    EXPECT_EQ(curve.temperatures[static_cast<std::size_t>(p)], *c.temperature);
    // The points after the new one kept their temperatures while moving up.
    EXPECT_EQ(curve.temperatures[static_cast<std::size_t>(p) + 1],
              before.temperatures[static_cast<std::size_t>(p)]);
}

const std::vector<Point> kFour = {{0.2, 90}, {0.4, 80}, {0.6, 70}, {0.8, 60}};

INSTANTIATE_TEST_SUITE_P(
    Cases, InsertPointOk,
    ::testing::Values(
        InsertCase{"Between", kFour, "2 And 3", 0.5, 75.0, {}, {0.2, 0.4, 0.5, 0.6, 0.8}},
        InsertCase{"EqualToLower", kFour, "2 And 3", 0.4, 79.0, {}, {0.2, 0.4, 0.4, 0.6, 0.8}},
        InsertCase{"EqualToUpper", kFour, "3 And 4", 0.8, 61.0, {}, {0.2, 0.4, 0.6, 0.8, 0.8}},
        InsertCase{"AfterFirst", kFour, "1 And 2", 0.3, 85.0, {}, {0.2, 0.3, 0.4, 0.6, 0.8}},
        InsertCase{"AboveUpper",
                   kFour,
                   "2 And 3",
                   0.61,
                   75.0,
                   {"Enter valid increasing magnitude sensor unit number."},
                   {}},
        InsertCase{"BelowLower",
                   kFour,
                   "2 And 3",
                   0.39,
                   75.0,
                   {"Enter valid increasing magnitude sensor unit number."},
                   {}},
        InsertCase{"UnitsNotNumber",
                   kFour,
                   "2 And 3",
                   std::nullopt,
                   75.0,
                   {"Enter Valid sensor unit number."},
                   {}},
        InsertCase{"TemperatureNotNumber",
                   kFour,
                   "2 And 3",
                   0.5,
                   std::nullopt,
                   {"Enter Valid temperature number."},
                   {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(InsertPointOk, ReturnsTheFirstEntryOfTheListAsScrollPosition) {
    CurveRecord curve = numbered_curve(40);
    RecordingPrompts prompts;
    RecordingViews views;
    EXPECT_EQ(insert_point_ok(curve, "15 And 16", "11 And 12", 1.55, 155.0, prompts, views), 11);
    EXPECT_EQ(curve.breakpoint_count, 41);
    EXPECT_EQ(curve.sensor_units[15], 1.55);
}

TEST(InsertFieldValidation, NamesTheFieldThatIsNotANumber) {
    RecordingPrompts prompts;
    EXPECT_TRUE(validate_insert_units_field(0.0, prompts));
    EXPECT_TRUE(validate_insert_temperature_field(-3.5, prompts));
    EXPECT_FALSE(validate_insert_units_field(std::nullopt, prompts));
    EXPECT_FALSE(validate_insert_temperature_field(std::nullopt, prompts));
    EXPECT_EQ(prompts.texts(),
              (Strings{"Enter Valid sensor unit number.", "Enter Valid temperature number."}));
}

TEST(DeletePoint, ListShowsAllTenRows) {
    EXPECT_EQ(delete_point_entries(0),
              (Strings{"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}));
    EXPECT_EQ(delete_point_entries(182).back(), "192");
}

TEST(DeletePoint, RemovesThePointAndMovesTheFollowingOnesDown) {
    struct Row {
        const char* name;
        int point;
        std::vector<double> units_after;
    };
    const std::vector<Point> five = {{1, 10}, {2, 20}, {3, 30}, {4, 40}, {5, 50}};
    for (const Row& row : {Row{"middle", 3, {1, 2, 4, 5}}, Row{"last", 5, {1, 2, 3, 4}},
                           Row{"first", 1, {2, 3, 4, 5}}, Row{"beyond", 8, {1, 2, 3, 4, 5}},
                           Row{"just beyond", 6, {1, 2, 3, 4, 5}}}) {
        SCOPED_TRACE(row.name);
        CurveRecord curve = make_curve(five);
        RecordingViews views;
        EXPECT_EQ(delete_point_ok(curve, row.point, 1, views), 1);
        EXPECT_EQ(units_in_use(curve), row.units_after);
        std::vector<double> temperatures_after;
        for (double u : row.units_after) temperatures_after.push_back(u * 10);
        EXPECT_EQ(temperatures_in_use(curve), temperatures_after);
        EXPECT_EQ(curve.sensor_units[row.units_after.size()], UNUSED_POINT);
        EXPECT_EQ(curve.temperatures[row.units_after.size()], UNUSED_POINT);
        EXPECT_EQ(views.graph, 1);
    }
}
