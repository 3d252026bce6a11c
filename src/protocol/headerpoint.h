// Reading, writing and erasing curves in the instruments of the header/point command set
// ("CRVHDR", "CRVPT", "CRVDEL", "CRVSAV"). Each procedure takes the curve number from the pick
// list the user chose it in.
#pragma once

#include <cstdint>
#include <optional>

#include "protocol/messages.h"
#include "protocol/session.h"

namespace kelvara {

TransferResult read_curve_from_taz(Session& s);
TransferResult read_curve_from_dal(Session& s);
TransferResult read_curve_from_fen(Session& s);
TransferResult read_curve_from_mep(Session& s);
TransferResult read_curve_from_obr(Session& s);

TransferResult write_curve_to_taz(Session& s);
TransferResult write_curve_to_dal(Session& s);
TransferResult write_curve_to_fen(Session& s);
TransferResult write_curve_to_mep(Session& s);
TransferResult write_curve_to_obr(Session& s);
TransferResult write_curve_to_ril(Session& s);
TransferResult write_curve_to_wun(Session& s);

TransferResult delete_curve_from_taz(Session& s);
TransferResult delete_curve_from_dal(Session& s);
TransferResult delete_curve_from_fen(Session& s);
TransferResult delete_curve_from_mep(Session& s);
TransferResult delete_curve_from_obr(Session& s);

// Room left for curve points, as the instrument answers "FREE?"; 0 when the interface is
// neither GPIB nor RS-232; nullopt when the exchange failed (the message has been shown).
std::optional<std::int32_t> query_free_points(Session& s);

// Progress texts.
inline constexpr const char* kPercentCompleted = "PERCENT COMPLETED: ";
inline constexpr const char* kPointsRead = "NUMBER OF POINTS READ: ";
inline constexpr const char* kWaitingForInstrument = "Waiting for instrument to update...";

}  // namespace kelvara
