#include "sim/command_sets.h"

namespace kelvara::sim {

Answer handle_catalogue_command(Instrument&, const std::string&) {
    return Answer::not_mine();
}

}  // namespace kelvara::sim
