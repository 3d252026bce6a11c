// The one channel to the instrument: send one command, read one reply, pause.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "curve/prompts.h"
#include "link/clock.h"
#include "link/gpib_driver.h"
#include "link/serial_port.h"
#include "link/setup_choices.h"

namespace kelvara {

// How the last reply ended.
enum class ReplyStatus {
    Complete,   // with its terminator: CR or LF on RS-232, END on GPIB
    Silent,     // nothing (more) arrived for 10 s, or the GPIB read timed out
    TooLong,    // grew beyond the largest reply its command can have
    Trickling,  // kept arriving far slower than the line carries it
    LineDead,   // the line is gone: see dead_reason()
    Cancelled,  // the transfer was cancelled while it waited
};

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

    // GPIB: ibwrt without terminator; false when ERR is set afterwards (the line is then dead).
    // RS-232: optionally discard waiting input, write text + "\r\n"; false only when the line
    // is dead. Both refuse after a cancel.
    bool send_command(const std::string& text, bool clear_input);
    // GPIB: ibrd into a space-filled buffer of buffer_size. RS-232: gather until CR or LF, with
    // buffer_size the largest reply the command can have; 10 s of silence end it. How it ended is
    // last_reply().
    std::string read_reply(int buffer_size = 80);
    // False when a cancel cut it short.
    bool pause(double seconds);

    // Serial path regardless of the chosen interface (for the RS-232-only procedures).
    bool send_command_rs232(const std::string& text, bool clear_input);
    std::string read_reply_rs232(int largest = 80);

    ReplyStatus last_reply() const { return last_reply_; }
    // A hang-up, a vanished device or a failing GPIB call: nothing more can be said on this link
    // until it is opened again.
    bool line_dead() const { return dead_; }
    const std::string& dead_reason() const { return dead_reason_; }

    // Stops the running transfer between two commands: waits end at once, sends refuse. Safe
    // from a signal handler or another thread. A new set-up clears it.
    void request_cancel() { cancel_.store(true); }
    bool cancel_requested() const { return cancel_.load(); }
    std::atomic<bool>& cancel_flag() { return cancel_; }

    // Commands that went out since the link was opened.
    int commands_sent() const { return commands_sent_; }
    // The instrument's reply to the identification query of the set-up that opened the link
    // ("" before one succeeded).
    const std::string& identification() const { return identification_; }

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
    void start_over();
    void quit_setup(SetupChoices& choices);
    void mark_dead(const std::string& reason);
    void remember_identification(const std::string& reply);
    std::string gpib_failure() const;
    std::string collect_serial_reply(std::size_t largest);

    Clock& clock_;
    Prompts& prompts_;
    Interface interface_ = Interface::None;
    std::unique_ptr<SerialPort> serial_;
    std::unique_ptr<GpibDriver> gpib_;
    int device_ = -1;
    bool registered_ = false;
    bool registration_failed_ = false;  // the driver's status cannot be seen: it stays at ERR
    GpibStatus status_;
    SerialSettings serial_settings_;
    ReplyStatus last_reply_ = ReplyStatus::Complete;
    bool lf_owed_ = false;  // the last serial reply ended at a CR whose LF had not come yet
    bool dead_ = false;
    std::string dead_reason_;
    std::atomic<bool> cancel_{false};
    int commands_sent_ = 0;
    std::string identification_;
    static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");
};

// The identification rule: "*IDN?" models look for one of their names in the reply's second
// comma-separated field; "W2" models accept any reply holding a comma. No profile: refused.
bool identification_accepted(const ModelProfile* profile, const std::string& reply);

// A GPIB error code as the driver names it, e.g. "ENOL (no listener)".
std::string gpib_error_name(int iberr);

}  // namespace kelvara
