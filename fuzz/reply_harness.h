// The instrument procedures that take replies (the catalogue, and every model's curve read, write
// and delete, which ask for free memory, "BUSY?" and the names again) run against replies taken
// from a fuzz input through a scripted serial port or GPIB device on the virtual clock.
//
// An input is three bytes, then the replies, one after the other, each ended by a NUL byte:
//   byte 0   the model, an index into the model table (modulo its size)
//   byte 1   bit 0: GPIB (models without GPIB use RS-232); bits 1 and 2: read, catalogue, write
//            or delete
//   byte 2   the entry of the procedure's pick list (modulo its size)
// The first reply answers the identification query; each further one answers the next query
// (a command holding "?", "XD..." or "W2"). Once the replies run out the instrument is silent.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "curve/model_profile.h"
#include "protocol/session.h"

namespace kelvara::fuzz {

enum class Procedure { Read, Catalogue, Write, Delete };

struct ReplyRun {
    InstrumentModel model = InstrumentModel::TAZ;
    bool gpib = false;
    Procedure procedure = Procedure::Read;
    int entry = 0;
};

// Hears every command line; what it returns for a query is the reply (for any other command it
// is thrown away).
using Responder = std::function<std::string(const std::string& command)>;

bool is_query(const std::string& command);

ReplyRun decode_run(const std::uint8_t* data, std::size_t size);
std::vector<std::string> decode_replies(const std::uint8_t* data, std::size_t size);
// An input that decodes to this run and these replies (a NUL inside a reply ends it early).
std::string encode(const ReplyRun& run, const std::vector<std::string>& replies);

// Runs the procedure against the responder and checks what the procedure must keep: no broken
// invariant, a bounded virtual time and number of commands, pick lists that keep their entries'
// curve numbers, a curve that only a whole read replaces, and a failed read that leaves the
// window's curve, header fields and remembered state as they were. Aborts on a violation.
// `before` runs first on the opened session's link (the seed maker writes a curve there).
TransferResult run_and_check(const ReplyRun& run, const Responder& respond,
                             const std::function<void(Session&)>& before = {});

}  // namespace kelvara::fuzz
