// "Make Adjustment To Curve File": corrects curve temperatures from measured/actual pairs.
// The pair (273 K, 273 K) is always part of the table; temperatures from 273 K to 323 K and all
// sensor units are never changed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "curve/prompts.h"

namespace kelvara {

inline constexpr const char* kNextPoint = "Next Point";
inline constexpr const char* kDone = "Done";
inline constexpr const char* kCancel = "Cancel";
inline constexpr int kMaxEnteredPairs = 20;

struct AdjustmentPair {
    double measured = 0;
    double actual = 0;
};

// What the adjustpoints dialog hands back when it hides: ButtonClicked, MeasuredTemperature and
// ActualTemperature. A Done without a pair carries has_pair = false.
struct AdjustAnswer {
    std::string button;  // kNextPoint, kDone or kCancel
    double measured = 0;
    double actual = 0;
    bool has_pair = false;
};

// The adjustpoints dialog, shown modally with both boxes empty. Closing it by its window's close
// button answers Cancel.
class AdjustPointsDialog {
  public:
    virtual ~AdjustPointsDialog() = default;
    virtual AdjustAnswer ask() = 0;
};

// The dialog's own button handling, for the window's dialog to call: the answer when the dialog
// hides, or nullopt when it showed "Temperature values must be numeric." and stays open. Box
// texts are read with "." as the decimal point.
std::optional<AdjustAnswer> adjust_points_button(const std::string& button,
                                                 const std::string& measured_text,
                                                 const std::string& actual_text, Prompts& prompts);

// A pair with a value of exactly 0 or 273 is dropped without a message.
bool pair_is_kept(double measured, double actual);

enum class AdjustmentResult {
    Applied,
    EveryPointNegative,  // the message has been shown; the curve is as it was
};

// The correction itself on entered pairs (the fixed pair is added here), from sorting to the
// two-decimal rounding. Shows nothing; on EveryPointNegative the curve is left unchanged.
AdjustmentResult apply_adjustment(CurveRecord& curve, const std::vector<AdjustmentPair>& pairs);

enum class AdjustmentOutcome { NoCurveOpen, Cancelled, NoPairs, EveryPointNegative, Applied };

// The whole command: asks for pairs, applies them, redraws the graph with both series, shows the
// grid from the top and names the curve "Adjusted".
AdjustmentOutcome cmdAdjust_Click(CurveRecord& curve, HeaderFields& fields,
                                  AdjustPointsDialog& dialog, Prompts& prompts, Views& views);

// Messages and titles of the adjustment.
inline constexpr const char* kAdjustNoCurveText = "Open a curve before making an adjustment.";
inline constexpr const char* kAdjustNoCurveTitle = "No Curve Open";
inline constexpr const char* kInvalidDataTitle = "Invalid Data";
inline constexpr const char* kAdjustNoPairsText =
    "User must input at least one point to apply any correction.";
inline constexpr const char* kAdjustNotNumericText = "Temperature values must be numeric.";
inline constexpr const char* kAdjustTooManyPairsText = "At most 20 pairs can be entered.";
inline constexpr const char* kAdjustAllNegativeText =
    "The correction would make every temperature negative; the curve is unchanged.";

}  // namespace kelvara
