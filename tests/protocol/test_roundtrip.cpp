// Every model on every bus it takes, against the simulated instrument: a curve written to its last
// user location reads back as it was sent, the catalogue then names it in all three pick lists,
// and erasing it leaves the location empty. Through a GPIB adapter the instrument receives exactly
// what the GPIB library sends it: the same bytes (each with EOI on its last) and pauses.
#include <gtest/gtest.h>

#include "rig.h"

namespace kelvara::test {
namespace {

using enum InstrumentModel;
enum class Bus { RS232, GPIB, ADAPTER };

struct Traffic {
    Log sent;  // bytes to the instrument, in order
    std::vector<double> pauses;
};

Traffic round_trip(InstrumentModel model, Bus bus) {
    SCOPED_TRACE(bus == Bus::RS232 ? "RS-232" : bus == Bus::GPIB ? "GPIB" : "GPIB adapter");
    const bool grid = model == HOX;  // temperatures over a fixed grid, no name
    Rig rig(model);
    if (bus == Bus::ADAPTER)
        rig.connect_through_adapter();
    else
        rig.connect(bus == Bus::GPIB ? GPIB : RS232);
    EXPECT_EQ(rig.setup.interface, bus == Bus::RS232 ? RS232 : GPIB)
        << ::testing::PrintToString(rig.prompts.texts());
    // Values exact at five and one decimals, below 10 so that no scaling is needed.
    std::vector<std::pair<double, double>> points;
    for (int k = 0; k < (grid ? 192 : profile(model).max_breakpoints); ++k)
        points.push_back({grid ? hox_grid_units(k) : 0.1 + 0.0125 * k, 475.0 - 2.0 * k});
    rig.load_curve(points);
    rig.header.name = "RT-CURVE";
    rig.header.serial_number = "D12345";
    rig.header.setpoint_text = "325.5";
    rig.header.setpoint_list.selected = rig.header.setpoint_list.find("800");
    rig.header.data_format.selected = rig.header.data_format.find("Ohms vs. Kelvin");
    const int location =
        grid ? 0 : static_cast<int>(parse_leading_number(rig.picks.write.entries.back()));
    if (!grid) Rig::pick(rig.picks.write, location);
    run_write_transfer(rig.session);

    // A fresh window on the same instrument reads it back.
    rig.curve = CurveRecord::for_model(model);
    rig.header = HeaderFields::for_model(model);
    rig.picks = PickLists::for_model(model);
    if (!grid) Rig::pick(rig.picks.read, location);
    run_read_transfer(rig.session);
    EXPECT_TRUE(rig.prompts.shown.empty()) << ::testing::PrintToString(rig.prompts.texts());
    EXPECT_EQ(rig.curve.breakpoint_count, static_cast<int>(points.size()));
    for (size_t k = 0; k < points.size(); ++k) {
        EXPECT_DOUBLE_EQ(rig.curve.sensor_units[k], points[k].first) << k;
        EXPECT_DOUBLE_EQ(rig.curve.temperatures[k], points[k].second) << k;
    }
    if (grid) {
        EXPECT_EQ(rig.header.serial_number, "D12345");
    } else {
        // The older instruments keep name and serial in one field, split after nine on the way
        // back.
        EXPECT_EQ(rig.header.name + rig.header.serial_number, "RT-CURVED12345");
        EXPECT_EQ(rig.curve.temperature_coefficient, 1);  // temperatures fall as the units rise
        EXPECT_EQ(rig.header.setpoint_shown(), rig.header.setpoint_text_visible ? "325.5" : "800");
        const ListField& format = rig.header.data_format;
        EXPECT_EQ(format.visible ? format.text() : "Ohms vs. Kelvin", "Ohms vs. Kelvin");
        grab_curve_names(rig.session);
        for (const ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
            EXPECT_NE(l->entries[find_entry_by_number(*l, location)].find("RT-CURVE"),
                      std::string::npos);
        Rig::pick(rig.picks.remove, location);
        run_delete_transfer(rig.session);
        EXPECT_EQ(rig.sim.curve(location), nullptr);
    }
    EXPECT_TRUE(rig.prompts.shown.empty()) << ::testing::PrintToString(rig.prompts.texts());

    Traffic t{{}, rig.clock.pauses};
    if (bus != Bus::ADAPTER) {
        for (const auto& e : rig.clock.events)
            if (!e.starts_with("pause ")) t.sent.push_back(e);
        return t;
    }
    for (const sim::BusEvent& e : rig.adapter->bus) {
        if (e.kind != sim::BusEvent::Kind::Data) continue;
        EXPECT_TRUE(e.eoi) << e.bytes;
        EXPECT_EQ(e.address, 12);
        t.sent.push_back(e.bytes);
    }
    return t;
}

TEST(RoundTrip, EveryModelOnEveryBus) {
    for (const ModelProfile& p : model_profiles()) {
        SCOPED_TRACE(std::string(p.designation));
        round_trip(p.model, Bus::RS232);
        if (!p.gpib_allowed) continue;
        const Traffic library = round_trip(p.model, Bus::GPIB);
        const Traffic adapter = round_trip(p.model, Bus::ADAPTER);
        EXPECT_GT(library.sent.size(), 5u);
        EXPECT_EQ(adapter.sent, library.sent);
        EXPECT_EQ(adapter.pauses, library.pauses);
    }
}

}  // namespace
}  // namespace kelvara::test
