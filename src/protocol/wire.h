// How a procedure puts its commands on the wire, pauses and takes its replies, and how it
// ended. The first failure shows its message and marks the procedure failed; a cancel marks it
// cancelled without a word. After either, every later send, pause and read does nothing and
// reports false, so the procedure stops at its next step whichever step that is.
#pragma once

#include <optional>
#include <string>

#include "protocol/messages.h"
#include "protocol/session.h"

namespace kelvara::detail {

// A pause that depends on the interface in use.
struct Pace {
    double gpib = 0;
    double rs232 = 0;
};

// Chosen: the interface of the set-up. Rs232Only: the DAL speaks RS-232 whatever was chosen,
// with no interface check.
enum class Route { Chosen, Rs232Only };

class Wire {
  public:
    explicit Wire(Session& s, Route route = Route::Chosen, bool crlf_on_gpib = false);

    // True when the interface is RS-232, or GPIB where the model has it (always for
    // Rs232Only); otherwise shows "Invalid communication interface." and fails.
    bool check_interface(bool gpib_allowed = true);
    bool on_gpib() const;
    // For the catalogue and memory queries, which go on without an answer: false, with "Invalid
    // communication interface." shown but the procedure not failed, when the set-up names
    // neither GPIB nor RS-232.
    bool interface_named();
    // Sends such a query (waiting serial input thrown away first) and waits the pause of the
    // interface the set-up names; false as send() and pause() are.
    bool send_query(const std::string& query, const Pace& pace,
                    const std::string& failure = kProblemTalking);

    // Sends one command; false when it could not go out (a GPIB error, a dead line: `failure`
    // is shown) or after a cancel. clear_input discards waiting serial input first.
    bool send(const std::string& command, bool clear_input = false,
              const std::string& failure = kProblemTalking);
    bool pause(const Pace& pace);
    bool pause(double seconds);

    // A reply that ended as replies end: with its line end over RS-232, with END over GPIB.
    // Anything else (silence, a reply too long or trickling, a dead line) fails with `failure`.
    // `largest`: the GPIB buffer, and the longest reply the command can have on RS-232.
    std::optional<std::string> read(int largest = 80, const std::string& failure = kProblemTalking);

    // The reply however it ended, for the replies a procedure judges itself; nullopt only after
    // a dead line (`failure` shown) or a cancel.
    struct Reply {
        std::string text;
        bool complete = false;
    };
    std::optional<Reply> read_as_is(int largest = 80, const std::string& failure = kProblemTalking);

    // Shows the message and fails the procedure (once: a later failure stays unsaid). fail()
    // returns false for the steps that report success as a bool; stop_with() the result, for
    // `return wire.stop_with(...)` in a procedure.
    bool fail(const std::string& message = kProblemTalking);
    TransferResult stop_with(const std::string& message = kProblemTalking) {
        fail(message);
        return outcome_;
    }

    // Fails the procedure whose message has already been shown.
    void mark_failed() {
        if (running()) outcome_ = TransferResult::Failed;
    }

    bool running() const { return outcome_ == TransferResult::Done; }
    TransferResult result() const { return outcome_; }
    Session& session() { return s_; }

  private:
    bool stopped(const std::string& failure);

    Session& s_;
    Route route_;
    bool crlf_on_gpib_;
    TransferResult outcome_ = TransferResult::Done;
};

// A number of a reply: the whole field one finite number, else nullopt.
std::optional<double> reply_number(const std::string& field);

// After a procedure: a dead line or a cancel closes the link (the GPIB device returned to local,
// the port closed) and leaves the program offline, as a failed set-up does.
void settle_link(Session& s, TransferResult result);

}  // namespace kelvara::detail
