// The one channel to the instrument: send one command, read one reply, pause.
#pragma once

#include <memory>
#include <string>

#include "curve/prompts.h"
#include "link/clock.h"
#include "link/gpib_driver.h"
#include "link/serial_port.h"
#include "link/setup_choices.h"

namespace kelvara {

class InstrumentLink {
  public:
    InstrumentLink(Clock& clock, Prompts& prompts);
    ~InstrumentLink();

    // Transports are injected so that tests and --simulate can plug the simulator in.
    void set_serial_port(std::unique_ptr<SerialPort> port);
    void set_gpib_driver(std::unique_ptr<GpibDriver> driver);  // nullptr: no library found

    // Open and identify; on failure show the message, set choices.interface to None.
    void setup_488(SetupChoices& choices);
    void setup_rs232(SetupChoices& choices);

    Interface interface() const { return interface_; }
    void set_interface(Interface i) { interface_ = i; }

    // GPIB: ibwrt without terminator; false when ERR is set afterwards. RS-232: optionally
    // discard waiting input, write text + "\r\n"; always true.
    bool send_command(const std::string& text, bool clear_input);
    // GPIB: ibrd into a space-filled buffer of buffer_size. RS-232: gather until CR or LF or 10 s.
    std::string read_reply(int buffer_size = 80);
    void pause(double seconds);

    // Serial path regardless of the chosen interface (for the RS-232-only procedures).
    bool send_command_rs232(const std::string& text, bool clear_input);
    std::string read_reply_rs232();

    // Returns the instrument to local and closes the port/device; the interface becomes None.
    void close();

    // The serial port in use (may be null), e.g. for showing which device was opened.
    SerialPort* serial_port() { return serial_.get(); }
    const SerialPort* serial_port() const { return serial_.get(); }

    const GpibStatus& status() const { return status_; }
    Clock& clock() { return clock_; }

  private:
    void copy_status();
    bool ensure_registered();
    void set_error_status();
    void fail_gpib(SetupChoices& choices, const std::string& text);
    void fail_rs232(SetupChoices& choices, const std::string& text);
    std::string collect_serial_reply();

    Clock& clock_;
    Prompts& prompts_;
    Interface interface_ = Interface::None;
    std::unique_ptr<SerialPort> serial_;
    std::unique_ptr<GpibDriver> gpib_;
    int device_ = -1;
    bool registered_ = false;
    bool registration_failed_ = false;  // the driver's status cannot be seen: it stays at ERR
    GpibStatus status_;
};

// The identification rule: "*IDN?" models look for one of their names in the reply's second
// comma-separated field; "W2" models accept any reply holding a comma. No profile: refused.
bool identification_accepted(const ModelProfile* profile, const std::string& reply);

}  // namespace kelvara
