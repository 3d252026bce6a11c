// What the KCUR/CURV and XK/XC instruments have in common: one text record per curve, a header
// field of one run of characters, and a curve reply framed by a first and a last pair of the
// instrument's own.
#pragma once

#include <string>

#include "sim/instrument.h"

namespace kelvara::sim {

// The pairs the instrument keeps around every curve (the lowest and highest sensor reading it
// can interpolate to). Readers skip them.
inline constexpr const char* kOwnFirstPair = "0.00000,000.0";
inline constexpr const char* kOwnLastPair = "9.99999,000.0";

// "nn,<header>,N|P,count,<first pair>,u0,t0,...,<last pair>" for a stored curve; the count
// includes the instrument's own two pairs.
std::string older_curve_reply(const Instrument& in, int location, const SimCurve& curve);

// Name and serial number as a reader cuts them from the header field (three code characters,
// then the name in 9 characters followed by the serial number).
std::string older_curve_name(const SimCurve& curve);
std::string older_curve_serial(const SimCurve& curve);

// Stores header and first two points ("hdr,u0,t0,u1,t1") at a user location with room enough.
// False (nothing stored) when the fields are not all there or memory is short.
bool older_curve_begin(Instrument& in, int location, const std::string& fields);
// Appends one point ("u,t") to an existing curve at a user location.
bool older_curve_append(Instrument& in, int location, const std::string& fields);

// "11,S..." -> 11 and the text after the first comma; false when no location number leads.
bool split_location(const std::string& args, int& location, std::string& rest);

// The text with one trailing "*" removed (store and erase commands end in it).
std::string without_star(std::string text);

}  // namespace kelvara::sim
