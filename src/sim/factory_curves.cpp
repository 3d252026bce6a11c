#include "sim/instrument.h"

namespace kelvara::sim {

void Instrument::load_factory_curves() {}

}  // namespace kelvara::sim
