// Reading, writing and erasing curves in the instruments of the header/point command set
// ("CRVHDR", "CRVPT", "CRVDEL", "CRVSAV"). Each procedure takes the curve number from the pick
// list the user chose it in.
#pragma once

#include <cstdint>

#include "protocol/session.h"

namespace kelvara {

void read_curve_from_taz(Session& s);
void read_curve_from_dal(Session& s);
void read_curve_from_fen(Session& s);
void read_curve_from_mep(Session& s);
void read_curve_from_obr(Session& s);

void write_curve_to_taz(Session& s);
void write_curve_to_dal(Session& s);
void write_curve_to_fen(Session& s);
void write_curve_to_mep(Session& s);
void write_curve_to_obr(Session& s);
void write_curve_to_ril(Session& s);
void write_curve_to_wun(Session& s);

void delete_curve_from_taz(Session& s);
void delete_curve_from_dal(Session& s);
void delete_curve_from_fen(Session& s);
void delete_curve_from_mep(Session& s);
void delete_curve_from_obr(Session& s);

// Room left for curve points, as the instrument answers "FREE?"; 0 after a failure.
std::int32_t query_free_points(Session& s);

// Progress texts.
inline constexpr const char* kPercentCompleted = "PERCENT COMPLETED: ";
inline constexpr const char* kPointsRead = "NUMBER OF POINTS READ: ";
inline constexpr const char* kWaitingForInstrument = "Waiting for instrument to update...";

// Messages.
inline constexpr const char* kInvalidInterface = "Invalid communication interface.";
inline constexpr const char* kProblemTalking = "Problem talking to instrument.";
inline constexpr const char* kFormatZeroWarning =
    "Invalid curve data format of 0 being sent to instrument.";

}  // namespace kelvara
