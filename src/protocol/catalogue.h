// The curve catalogue and the pick-list entries it writes. The transfer procedures use the same
// helpers to refresh the entry of the location they wrote or erased.
#pragma once

#include <string>
#include <utility>

#include "protocol/ports.h"
#include "protocol/session.h"

namespace kelvara {

// First field of a pick-list entry (the curve number as text, e.g. "21" of "21 - PT100  A1").
std::string curve_number_field(const std::string& entry);

// Position of the first entry whose first field has the numeric value n, or -1.
int find_entry_by_number(const ListField& list, double n);

// Position of the first entry whose first two characters have the numeric value n, or -1. Only
// one- and two-digit numbers can match; the older catalogues look entries up this way.
int find_entry_by_first_two(const ListField& list, double n);

// A reply field without surrounding blanks, tabs, and the line end the instrument sent.
std::string trim_reply_field(const std::string& field);

// Name (before the first comma) and serial number (second field) of a "CRVHDR? " reply, trimmed.
std::pair<std::string, std::string> name_and_serial(const std::string& reply);

// "21 - NAME  SERIAL"
std::string header_point_entry(const std::string& n, const std::string& name,
                               const std::string& serial);

// Which list the user picked the location in: that list's selected entry and the entry at the
// same position of its twin (write <-> delete) are replaced; the read list's entry is found by
// its curve number. When the read list has no such location nothing changes. Each list keeps the
// replaced entry selected.
enum class PickedIn { Write, Delete };
void refresh_location_entry(PickLists& picks, PickedIn picked, const std::string& n,
                            const std::string& entry);

namespace detail {
class Wire;
// The catalogue on a procedure's own wire: the older instruments' writers end with it.
void read_catalogue(Wire& wire);
}  // namespace detail

}  // namespace kelvara
