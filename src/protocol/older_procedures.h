// Procedures of the older instruments: KCUR/CURV/ECUR (KOR, LUM, NAV), HOX, and XK/XC/XE/XD
// (ELK, DUN, KIP), with the data scaling their writers apply first.
#pragma once

#include <optional>

#include "protocol/messages.h"
#include "protocol/session.h"

namespace kelvara {

TransferResult read_curve_from_kor(Session& s);
TransferResult read_curve_from_lum(Session& s);
TransferResult read_curve_from_nav(Session& s);
TransferResult write_curve_to_kor(Session& s);
TransferResult write_curve_to_lum(Session& s);
TransferResult write_curve_to_nav(Session& s);
TransferResult delete_curve_from_kor(Session& s);
TransferResult delete_curve_from_lum(Session& s);
TransferResult delete_curve_from_nav(Session& s);

TransferResult write_curve_to_hox(Session& s);
TransferResult read_curve_from_hox(Session& s);
TransferResult delete_curve_from_hox(Session& s);

TransferResult write_curve_to_elk(Session& s);
TransferResult write_curve_to_kip(Session& s);
TransferResult read_curve_from_elk(Session& s);
TransferResult delete_curve_from_elk(Session& s);
// Free bytes reported by "XDT"; 0 for a reply without them or when the interface is neither
// GPIB nor RS-232; nullopt when the exchange failed (the message has been shown).
std::optional<int> query_bytes_free(Session& s);

// Copies the curve into the transfer arrays and, where the data need it, runs the scaling
// dialog on them (scaling_code 1..6). The open curve is never changed.
void choose_scaling(Session& s);

}  // namespace kelvara
