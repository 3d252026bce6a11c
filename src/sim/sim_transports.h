// The simulated instrument behind the link's two transport seams, so the link and every
// instrument procedure run unchanged against it (tests, --simulate).
#pragma once

#include <string>

#include "link/clock.h"
#include "link/gpib_driver.h"
#include "link/serial_port.h"
#include "sim/bytes_in_flight.h"
#include "sim/instrument.h"

namespace kelvara::sim {

// Bytes written are cut into lines at CR or LF; each line goes to the instrument and its reply
// becomes available to take_input() once the fault delay has passed on the clock, in pieces
// when the instrument is told to split replies, byte by byte at the line's speed or a trickle
// when told so. A hang-up fault makes the port fail once the last reply has been taken.
class SimSerialPort : public SerialPort {
  public:
    SimSerialPort(Instrument& instrument, Clock& clock);

    bool open(int port, const std::string& device, const SerialSettings& settings) override;
    void close() override;
    bool is_open() const override { return open_; }
    void discard_input() override;
    void write(const std::string& bytes) override;
    std::string take_input() override;
    bool line_dead() const override { return dead_; }
    std::string error() const override;
    std::string device_name(int port) const override;

    // Settings of the last open(), for tests.
    const SerialSettings& settings() const { return settings_; }
    // Set false to make open() fail (a port that does not exist).
    bool can_open = true;

  private:
    void queue_reply(const std::string& reply);

    Instrument& instrument_;
    Clock& clock_;
    bool open_ = false;
    bool dead_ = false;
    bool hanging_up_ =
        false;  // the instrument has hung up; the line dies when its last reply is in
    double line_free_at_ = 0;  // when the line has carried everything queued so far
    SerialSettings settings_;
    std::string partial_;
    BytesInFlight pending_;  // the replies on their way
};

// One device on a simulated bus. ibwrt hands the whole buffer to the instrument as one command
// (a trailing CR LF is dropped); ibrd returns the pending reply, at most count bytes at a time.
class SimGpibDriver : public InProcessGpibDriver {
  public:
    // address: the only primary address that answers, or -1 for any address.
    SimGpibDriver(Instrument& instrument, Clock& clock, int address = -1);

    int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) override;
    int ibclr(int ud) override;
    int ibwrt(int ud, const char* buffer, long count) override;
    int ibrd(int ud, char* buffer, long count) override;
    int ibloc(int ud) override;
    int ibonl(int ud, int online) override;
    int writes() const { return writes_; }

  private:
    bool valid(int ud) const;

    Instrument& instrument_;
    Clock& clock_;
    int address_;
    int device_ = -1;
    double timeout_ = 10;
    int writes_ = 0;
    int reads_ = 0;
    int clears_failed_ = 0;
    std::string reply_;
    bool reply_ends_ = true;  // END comes with the reply's last byte
    double reply_ready_at_ = 0;
};

}  // namespace kelvara::sim
