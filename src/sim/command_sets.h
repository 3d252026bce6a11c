// The command sets the simulated instruments speak, one file each. A handler looks at one
// command (already split at ";") and either claims it or leaves it to the next set.
#pragma once

#include <string>

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

}  // namespace kelvara::sim
