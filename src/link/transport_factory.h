// How the program reaches instruments: the front end hands one to the window or the command
// line, which asks it for the link's transports each time a link is opened. The real one
// (link/qt/real_transports.h) loads the GPIB library or opens a serial port or an adapter; the
// simulator's (sim/simulated_transports.h) puts simulated instruments behind the same seams.
#pragma once

#include <string>

#include "link/instrument_link.h"
#include "link/setup_choices.h"

namespace kelvara {

class TransportFactory {
  public:
    virtual ~TransportFactory() = default;
    // Puts into the link the transport the choices need (a GPIB driver or a serial port) before
    // setup_488 or setup_rs232 runs, and releases the other one so that a device they share is
    // free.
    virtual void attach(InstrumentLink& link, const SetupChoices& choices) = 0;
    // After an opening that fell back to working offline: what could not be reached and why, when
    // the link's own message does not say it ("" otherwise).
    virtual std::string failure() const { return {}; }
};

}  // namespace kelvara
