// How the header/point procedures put one command on the wire and take one reply. The
// procedures differ only in rows of pauses and in a few switches; this is the common part.
#pragma once

#include <string>

#include "protocol/session.h"

namespace kelvara::detail {

// A pause that depends on the interface in use.
struct Pace {
    double gpib = 0;
    double rs232 = 0;
};

// Chosen: the interface of the set-up. Rs232Only: the DAL speaks RS-232 whatever was chosen,
// with no interface check and no failure message.
enum class Route { Chosen, Rs232Only };

class Wire {
  public:
    Wire(Session& s, Route route, bool crlf_on_gpib = false);

    // True when the interface is GPIB or RS-232 (always for Rs232Only); otherwise shows
    // "Invalid communication interface." and returns false.
    bool check_interface();

    // Sends one command. A GPIB send that fails shows "Problem talking to instrument." and
    // returns false; the caller stops. clear_input discards waiting serial input first.
    bool send(const std::string& command, bool clear_input = false);
    std::string read(int gpib_buffer = 80);
    void pause(const Pace& pace);
    bool on_gpib() const;

  private:
    Session& s_;
    Route route_;
    bool crlf_on_gpib_;
};

// "BUSY?" until the first character of the reply is "0", at most 90 further polls, toggling the
// progress label. Returns false when a GPIB send failed (the message has been shown).
bool poll_until_ready(Session& s, Wire& wire);

// Sends "CRVHDR? " n, reads the reply and refreshes the location's pick-list entries. False when
// the send failed.
enum class Refresh { FromWrite, FromDelete };
bool read_back_location(Session& s, Wire& wire, const std::string& n, const Pace& pace,
                        Refresh refresh);

// Curve number: first field of the selected entry of the list, trimmed.
std::string picked_curve_number(const ListField& list);

}  // namespace kelvara::detail
