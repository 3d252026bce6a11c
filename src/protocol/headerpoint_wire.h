// The pieces the header/point procedures share: the "BUSY?" polling, the read-back of a
// location into the pick lists, and the header reply.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "protocol/wire.h"

namespace kelvara::detail {

// "BUSY?" until the first character of the reply is "0", at most 90 further polls, toggling the
// progress label. True when the instrument reported ready, false when it was still busy after
// the last poll; nullopt when the exchange failed or was cancelled.
std::optional<bool> poll_until_ready(Session& s, Wire& wire);

// Sends "CRVHDR? " n, reads the reply and refreshes the location's pick-list entries. False when
// the exchange failed or was cancelled (the lists stay as they were).
enum class Refresh { FromWrite, FromDelete };
bool read_back_location(Session& s, Wire& wire, const std::string& n, const Pace& pace,
                        Refresh refresh);

// True when a "CRVHDR? " reply holds what the instrument sends: name, serial number, a
// data-format code (a number in the range of an integer), a setpoint limit (a number) and a
// coefficient that begins with a digit.
bool header_reply_parses(const std::string& reply);

// "FREE?" on the procedure's own wire (see query_free_points).
std::optional<std::int32_t> query_free_points(Wire& wire);

// Curve number: first field of the selected entry of the list, trimmed.
std::string picked_curve_number(const ListField& list);

}  // namespace kelvara::detail
