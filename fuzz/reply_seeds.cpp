// Seed inputs for the reply fuzzer: what the simulated instrument of every model answers to the
// catalogue, a curve read, write and delete at its last user location, on each of its buses
// (a curve is written there first, except for the write).
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "protocol/transfers.h"
#include "reply_harness.h"
#include "seeds.h"
#include "sim/instrument.h"

namespace kelvara::fuzz {

namespace {

// Writes a short curve with the model's own write procedure, unrecorded.
void write_a_curve(Session& s, bool& recording) {
    recording = false;
    for (int k = 0; k < s.curve.max_breakpoints; ++k) {
        if (s.setup.model == InstrumentModel::HOX) {
            s.curve.temperatures[k] = 400.0 - 2 * k;
        } else if (k < 6) {
            s.curve.sensor_units[k] = 0.25 + 0.125 * k;
            s.curve.temperatures[k] = 400.0 - 61.5 * k;
        }
    }
    get_number_of_breakpoints(s.curve);
    s.header.name = "SEED";
    s.header.serial_number = "S1234";
    s.header.setpoint_text = "325.5";
    if (!s.picks.write.entries.empty())
        s.picks.write.selected = static_cast<int>(s.picks.write.entries.size()) - 1;
    // The write renames the catalogue's entries and selects the first ones again.
    const int read_selected = s.picks.read.selected;
    const TransferResult written = run_write_transfer(s);
    s.picks.read.selected = read_selected;
    if (written != TransferResult::Done) {
        std::fprintf(stderr, "seed: the %s write failed\n",
                     std::string(designation(s.setup.model)).c_str());
        std::abort();
    }
    recording = true;
}

}  // namespace

std::vector<Seed> make_seeds() {
    std::vector<Seed> seeds;
    for (const ModelProfile& p : model_profiles()) {
        const PickLists picks = PickLists::for_model(p.model);
        // The last user location, as an index into each list (the read list holds it too).
        int last_read = 0, last_written = 0;
        if (!picks.write.entries.empty()) {
            last_read = picks.read.find(picks.write.entries.back());
            last_written = static_cast<int>(picks.write.entries.size()) - 1;
        }
        for (const bool gpib : {false, true}) {
            if (gpib && !p.gpib_allowed) continue;
            for (const Procedure procedure :
                 {Procedure::Read, Procedure::Catalogue, Procedure::Write, Procedure::Delete}) {
                sim::Instrument instrument(p.model);
                std::vector<std::string> replies;
                bool recording = true;
                const Responder respond = [&](const std::string& command) {
                    std::string reply = instrument.handle(command);
                    if (recording && is_query(command)) replies.push_back(reply);
                    return reply;
                };
                const bool read = procedure == Procedure::Read;
                const ReplyRun run{p.model, gpib, procedure, read ? last_read : last_written};
                const TransferResult result = run_and_check(run, respond, [&](Session& s) {
                    if (procedure != Procedure::Write) write_a_curve(s, recording);
                });
                if (result != TransferResult::Done) {
                    std::fprintf(stderr, "seed: the %s procedure %d failed\n",
                                 std::string(p.designation).c_str(), static_cast<int>(procedure));
                    std::abort();
                }
                static const char* kNames[] = {"-read", "-catalogue", "-write", "-delete"};
                std::string name = "reply-" + std::string(p.designation);
                std::replace(name.begin(), name.end(), '/', '-');
                name +=
                    std::string(gpib ? "-gpib" : "-serial") + kNames[static_cast<int>(procedure)];
                seeds.push_back({name, encode(run, replies)});
            }
        }
    }
    // Replies that end too soon, and none at all.
    seeds.push_back({"reply-silent", encode({}, {})});
    seeds.push_back({"reply-taz-header-only",
                     encode({InstrumentModel::TAZ, false, Procedure::Read, 21},
                            {"TESSALY,MODEL TAZ,SIM000001,1.0\r\n", "A,B,2,375,1\r\n"})});
    return seeds;
}

}  // namespace kelvara::fuzz
