#include <gtest/gtest.h>

#include <deque>

#include "edit/curve_adjustment.h"
#include "edit_fixtures.h"

using namespace kelvara;
using namespace kelvara::testing;

using Strings = std::vector<std::string>;
using Temps = std::vector<double>;
using Pairs = std::vector<AdjustmentPair>;

namespace {

// A curve with sensor units 1, 2, 3 ... and the given temperatures in storage order.
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

class ApplyAdjustment : public ::testing::TestWithParam<CorrectionCase> {};

TEST_P(ApplyAdjustment, MovesTemperaturesOntoThePairLines) {
    const CorrectionCase& c = GetParam();
    CurveRecord curve = curve_of(c.before);
    ASSERT_EQ(apply_adjustment(curve, c.pairs), AdjustmentResult::Applied);
    const Temps got = temperatures_in_use(curve);
    ASSERT_EQ(got.size(), c.after.size());
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_DOUBLE_EQ(got[i], c.after[i]) << "at " << i;
    // Sensor units never move unless leading points are removed.
    if (c.after.size() == c.before.size()) {
        for (int i = 0; i < curve.breakpoint_count; ++i) {
            EXPECT_EQ(curve.sensor_units[i], i + 1.0);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ApplyAdjustment,
    ::testing::Values(
        // The line through (77, 77.5) and (273, 273): 175 is halfway, 20 is extrapolated.
        CorrectionCase{
            "OneLowPair", kRising, {{77, 77.5}}, {20.65, 77.5, 175.25, 273, 300, 375, 477, 500}},
        // Above 323 K the line through (273, 273) and (375, 374); 500 is extrapolated.
        CorrectionCase{"LowAndHighPair",
                       kRising,
                       {{77, 77.5}, {375, 374}},
                       {20.65, 77.5, 175.25, 273, 300, 374, 475, 497.77}},
        CorrectionCase{"PairsInAnyOrder",
                       kRising,
                       {{375, 374}, {77, 77.5}},
                       {20.65, 77.5, 175.25, 273, 300, 374, 475, 497.77}},
        // The first point is warm, so only the high rule runs: nothing is above a high pair.
        CorrectionCase{"FallingLowPairOnly", kFalling, {{77, 77.5}}, kFalling},
        CorrectionCase{"FallingBothPairs",
                       kFalling,
                       {{77, 77.5}, {375, 374}},
                       {497.77, 475, 374, 300, 273, 175, 77, 20}},
        // The low pass stops at the first point at 273 K or above; later cold points stay.
        CorrectionCase{
            "LowPassOnlyLeadingRun", {77, 300, 175, 77}, {{77, 77.5}}, {77.5, 300, 175, 77}},
        // A high pair between two others interpolates; exact hits take the actual value.
        CorrectionCase{"HighInterpolation",
                       {330, 400, 450, 500, 600},
                       {{400, 402}, {500, 501}},
                       {330.9, 402, 451.5, 501, 600}},
        // Low pairs below and above a point.
        CorrectionCase{"LowInterpolationBetweenPairs",
                       {10, 30, 50, 150},
                       {{10, 12}, {50, 49}},
                       {12, 30.5, 49, 149.45}},
        // With two pairs at 77 K the first entered wins an exact hit, the second bounds the
        // interval up to 273 K, and points below 77 K cannot be extrapolated.
        CorrectionCase{"EqualMeasuredAtLowEndKeepsExtrapolatedPoints",
                       {20, 77, 175},
                       {{77, 77.5}, {77, 78}},
                       {20, 77.5, 175.5}},
        CorrectionCase{"EqualMeasuredAtHighEndKeepsExtrapolatedPoints",
                       {375, 477},
                       {{375, 374}, {375, 376}},
                       {374, 477}},
        // Two decimals remain, rounded half away from zero, whatever was not moved.
        CorrectionCase{"RoundsToTwoDecimals",
                       {0.5, 2.675, 77.123, 80, 300.555},
                       {{400, 401}},
                       {0.5, 2.68, 77.12, 80, 300.56}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ApplyAdjustmentNegative, LeadingNegativePointsAreRemoved) {
    // The line through (100, 50) and (273, 273) sends 1, 2 and 50 below 0 K.
    CurveRecord curve = curve_of({1, 2, 50, 100, 300});
    ASSERT_EQ(apply_adjustment(curve, {{100, 50}}), AdjustmentResult::Applied);
    EXPECT_EQ(temperatures_in_use(curve), (Temps{50, 300}));
    EXPECT_EQ(units_in_use(curve), (Temps{4, 5}));
    for (int i = curve.breakpoint_count; i < curve.max_breakpoints; ++i) {
        ASSERT_EQ(curve.sensor_units[i], UNUSED_POINT) << i;
        ASSERT_EQ(curve.temperatures[i], UNUSED_POINT) << i;
    }
}

TEST(ApplyAdjustmentNegative, EveryPointNegativeLeavesTheCurveAsItWas) {
    CurveRecord curve = curve_of({1, 2.345, 50});
    const CurveRecord before = curve;
    EXPECT_EQ(apply_adjustment(curve, {{100, 50}}), AdjustmentResult::EveryPointNegative);
    EXPECT_EQ(curve.temperatures, before.temperatures);
    EXPECT_EQ(curve.sensor_units, before.sensor_units);
    EXPECT_EQ(curve.breakpoint_count, 3);
}

TEST(AdjustPointsButton, ChecksTheBoxesBeforeHiding) {
    struct Row {
        const char* button;
        const char* measured;
        const char* actual;
        bool hides;
        bool has_pair;
        double m;
        double a;
    };
    for (const Row& row : {
             Row{kNextPoint, "77", "77.5", true, true, 77, 77.5},
             Row{kNextPoint, "abc", "77.5", false, false, 0, 0},
             Row{kNextPoint, "77", "", false, false, 0, 0},
             Row{kNextPoint, "", "", false, false, 0, 0},
             Row{kNextPoint, "77,5", "78", false, false, 0, 0},  // "." is the decimal point
             Row{kDone, "", "", true, false, 0, 0},
             Row{kDone, "77", "", false, false, 0, 0},
             Row{kDone, " 375 ", "3.74e2", true, true, 375, 374},
             Row{kCancel, "abc", "x", true, false, 0, 0},
         }) {
        SCOPED_TRACE(std::string(row.button) + " '" + row.measured + "' '" + row.actual + "'");
        RecordingPrompts prompts;
        const auto answer = adjust_points_button(row.button, row.measured, row.actual, prompts);
        ASSERT_EQ(answer.has_value(), row.hides);
        if (!row.hides) {
            ASSERT_EQ(prompts.shown.size(), 1U);
            EXPECT_EQ(prompts.shown[0].text, "Temperature values must be numeric.");
            EXPECT_EQ(prompts.shown[0].title, "Invalid Data");
            continue;
        }
        EXPECT_TRUE(prompts.shown.empty());
        EXPECT_EQ(answer->button, row.button);
        EXPECT_EQ(answer->has_pair, row.has_pair);
        EXPECT_EQ(answer->measured, row.m);
        EXPECT_EQ(answer->actual, row.a);
    }
}

namespace {

// Plays a script of dialog answers; running out counts as the window's close button (Cancel).
struct ScriptedDialog : AdjustPointsDialog {
    std::deque<AdjustAnswer> script;
    int asked = 0;
    AdjustAnswer ask() override {
        ++asked;
        if (script.empty()) return {kCancel, 0, 0, false};
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
const AdjustAnswer kDoneEmpty{kDone, 0, 0, false};
const AdjustAnswer kCancelled{kCancel, 0, 0, false};

}  // namespace

struct CommandCase {
    const char* name;
    std::string curve_name;
    std::vector<AdjustAnswer> script;
    AdjustmentOutcome outcome;
    std::vector<RecordingPrompts::Shown> shown;
    int asked;
    double t77_after;  // temperature of the 77 K point afterwards
};

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
    ASSERT_EQ(prompts.shown.size(), c.shown.size());
    for (std::size_t i = 0; i < c.shown.size(); ++i) {
        EXPECT_EQ(prompts.shown[i].text, c.shown[i].text);
        EXPECT_EQ(prompts.shown[i].title, c.shown[i].title);
    }
    EXPECT_EQ(dialog.asked, c.asked);
    EXPECT_DOUBLE_EQ(curve.temperatures[1], c.t77_after);
    const bool applied = c.outcome == AdjustmentOutcome::Applied;
    EXPECT_EQ(views.graph_series2, applied ? 1 : 0);
    EXPECT_EQ(views.grid_from_top, applied ? 1 : 0);
    EXPECT_EQ(views.graph, 0);
    EXPECT_EQ(fields.name, applied ? "Adjusted" : c.curve_name);
    EXPECT_EQ(fields.serial_number, applied ? "Adjusted" : "X1234");
}

std::vector<AdjustAnswer> twenty_high_pairs_then(std::vector<AdjustAnswer> tail) {
    std::vector<AdjustAnswer> script;
    for (int i = 0; i < 20; ++i) script.push_back(next(600 + i, 600 + i));
    script.insert(script.end(), tail.begin(), tail.end());
    return script;
}

const RecordingPrompts::Shown kTooMany{"At most 20 pairs can be entered.", "Invalid Data"};

INSTANTIATE_TEST_SUITE_P(
    Cases, AdjustCommand,
    ::testing::Values(
        CommandCase{"NoCurveName",
                    "",
                    {next(77, 77.5)},
                    AdjustmentOutcome::NoCurveOpen,
                    {{"Open a curve before making an adjustment.", "No Curve Open"}},
                    0,
                    77},
        CommandCase{"NextThenDoneEmpty",
                    "PT-100",
                    {next(77, 77.5), kDoneEmpty},
                    AdjustmentOutcome::Applied,
                    {},
                    2,
                    77.5},
        CommandCase{
            "DoneWithPair", "PT-100", {done(77, 77.5)}, AdjustmentOutcome::Applied, {}, 1, 77.5},
        CommandCase{"CancelDiscardsPairs",
                    "PT-100",
                    {next(77, 77.5), kCancelled},
                    AdjustmentOutcome::Cancelled,
                    {},
                    2,
                    77},
        CommandCase{"WindowClosedIsCancel",
                    "PT-100",
                    {next(77, 77.5)},
                    AdjustmentOutcome::Cancelled,
                    {},
                    2,
                    77},
        CommandCase{
            "ZeroAnd273PairsDropped",
            "PT-100",
            {next(0, 80), next(77, 0), next(273, 77.5), next(77, 273), kDoneEmpty},
            AdjustmentOutcome::NoPairs,
            {{"User must input at least one point to apply any correction.", "Invalid Data"}},
            5,
            77},
        CommandCase{"DroppedPairBesideKeptPair",
                    "PT-100",
                    {next(273, 100), done(77, 77.5)},
                    AdjustmentOutcome::Applied,
                    {},
                    2,
                    77.5},
        // A 21st pair is refused; the dialog comes back for Done or Cancel.
        CommandCase{"TwentyFirstPairOnNextRefused",
                    "PT-100",
                    twenty_high_pairs_then({next(77, 100), kDoneEmpty}),
                    AdjustmentOutcome::Applied,
                    {kTooMany},
                    22,
                    77},
        CommandCase{"TwentyFirstPairOnDoneRefusedAndAskedAgain",
                    "PT-100",
                    twenty_high_pairs_then({done(77, 100), kDoneEmpty}),
                    AdjustmentOutcome::Applied,
                    {kTooMany},
                    22,
                    77},
        CommandCase{"DroppedPairWhenFullIsSilent",
                    "PT-100",
                    twenty_high_pairs_then({done(273, 100)}),
                    AdjustmentOutcome::Applied,
                    {},
                    21,
                    77}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(AdjustCommandNegative, EveryPointNegativeIsReportedAndNothingChanges) {
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
    EXPECT_EQ(prompts.texts(), Strings{kAdjustAllNegativeText});
    EXPECT_EQ(curve.temperatures, before.temperatures);
    EXPECT_EQ(fields.name, "RX-1");
    EXPECT_EQ(views.graph_series2, 0);
}
