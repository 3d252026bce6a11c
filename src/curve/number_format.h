// Every number written to a file or an instrument goes through FormatNoLocale; every number read
// from a file or a reply goes through the parsers here. Neither ever consults the process locale.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvara {

// Formats value with a numeric picture ("0.00000", ".000000", "000000.", "###0.0#",
// "0.00000e-00", "0.00000E+00", "  0.000", ...). "0" is a digit always printed, "#" a digit
// printed only when significant, "." the decimal point (always "." in the result), "e-"/"E+"
// scientific notation; other characters in front of the first placeholder are copied. Rounding
// is half away from zero on the value's shortest decimal form, so 2.675 with "0.00" is 2.68.
// A negative value gets a leading "-", also when it rounds to zero.
std::string FormatNoLocale(double value, std::string_view picture);

// Picture choosers used by the header/point instrument writers, and the pictures they choose
// (a write remembers them, so that a value read back can be formatted the same way).
const char* sensor_units_picture(double value);
const char* temperature_picture(double value);
const char* temperature_wun_picture(double value);
std::string format_sensor_units(double value);
std::string format_temperature(double value);
std::string format_temperature_wun(double value);

// Leading numeric part of text: optional blanks, sign, digits, ".", digits, exponent. "." is the
// only decimal point. Text that does not start with a number (empty text included) gives 0.
double parse_leading_number(std::string_view text);

// True when the whole text, apart from surrounding blanks, tabs, CR and LF, is one number.
bool is_numeric_text(std::string_view text);

// Strict conversion to a 32-bit integer: the trimmed text must be a number (decimals and
// exponents allowed, rounded half to even); nullopt for anything else or out of range.
std::optional<int> to_int32(std::string_view text);

// A number taken from a reply or a file as an int, cut toward zero as an integer conversion
// does; nullopt when it is not finite or lies outside the int range, where the conversion
// itself would be undefined.
std::optional<int> truncate_to_int(double value);

// Shortest text that reads back as the same double, fixed notation where reasonable
// ("375", "0.1", "1.5E-05"). This is the "ordinary text form" of a number kept in a field.
std::string general_text(double value);

// Shortest round-trip form used for machine output (JSON): "77.35", "1e-05", "-9.9e-99".
std::string shortest_text(double value);

std::string trim_blanks(std::string_view text);  // blanks and tabs at both ends

}  // namespace kelvara
