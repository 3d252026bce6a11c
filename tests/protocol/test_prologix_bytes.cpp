// Through a GPIB adapter the instrument receives exactly what the GPIB library sends it: every
// GPIB model's write, read, catalogue and delete run once through the library's calls and once
// through the adapter driver and the simulated adapter, and the bytes on the bus (each with EOI on
// its last), the pauses between them and the outcome are the same.
#include <gtest/gtest.h>

#include "link/prologix_driver.h"
#include "rig.h"
#include "sim/simulated_transports.h"

namespace kelvara::test {
namespace {

struct Outcome {
    Log sent;  // bytes on the bus, in order
    std::vector<double> pauses;
    Log messages;
    std::vector<double> read_back;
    Log catalogue;
    bool erased = false;
};

// Write a three-point curve to the last user location, read it back, read the catalogue, delete.
Outcome run(InstrumentModel model, bool through_adapter) {
    std::unique_ptr<sim::PrologixAdapter> kept;  // outlives the link, which closes through it
    Rig rig(model);
    sim::PrologixAdapter& adapter =
        *(kept = std::make_unique<sim::PrologixAdapter>(rig.sim, rig.clock));
    if (through_adapter) {
        rig.link.set_gpib_driver(std::make_unique<PrologixDriver>(
            std::make_unique<sim::SimAdapterStream>(adapter, rig.clock, "simulated"), rig.clock));
        rig.link.setup_488(rig.setup);
        rig.clock.recording = true;
        rig.clock.pauses.clear();
        adapter.bus.clear();
    } else {
        rig.connect(GPIB);
    }
    Outcome o;
    if (rig.setup.interface != GPIB) {
        o.messages = rig.prompts.texts();
        return o;
    }
    rig.load_curve({{0.1, 475.0}, {0.2125, 473.0}, {0.325, 471.0}});
    rig.header.name = "AD-CURVE";
    rig.header.serial_number = "D12345";
    rig.header.setpoint_text = "325.5";
    const int location = static_cast<int>(parse_leading_number(rig.picks.write.entries.back()));
    Rig::pick(rig.picks.write, location);
    run_write_transfer(rig.session);
    rig.curve = CurveRecord::for_model(model);
    Rig::pick(rig.picks.read, location);
    run_read_transfer(rig.session);
    for (int k = 0; k < rig.curve.breakpoint_count; ++k)
        o.read_back.insert(o.read_back.end(),
                           {rig.curve.sensor_units[k], rig.curve.temperatures[k]});
    grab_curve_names(rig.session);
    o.catalogue = rig.picks.read.entries;
    Rig::pick(rig.picks.remove, location);
    run_delete_transfer(rig.session);
    o.erased = rig.sim.curve(location) == nullptr;
    o.messages = rig.prompts.texts();
    o.pauses = rig.clock.pauses;
    if (!through_adapter) {
        for (const auto& e : rig.clock.events)
            if (!e.starts_with("pause ")) o.sent.push_back(e);
        return o;
    }
    for (const sim::BusEvent& e : adapter.bus) {
        if (e.kind != sim::BusEvent::Kind::Data) continue;
        EXPECT_TRUE(e.eoi) << e.bytes;
        EXPECT_EQ(e.address, 12);
        o.sent.push_back(e.bytes);
    }
    return o;
}

TEST(ThroughAnAdapter, TheInstrumentReceivesWhatTheLibrarySends) {
    for (const ModelProfile& p : model_profiles()) {
        if (!p.gpib_allowed) continue;
        SCOPED_TRACE(std::string(p.designation));
        const Outcome library = run(p.model, false), adapter = run(p.model, true);
        EXPECT_EQ(library.messages, Log{});
        EXPECT_GT(library.sent.size(), 5u);
        EXPECT_EQ(adapter.messages, library.messages);
        ASSERT_EQ(adapter.sent, library.sent);
        EXPECT_EQ(adapter.pauses, library.pauses);
        EXPECT_EQ(adapter.read_back.size(), 6u);
        EXPECT_EQ(adapter.read_back, library.read_back);
        EXPECT_EQ(adapter.catalogue, library.catalogue);
        EXPECT_TRUE(adapter.erased);
    }
}

}  // namespace
}  // namespace kelvara::test
