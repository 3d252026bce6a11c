// Pieces the KCUR/CURV/ECUR and XK/XC/XE/XD command sets have in common: the header field's
// codes, the one-line curve reply, and the pick lists after an erase.
#pragma once

#include <string>
#include <utility>

#include "protocol/session.h"

namespace kelvara {

// Setpoint code on the wire for the selected setpoint limit ("325" -> "0" ... "1273" -> "9";
// anything else "0").
std::string setpoint_code_of(const HeaderFields& header);

// Selects the setpoint limit a code names; an unknown code leaves the list as it was.
void select_setpoint_from_code(HeaderFields& header, char code);

// The curve number of a pick-list entry: its first token, trimmed.
std::string curve_number_of_entry(const std::string& entry);

// Curve number as an integer (0 when the entry holds none).
int curve_number_value(const std::string& entry);

// "PERCENT COMPLETED: " with 100 x done / total, and the fraction for a bar.
void report_percent(Progress& progress, int done, int total);

// True when the first two characters of a reply hold the number n. An empty or blank reply
// (a silent instrument, a GPIB read that returned nothing) never matches, not even curve 0.
bool reply_names_curve(const std::string& reply, int n);

// True for a reply with nothing in it: no byte arrived, or a GPIB buffer still all blanks.
bool blank_reply(const std::string& reply);

// Fills the window's name and serial fields when empty ("no name", "no number") and returns
// the name cut to 9 characters followed by the serial number cut to 6.
std::string name_and_serial_for_wire(HeaderFields& header);

// Reads the part of a curve reply that follows the header's three code characters: the
// name-and-serial field, the coefficient, the count and the pairs (the instrument's first and
// last pair are not part of the curve). `rest` starts at the name. False when the reply does
// not hold a curve the model can take: a count that is no number or out of range, or fewer
// numbers than it announces.
bool take_curve_from_reply(Session& s, std::string rest);

// The pick lists after location n was erased: its entries become the bare number and every
// list selects its first entry.
void show_erased_location(Session& s, const std::string& n);

// Name and serial number as a reader cuts them from the header field's text after its three
// code characters: shorter than 9 characters, all of it is the name and the serial number is
// "no number"; a field naming a thermocouple gives "TCOUPLE" and its last 3 characters.
std::pair<std::string, std::string> older_name_and_serial(const std::string& field);

// The setpoint-limit entry a code names ('9' -> "1273"); "" for a code that names none.
std::string setpoint_entry_of_code(char code);

// "0.00000" for sensor units, "000.0" for temperatures.
inline constexpr const char* kOlderUnitsPicture = "0.00000";
inline constexpr const char* kOlderTemperaturePicture = "000.0";
std::string older_units_text(double value);
std::string older_temperature_text(double value);

}  // namespace kelvara
