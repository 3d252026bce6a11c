// Scaling of the data the older instruments receive: the conversion a curve needs, the scaling
// dialog's rows and defaults, and the arithmetic applied to the transfer arrays.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "protocol/ports.h"

namespace kelvara {

inline constexpr const char* kScalingTitle = "Kelvara Scaling";
inline constexpr const char* kScalingMessage =
    "The data must be scaled before being sent to the instrument. "
    "It is highly recommended that the following default scaling factor(s) be used.";
inline constexpr const char* kScalingInvalidNumber = "Enter a valid number.";
inline constexpr const char* kScalingOffsetHeading = "Units Scaling";             // Label2
inline constexpr const char* kScalingOffsetLabel = "Add";                         // Label3
inline constexpr const char* kScalingFactorHeading = "Units Scaling";             // Label7
inline constexpr const char* kScalingTemperatureHeading = "Temperature Scaling";  // Label5
inline constexpr const char* kScalingMultiplyLabel = "Multiply";                  // Label4, Label6

// What the scaling dialog shows for a code: which rows are visible and their default texts.
struct ScalingRows {
    bool offset_row = false;  // Label2, Label3, Text1
    std::string offset_text;
    bool factor_box = false;   // Text2 (Label7 is always shown)
    std::string factor_label;  // Label4: "Multiply", or "Log" for code 6
    std::string factor_text;
    bool temperature_row = false;  // Label5, Label6, Text3
    std::string temperature_text;
};

// Rows for scaling codes 1..6; any other code gives every row hidden.
ScalingRows scaling_rows(int code);

// The dialog's defaults as numbers (unused factors are neutral: offset 0, factors 1).
ScalingFactors default_scaling_factors(int code);

// Factors as OK takes them from the dialog's texts (the hidden boxes keep their defaults).
// nullopt when a shown box does not hold a number ("Enter a valid number.").
std::optional<ScalingFactors> scaling_factors_from_texts(int code, const std::string& offset_text,
                                                         const std::string& factor_text,
                                                         const std::string& temperature_text);

// The conversion the curve's first and last sensor-unit values call for: 1..6, or 0 when the
// data go out unscaled (first value 0 or more and last below 10, or fewer than one point).
int scaling_code_for(double first_units, double last_units);

// Applies confirmed factors to points 0..count-1 of the transfer arrays.
void apply_scaling(int code, const ScalingFactors& factors, std::vector<double>& units,
                   std::vector<double>& temperatures, int count);

}  // namespace kelvara
