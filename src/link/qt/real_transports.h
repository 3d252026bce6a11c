// The transports that reach a real instrument: the GPIB library or a Prologix-compatible adapter
// (serial device or TCP) for GPIB, the serial port for RS-232.
#pragma once

#include <string>

#include "link/prologix_driver.h"
#include "link/transport_factory.h"

namespace kelvara {

class QtSerialPort;

class RealTransports : public TransportFactory {
  public:
    void attach(InstrumentLink& link, const SetupChoices& choices) override;
    // "GPIB adapter WHERE: WHY" after an adapter could not be used; "" otherwise (the library's
    // and the serial port's failures keep their own reports below).
    std::string failure() const override;

    // Why no GPIB library could be loaded ("" when one was, or it was not asked for).
    const std::string& library_error() const { return library_error_; }
    // The adapter of the last GPIB attach (owned by the link), or null.
    const PrologixDriver* adapter() const { return adapter_; }
    // Why the serial port of the last RS-232 attach could not be opened ("" when it was).
    std::string serial_error() const;

  private:
    std::string library_error_;
    PrologixDriver* adapter_ = nullptr;
    QtSerialPort* serial_ = nullptr;
};

}  // namespace kelvara
