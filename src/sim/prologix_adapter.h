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
//
// The simulator's line faults act where they would through a real adapter:
//  - delay, split, trickle: the instrument talks late, in pieces, or one byte every so often
//    (a gap longer than the adapter's read time-out ends its read there);
//  - noterm, babble: the instrument never asserts EOI, so no end mark follows its bytes and the
//    adapter waits out its read time-out after the last one;
//  - readfail=N: after N reads that brought a reply the adapter's reads bring nothing;
//  - speed: the link between host and adapter carries every byte for the host at that speed,
//    8N1, as an AR488 on a serial line does (kLinkBaud is what "speed" alone stands for here);
//  - hangup=N: once N command lines reached the instrument and their replies went out, the
//    adapter is gone (hung_up()): the servers close the pseudo-terminal or the connection.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "link/clock.h"
#include "sim/bytes_in_flight.h"
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
    // The hang-up fault has struck and everything due to the host has gone out: the line or
    // connection is to be closed, and stays down.
    bool hung_up() const;

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
    static constexpr int kLinkBaud = 115200;   // the AR488's serial link

  private:
    struct Line {
        bool command;
        std::string text;
    };
    void parse(char c);
    void act();
    void command(const std::string& text);
    void data(const std::string& text);
    void read(bool until_eoi);
    bool listening() const;
    void answer(const std::string& text);
    void send(double at, double spacing, std::string bytes);
    void change(int& setting, int value);
    void change(bool& setting, bool value);

    Instrument& instrument_;
    Clock& clock_;
    std::string version_;
    std::deque<Line> lines_;
    BytesInFlight output_;  // to the host
    std::string line_;
    int plain_plus_ = 0;  // leading unescaped "+" of line_
    bool escaped_ = false;
    double busy_until_ = 0;    // in a read until then, acting on nothing else
    std::string pending_;      // the instrument's reply, not yet read
    double pending_at_ = 0;    // when the instrument has its (next) byte ready
    double pending_gap_ = 0;   // > 0: the instrument talks one byte every so many seconds
    int pending_pieces_ = 1;   // the reply comes in that many pieces
    bool pending_eoi_ = true;  // EOI comes with the reply's last byte
    double link_free_at_ = 0;  // when the link to the host has carried what was sent
    int writes_ = 0;
    int reads_ = 0;  // reads that brought a reply
};

}  // namespace kelvara::sim
