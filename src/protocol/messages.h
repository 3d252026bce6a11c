// What the instrument procedures tell the user. The instrument's own texts come first; then the
// ones of our own for the broken exchanges those texts do not cover.
#pragma once

namespace kelvara {

inline constexpr const char* kInvalidInterface = "Invalid communication interface.";
inline constexpr const char* kProblemTalking = "Problem talking to instrument.";
inline constexpr const char* kFormatZeroWarning =
    "Invalid curve data format of 0 being sent to instrument.";
inline constexpr const char* kNoCurvePresent = "No curve present.";
inline constexpr const char* kNotEnoughMemory =
    "Not enough remaining memory to write curve to the instrument.";
inline constexpr const char* kNotEnoughMemoryForAll =
    "Not enough remaining memory to write all of curve to the instrument.";
inline constexpr const char* kBadDataPoint = "Bad data point: ";

// After the last "BUSY?" poll still found the instrument busy.
inline constexpr const char* kNotConfirmedSaved =
    "The instrument did not confirm that the curve was saved: it still answered busy after 90 "
    "polls.";
// The older instruments take a curve as a header with its first two points.
inline constexpr const char* kNothingSent =
    "Nothing was sent to the instrument: it takes curves of at least 2 points.";
inline constexpr const char* kReadCancelled = "Reading cancelled. The open curve was not changed.";
inline constexpr const char* kCatalogueCancelled = "Reading the curve names cancelled.";

}  // namespace kelvara
