// The command sets the simulated instruments speak, one file each. A handler looks at one
// command (already split at ";") and either claims it or leaves it to the next set.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/instrument.h"

namespace kelvara::sim {

struct Answer {
    enum class Kind { NotMine, NoReply, Reply };
    Kind kind = Kind::NotMine;
    std::string text;  // reply without terminator

    static Answer not_mine() { return {}; }
    static Answer none() { return {Kind::NoReply, {}}; }
    static Answer reply(std::string text) { return {Kind::Reply, std::move(text)}; }
};

Answer handle_headerpoint_command(Instrument& instrument, const std::string& command);
Answer handle_catalogue_command(Instrument& instrument, const std::string& command);
Answer handle_kcur_command(Instrument& instrument, const std::string& command);
Answer handle_hox_command(Instrument& instrument, const std::string& command);
Answer handle_xk_command(Instrument& instrument, const std::string& command);

// Which of the sets above a model speaks for its curves.
enum class CommandSet { HeaderPoint, Kcur, Hox, Xk };
CommandSet command_set_of(InstrumentModel model);

// Small parsing helpers shared by the command sets.

// When command starts with keyword, the rest after it with leading blanks removed.
std::optional<std::string> after_keyword(std::string_view command, std::string_view keyword);

// Comma-separated fields. With quotes, a field enclosed in double quotation marks loses them
// and may hold commas.
std::vector<std::string> split_fields(std::string_view text, bool quotes = false);

// A location number field: blanks around it allowed, nothing else.
std::optional<int> location_field(std::string_view text);

// Blanks, tabs and line ends removed at both ends.
std::string trim_text(std::string_view text);

// text cut or padded with blanks to exactly width characters.
std::string fit(std::string_view text, std::size_t width);

// "05" for 5, "12" for 12.
std::string two_digits(int number);

// Temperature coefficient the instrument works out itself: positive when the first point is not
// warmer than the last.
bool rising(const std::vector<SimPoint>& points);

}  // namespace kelvara::sim
