// A simulated Tessaly instrument: it keeps curves at the model's locations and answers the
// model's command lines the way the instrument does. Transports (sim_transports.h, the pty
// server, the simulated GPIB library) feed it one command line at a time.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "curve/model_profile.h"

namespace kelvara::sim {

struct Answer;

// One breakpoint as the instrument holds it. The texts are kept exactly as they arrived on the
// wire so that a curve reads back byte for byte; the numbers serve the instrument's own checks.
struct SimPoint {
    std::string units;        // sensor units, wire text ("0.09062")
    std::string temperature;  // kelvin, wire text ("475.000")

    bool operator==(const SimPoint&) const = default;
};

// A stored curve. Which header fields are meaningful depends on the command set:
//  - header/point: name, serial, format, limit, coefficient, each as sent;
//  - KCUR/CURV and XK/XC: header, the one header field exactly as sent (codes, name, serial);
//    the "N"/"P" of a reply is worked out from the points;
//  - HOX: serial (the SID text), and the 192 grid points.
struct SimCurve {
    std::string name;
    std::string serial;
    std::string header;       // the older instruments' header field
    std::string format;       // data-format code ("2")
    std::string limit;        // setpoint limit ("375")
    std::string coefficient;  // "1" negative, "2" positive
    std::vector<SimPoint> points;

    bool operator==(const SimCurve&) const = default;
};

// Misbehaviour on request, for fault tests and for trying the program's error paths. The reply
// faults (garbage, split, delay, trickle, noterm, babble) start after `after` command lines.
struct Faults {
    bool silent = false;         // hears commands (they are logged) but acts on none and
                                 // answers nothing; on GPIB the device is absent: clears and
                                 // writes fail with no listener
    bool garbage = false;        // every reply replaced by printable bytes without a comma
    int split_pieces = 0;        // > 1: a reply arrives in that many pieces (serial, pty)
    double reply_delay = 0;      // seconds before a reply is available
    int clear_failures = 0;      // GPIB device clears that fail before one succeeds
    int write_fails_after = -1;  // >= 0: GPIB writes after this many good ones fail
    int cut_after = -1;          // >= 0: silence after this many command lines: nothing arrives
                                 // any more (writes still leave, replies never come)
    int busy_polls = 0;          // "BUSY?" answers "1" this many times after each save;
                                 // kBusyForever: it never stops
    int after = 0;               // command lines answered normally before the reply faults
    int line_baud = 0;           // > 0: serial replies leave at this speed (bits per character
                                 // from the port's settings); "speed" alone takes the model's
    int hangup_after = -1;       // >= 0: the line hangs up once this many command lines were
                                 // answered (pty: closed; serial: the port fails; GPIB: no
                                 // listener)
    double trickle = 0;          // > 0: serial replies arrive one byte every this many seconds
    bool no_terminator = false;  // replies lack their line end (GPIB: END is never asserted)
    bool babble = false;         // replies never end: a flood of bytes without a terminator
    int read_fails_after = -1;   // >= 0: GPIB reads after this many good ones fail (bus error)
    // What the instrument stores, wrongly (the program's check after a write must catch it):
    int corrupt_point = 0;        // > 0: point N of every curve written (older instruments: of
                                  // the points as they hold them; HOX: grid point N) is stored
                                  // with its temperature 1 K off
    bool corrupt_header = false;  // the curve name (older instruments: the header field; HOX:
                                  // the serial number) is stored without its last character
    bool drop_last = false;       // the last point written to a curve is lost
    bool exponent = false;        // numbers in curve replies come in exponent form
                                  // ("1.2345E-01"), as some firmware prints them

    static constexpr int kBusyForever = -1;

    // "silent,garbage,split=3,delay=0.5,clear=2,writefail=4,cut=10,busy=3,busy=forever,after=5,
    // speed,speed=1200,hangup=6,trickle=0.5,noterm,babble,readfail=4,corrupt=5,corrupt=header,
    // droplast,exponent" (any subset, any order).
    // Returns false and leaves *this unchanged when an item is not understood. `model_baud`
    // is what "speed" alone stands for.
    bool parse(const std::string& text, int model_baud = 9600);
};

class Instrument {
  public:
    explicit Instrument(InstrumentModel model);

    InstrumentModel model() const { return model_; }

    // The reply line to the identification query (without terminator). Default:
    // "TESSALY,MODEL <designation>,SIM000001,1.0" ("RIL" for QUA/RIL). A test sets another
    // text to present a different instrument.
    void set_identity(std::string identity) { identity_ = std::move(identity); }
    const std::string& identity() const { return identity_; }

    // Handles one command line as received (no terminator). Returns the reply including the
    // terminator "\r\n", or "" when the command has no reply (or the instrument is silent).
    // Several commands joined by ";" are handled in order; their replies are joined by ";".
    std::string handle(const std::string& command);

    // Stored curves. nullptr when the location is empty or does not exist.
    const SimCurve* curve(int location) const;
    void store(int location, SimCurve curve);
    void erase(int location);

    // HOX holds its single curve here; the other models use their read-list numbers.
    static constexpr int kHoxLocation = 0;

    bool is_location(int location) const;  // a location the model has (read list)
    bool is_factory(int location) const;   // readable but not writable
    bool is_writable(int location) const;

    // Every command received (after splitting at ";"), oldest first.
    const std::vector<std::string>& log() const { return log_; }
    void clear_log() { log_.clear(); }
    int commands_received() const { return commands_received_; }
    // True when the reply to the command line just handled is subject to the reply faults.
    bool reply_faults_active() const { return commands_received_ > faults.after; }
    // True once the line has hung up (Faults::hangup_after command lines were handled).
    bool hangup_due() const {
        return faults.hangup_after >= 0 && commands_received_ >= faults.hangup_after;
    }

    Faults faults;

    // Bytes of curve memory left, shrinking with stored points (catalogue and "FREE?").
    int free_bytes() const;
    static constexpr int kHeaderBytes = 64;
    static constexpr int kPointBytes = 16;
    // Curve memory of the user locations; by default every user location can hold a full curve.
    // Tests lower it to try the program's out-of-memory paths.
    int memory_bytes = 0;

    // Changes whenever a stored curve changes (lets a host persist state only when needed).
    unsigned revision() const { return revision_; }

    // The user curves as text (one block per location), and back. load_state replaces the user
    // curves; false when the text is malformed (nothing changed then).
    std::string save_state() const;
    bool load_state(const std::string& text);

    // Mutable access for the command-set handlers.
    SimCurve* mutable_curve(int location);
    // Stores a point written to the curve at `location` at `index` (appended without one),
    // through the store faults: corrupt_point changes it; with drop_last it is held back until
    // the next command and lost unless that command writes another point.
    void put_point(int location, std::optional<std::size_t> index, SimPoint point);
    // A number of a curve reply as the instrument prints it (Faults::exponent).
    std::string reply_number(const std::string& text) const;
    int& busy_counter() { return busy_counter_; }
    void touch() { ++revision_; }

  private:
    Answer handle_one_answer(const std::string& command);
    void load_factory_curves();

    InstrumentModel model_;
    std::string identity_;
    void commit_staged();
    void insert_point(int location, std::size_t at, SimPoint point);
    struct Staged {
        int location;
        std::size_t index;
        SimPoint point;
        int part;  // the command part that wrote it
    };

    std::map<int, SimCurve> curves_;
    std::optional<Staged> staged_;
    int parts_handled_ = 0;
    std::vector<std::string> log_;
    int commands_received_ = 0;
    int busy_counter_ = 0;
    unsigned revision_ = 0;
};

}  // namespace kelvara::sim
