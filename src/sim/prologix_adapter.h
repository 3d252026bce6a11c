// A simulated Prologix-compatible GPIB adapter with the simulated instrument behind it. It takes
// the host's bytes, honours the "++" commands and the ESC escaping, and decides when each byte of
// its output is due; the servers (adapter_server.h) and the in-process stream
// (simulated_transports.h) only carry bytes, so the reply timing lives here alone.
//
// It starts with the settings another program might have left: device mode, read after write,
// no EOI, CR LF appended, no end mark, saving to memory on, and address 0, where nobody listens.
// A host that forgets to set one of them finds its commands ignored, its replies gone or the
// bytes on the bus changed (see `bus`). Nothing is acknowledged; the instrument's faults apply
// to what it hears and answers (a failed write goes unseen, as it does through a real adapter).
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "link/clock.h"
#include "sim/instrument.h"

namespace kelvara::sim {

// What the adapter put on the bus.
struct BusEvent {
    enum class Kind { Data, Clear, Local };
    Kind kind;
    int address;
    std::string bytes;  // Data: exactly the bytes sent, appended terminator included
    bool eoi = false;   // Data: EOI asserted with the last byte

    bool operator==(const BusEvent&) const = default;
};

class PrologixAdapter {
  public:
    PrologixAdapter(Instrument& instrument, Clock& clock, std::string version = kUsbVersion);

    static constexpr const char* kUsbVersion = "Kelvara simulated GPIB-USB adapter version 1.0";
    static constexpr const char* kEthernetVersion =
        "Kelvara simulated GPIB-ETHERNET adapter version 1.0";

    // Bytes from the host, as they arrive.
    void receive(const std::string& bytes);
    // Bytes for the host that are due now.
    std::string take_output();
    // Clock time at which more output may be due or queued lines can be acted on.
    std::optional<double> next_event() const;
    // The host went away: its unfinished line and the output nobody will read are dropped;
    // settings stay, as they do in a real adapter.
    void disconnected();

    struct Settings {
        int mode = 0;           // 1 controller, 0 device
        bool auto_read = true;  // read after every data line
        bool eoi = false;       // EOI with the last byte
        int eos = 0;            // appended: 0 CR LF, 1 CR, 2 LF, 3 nothing
        bool eot_enable = false;
        int eot_char = 0;
        int read_tmo_ms = 500;
        int address = 0;
        int secondary = 0;  // 0: none
        bool save = true;   // every change written to the adapter's memory
    };
    Settings settings;
    // The instrument answers at this primary address only; -1: at every address 1 to 30.
    int instrument_address = -1;

    std::vector<BusEvent> bus;  // everything put on the bus, oldest first
    int memory_writes = 0;      // settings written to memory while saving was on
    const std::string& version() const { return version_; }

    static constexpr double kPieceGap = 0.05;  // between the pieces of a split reply

  private:
    struct Line {
        bool command;
        std::string text;
    };
    struct Piece {
        double at;
        std::string bytes;
    };
    void parse(char c);
    void act();
    void command(const std::string& text);
    void data(const std::string& text);
    void read(bool until_eoi);
    bool listening() const;
    void answer(const std::string& text);
    void change(int& setting, int value);
    void change(bool& setting, bool value);

    Instrument& instrument_;
    Clock& clock_;
    std::string version_;
    std::deque<Line> lines_;
    std::deque<Piece> output_;
    std::string line_;
    int plain_plus_ = 0;  // leading unescaped "+" of line_
    bool escaped_ = false;
    double busy_until_ = 0;  // in a read until then, acting on nothing else
    std::string pending_;    // the instrument's reply, not yet read
    double pending_at_ = 0;  // when the instrument has it ready
    int writes_ = 0;
};

}  // namespace kelvara::sim
