#include <gtest/gtest.h>

#include <deque>

#include "edit/curve_adjustment.h"
#include "edit_fixtures.h"

using namespace kelvara;
using namespace kelvara::testing;

using Temps = std::vector<double>;
using Pairs = std::vector<AdjustmentPair>;

namespace {

// Sensor units 1, 2, 3 ... with the given temperatures in storage order.
CurveRecord curve_of(const Temps& temperatures) {
    std::vector<Point> points;
    for (std::size_t i = 0; i < temperatures.size(); ++i)
        points.push_back({static_cast<double>(i + 1), temperatures[i]});
    return make_curve(points);
}

const Temps kRising = {20, 77, 175, 273, 300, 375, 477, 500};
const Temps kFalling = {500, 477, 375, 300, 273, 175, 77, 20};

}  // namespace

struct CorrectionCase {
    const char* name;
    Temps before;
    Pairs pairs;
    Temps after;
};
void PrintTo(const CorrectionCase& c, std::ostream* os) {
    *os << c.name;
}

class ApplyAdjustment : public ::testing::TestWithParam<CorrectionCase> {};

TEST_P(ApplyAdjustment, MovesTemperaturesOntoThePairLines) {
    const CorrectionCase& c = GetParam();
    CurveRecord curve = curve_of(c.before);
    ASSERT_EQ(apply_adjustment(curve, c.pairs), AdjustmentResult::Applied);
    const Temps got = temperatures_in_use(curve);
    ASSERT_EQ(got.size(), c.after.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
        EXPECT_DOUBLE_EQ(got[i], c.after[i]) << "at " << i;
        EXPECT_EQ(curve.sensor_units[i], i + 1.0);
    }
}

// The fixed pair (273, 273) takes part in every line. 20 K is extrapolated below (77, 77.5),
// 500 K beyond (375, 374).
// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, ApplyAdjustment, ::testing::Values(
    CorrectionCase{"OneLowPair", kRising, {{77, 77.5}}, {20.65, 77.5, 175.25, 273, 300, 375, 477, 500}},
    CorrectionCase{"LowAndHighPair", kRising, {{77, 77.5}, {375, 374}}, {20.65, 77.5, 175.25, 273, 300, 374, 475, 497.77}},
    CorrectionCase{"PairsSortedFirst", kRising, {{375, 374}, {77, 77.5}}, {20.65, 77.5, 175.25, 273, 300, 374, 475, 497.77}},
    // A warm first point sends every point to the high rule.
    CorrectionCase{"FallingLowPairOnly", kFalling, {{77, 77.5}}, kFalling},
    CorrectionCase{"FallingBothPairs", kFalling, {{77, 77.5}, {375, 374}}, {497.77, 475, 374, 300, 273, 175, 77, 20}},
    CorrectionCase{"LowPassOnlyLeadingRun", {77, 300, 175, 77}, {{77, 77.5}}, {77.5, 300, 175, 77}},
    CorrectionCase{"HighInterpolation", {330, 400, 450, 500, 600}, {{400, 402}, {500, 501}}, {330.9, 402, 451.5, 501, 600}},
    CorrectionCase{"LowInterpolation", {10, 30, 50, 150}, {{10, 12}, {50, 49}}, {12, 30.5, 49, 149.45}},
    // Two pairs at 77 K: the first entered wins an exact hit, the second bounds the interval up
    // to 273 K, and nothing below 77 K can be extrapolated.
    CorrectionCase{"EqualMeasuredAtLowEnd", {20, 77, 175}, {{77, 77.5}, {77, 78}}, {20, 77.5, 175.5}},
    CorrectionCase{"EqualMeasuredAtHighEnd", {375, 477}, {{375, 374}, {375, 376}}, {374, 477}},
    // Points nothing moves are still left with two decimals, rounded half away from zero.
    CorrectionCase{"RoundsToTwoDecimals", {0.5, 2.675, 77.123, 80, 300.555}, {{400, 401}}, {0.5, 2.68, 77.12, 80, 300.56}}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

TEST(ApplyAdjustment, LeadingNegativePointsRemovedOrEverythingKeptWhenNoneRemain) {
    // The line through (100, 50) and (273, 273) sends 1, 2 and 50 below 0 K.
    CurveRecord curve = curve_of({1, 2, 50, 100, 300});
    ASSERT_EQ(apply_adjustment(curve, {{100, 50}}), AdjustmentResult::Applied);
    EXPECT_EQ(temperatures_in_use(curve), (Temps{50, 300}));
    EXPECT_EQ(units_in_use(curve), (Temps{4, 5}));
    for (int i = curve.breakpoint_count; i < curve.max_breakpoints; ++i)
        ASSERT_EQ(curve.sensor_units[i] + curve.temperatures[i], 2 * UNUSED_POINT) << i;

    CurveRecord cold = curve_of({1, 2.345, 50});
    const CurveRecord before = cold;
    EXPECT_EQ(apply_adjustment(cold, {{100, 50}}), AdjustmentResult::EveryPointNegative);
    EXPECT_EQ(cold.temperatures, before.temperatures);
    EXPECT_EQ(cold.breakpoint_count, 3);
}

TEST(AdjustPointsButton, ChecksTheBoxesBeforeHiding) {
    struct Row {
        const char* button;
        const char* measured;
        const char* actual;
        bool hides;
        bool has_pair = false;
        double m = 0;
        double a = 0;
    };
    const Row rows[] = {{kNextPoint, "77", "77.5", true, true, 77, 77.5},
                        {kNextPoint, "abc", "77.5", false},
                        {kNextPoint, "", "", false},
                        {kNextPoint, "77,5", "78", false},  // "." is the only decimal point
                        {kDone, "", "", true, false},
                        {kDone, "77", "", false},
                        {kDone, " 375 ", "3.74e2", true, true, 375, 374},
                        {kCancel, "abc", "x", true, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.button) + " '" + row.measured + "' '" + row.actual + "'");
        RecordingPrompts prompts;
        const auto answer = adjust_points_button(row.button, row.measured, row.actual, prompts);
        ASSERT_EQ(answer.has_value(), row.hides);
        if (!row.hides) {
            EXPECT_EQ(prompts.shown.at(0).text, "Temperature values must be numeric.");
            EXPECT_EQ(prompts.shown.at(0).title, "Invalid Data");
            continue;
        }
        EXPECT_TRUE(prompts.shown.empty());
        EXPECT_EQ(answer->button, row.button);
        EXPECT_EQ(answer->has_pair, row.has_pair);
        EXPECT_EQ(std::make_pair(answer->measured, answer->actual), std::make_pair(row.m, row.a));
    }
}

namespace {

// Plays a script of answers; running out is the window's close button, which answers Cancel.
struct ScriptedDialog : AdjustPointsDialog {
    std::deque<AdjustAnswer> script;
    int asked = 0;
    AdjustAnswer ask() override {
        ++asked;
        if (script.empty()) return {kCancel};
        AdjustAnswer a = script.front();
        script.pop_front();
        return a;
    }
};

AdjustAnswer next(double m, double a) {
    return {kNextPoint, m, a, true};
}
AdjustAnswer done(double m, double a) {
    return {kDone, m, a, true};
}
const AdjustAnswer kDoneEmpty{kDone};

std::vector<AdjustAnswer> twenty_pairs_then(std::vector<AdjustAnswer> tail) {
    std::vector<AdjustAnswer> script;
    for (int i = 0; i < 20; ++i) script.push_back(next(600 + i, 600 + i));
    script.insert(script.end(), tail.begin(), tail.end());
    return script;
}

}  // namespace

struct CommandCase {
    const char* name;
    std::string curve_name;
    std::vector<AdjustAnswer> script;
    AdjustmentOutcome outcome;
    std::vector<std::string> shown;  // "text / title"
    int asked;
    double t77_after;  // the 77 K point of the rising curve afterwards
};
void PrintTo(const CommandCase& c, std::ostream* os) {
    *os << c.name;
}

class AdjustCommand : public ::testing::TestWithParam<CommandCase> {};

TEST_P(AdjustCommand, RunsTheDialogLoopAndRefreshes) {
    const CommandCase& c = GetParam();
    CurveRecord curve = curve_of(kRising);
    HeaderFields fields = HeaderFields::for_model(InstrumentModel::TAZ);
    fields.name = c.curve_name;
    fields.serial_number = "X1234";
    ScriptedDialog dialog;
    dialog.script.assign(c.script.begin(), c.script.end());
    RecordingPrompts prompts;
    RecordingViews views;

    EXPECT_EQ(cmdAdjust_Click(curve, fields, dialog, prompts, views), c.outcome);
    std::vector<std::string> shown;
    for (const auto& s : prompts.shown) shown.push_back(s.text + " / " + s.title);
    EXPECT_EQ(shown, c.shown);
    EXPECT_EQ(dialog.asked, c.asked);
    EXPECT_DOUBLE_EQ(curve.temperatures[1], c.t77_after);
    const bool applied = c.outcome == AdjustmentOutcome::Applied;
    EXPECT_EQ(std::make_tuple(views.graph, views.graph_series2, views.grid_from_top),
              std::make_tuple(0, applied ? 1 : 0, applied ? 1 : 0));
    EXPECT_EQ(fields.name + "," + fields.serial_number,
              applied ? "Adjusted,Adjusted" : c.curve_name + ",X1234");
}

const std::string kTooMany = "At most 20 pairs can be entered. / Invalid Data";

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, AdjustCommand, ::testing::Values(
    CommandCase{"NoCurveName", "", {next(77, 77.5)}, AdjustmentOutcome::NoCurveOpen, {"Open a curve before making an adjustment. / No Curve Open"}, 0, 77},
    CommandCase{"NextThenDoneEmpty", "PT-100", {next(77, 77.5), kDoneEmpty}, AdjustmentOutcome::Applied, {}, 2, 77.5},
    CommandCase{"DoneWithPair", "PT-100", {done(77, 77.5)}, AdjustmentOutcome::Applied, {}, 1, 77.5},
    CommandCase{"CancelDiscardsPairs", "PT-100", {next(77, 77.5), {kCancel}}, AdjustmentOutcome::Cancelled, {}, 2, 77},
    CommandCase{"WindowClosedIsCancel", "PT-100", {next(77, 77.5)}, AdjustmentOutcome::Cancelled, {}, 2, 77},
    CommandCase{"ZeroAnd273PairsDropped", "PT-100", {next(0, 80), next(77, 0), next(273, 77.5), next(77, 273), kDoneEmpty},
                AdjustmentOutcome::NoPairs, {"User must input at least one point to apply any correction. / Invalid Data"}, 5, 77},
    CommandCase{"DroppedPairBesideKeptPair", "PT-100", {next(273, 100), done(77, 77.5)}, AdjustmentOutcome::Applied, {}, 2, 77.5},
    // A 21st pair is refused and the dialog comes back for Done or Cancel.
    CommandCase{"TwentyFirstPairOnNext", "PT-100", twenty_pairs_then({next(77, 100), kDoneEmpty}), AdjustmentOutcome::Applied, {kTooMany}, 22, 77},
    CommandCase{"TwentyFirstPairOnDone", "PT-100", twenty_pairs_then({done(77, 100), kDoneEmpty}), AdjustmentOutcome::Applied, {kTooMany}, 22, 77},
    CommandCase{"DroppedPairWhenFullIsSilent", "PT-100", twenty_pairs_then({done(273, 100)}), AdjustmentOutcome::Applied, {}, 21, 77}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

TEST(AdjustCommand, EveryPointNegativeIsReportedAndNothingChanges) {
    CurveRecord curve = curve_of({1, 2, 50});
    const CurveRecord before = curve;
    HeaderFields fields = HeaderFields::for_model(InstrumentModel::TAZ);
    fields.name = "RX-1";
    ScriptedDialog dialog;
    dialog.script = {done(100, 50)};
    RecordingPrompts prompts;
    RecordingViews views;
    EXPECT_EQ(cmdAdjust_Click(curve, fields, dialog, prompts, views),
              AdjustmentOutcome::EveryPointNegative);
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{kAdjustAllNegativeText});
    EXPECT_EQ(curve.temperatures, before.temperatures);
    EXPECT_EQ(fields.name, "RX-1");
    EXPECT_EQ(views.graph_series2, 0);
}
