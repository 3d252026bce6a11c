// The simulated instruments behind the link's seams, for --simulate and the tests: each model's
// instrument answers over GPIB (through the library's calls or through a simulated adapter, USB
// or Ethernet) and over RS-232. Instruments and adapters live as long as this object, so the
// curves written and the adapter's settings outlast a change of instrument.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "link/byte_stream.h"
#include "link/transport_factory.h"
#include "sim/instrument.h"
#include "sim/prologix_adapter.h"

namespace kelvara::sim {

// The host's end of a simulated adapter, in the same process. When the adapter hangs up (the
// hang-up fault) the stream is closed, as a pulled adapter's device or a dropped connection is,
// and it cannot be opened again while the fault lasts.
class SimAdapterStream : public ByteStream {
  public:
    SimAdapterStream(PrologixAdapter& adapter, Clock& clock, std::string where);

    bool open() override;
    void close() override;
    bool is_open() const override { return open_ && !adapter_.hung_up(); }
    bool write(const std::string& bytes) override;
    // On a virtual clock it never waits (the reader's yield moves time on); on a real one it
    // sleeps until the adapter has output due or the wait is over.
    std::string read(double wait_seconds) override;
    std::string error() const override;
    std::string where() const override { return where_; }

    bool can_open = true;  // false: the adapter is unplugged or refuses the connection

  private:
    PrologixAdapter& adapter_;
    Clock& clock_;
    std::string where_;
    bool virtual_time_;
    bool open_ = false;
};

class SimulatedTransports : public TransportFactory {
  public:
    void attach(InstrumentLink& link, const SetupChoices& choices) override;

    // The model's instrument, made on first use.
    Instrument& instrument(InstrumentModel model);
    // The model's instrument if it was made, else null.
    Instrument* find(InstrumentModel model) const;
    // The adapter in front of the model's instrument, made on first use with the link's clock.
    PrologixAdapter& adapter(InstrumentModel model, Clock& clock);

  private:
    std::map<InstrumentModel, std::unique_ptr<Instrument>> instruments_;
    std::map<InstrumentModel, std::unique_ptr<PrologixAdapter>> adapters_;
};

}  // namespace kelvara::sim
