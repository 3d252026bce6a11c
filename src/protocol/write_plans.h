// What each family's write procedure puts on the wire for the open curve, worked out before
// anything is sent. The procedures send exactly these texts; a comparison without writing uses
// the same plans, so "as a write would send it" cannot drift from what a write sends.
#pragma once

#include <string>

#include "protocol/session.h"

namespace kelvara::detail {

// Header/point: fills the name, serial and setpoint fields the instrument cannot take empty
// ("no name", "no number", "0"), warns about data format 0, stores the coefficient in the curve.
SentCurve plan_header_point_write(Session& s, bool wun_temperatures, const std::string& n);

// KCUR/CURV and XK/XC: copies the curve into the transfer arrays and runs the scaling dialog,
// fills "no name"/"no number", and builds the header field. The curve has 2 points or more.
SentCurve plan_older_write(Session& s, SentForm form, const std::string& location);

// HOX: the 192 grid points and the serial number cut to 8 characters.
SentCurve plan_hox_write(const Session& s);

// The model's read procedure, as the readcurve dialog runs it; nullptr for a model without one.
using Procedure = TransferResult (*)(Session&);
Procedure read_procedure_of(InstrumentModel model);

}  // namespace kelvara::detail
