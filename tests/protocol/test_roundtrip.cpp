// Every model against the simulated instrument: a curve written to its last user location reads
// back as it was sent, the catalogue then names it in all three pick lists, and erasing it leaves
// the location empty.
#include <gtest/gtest.h>

#include "rig.h"

namespace kelvara::test {
namespace {

struct Row {
    InstrumentModel model;
    Interface bus;
};

class RoundTrip : public ::testing::TestWithParam<Row> {};

TEST_P(RoundTrip, WrittenCurveReadsBackAndIsCatalogued) {
    const auto [model, bus] = GetParam();
    const bool grid = model == InstrumentModel::HOX;  // temperatures over a fixed grid, no name
    Rig w(model);
    w.connect(bus);
    ASSERT_EQ(w.setup.interface, bus) << ::testing::PrintToString(w.prompts.texts());
    // Values exact at five and one decimals, below 10 so that no scaling is needed.
    std::vector<std::pair<double, double>> points;
    for (int k = 0; k < (grid ? 192 : profile(model).max_breakpoints); ++k)
        points.push_back({grid ? hox_grid_units(k) : 0.1 + 0.0125 * k, 475.0 - 2.0 * k});
    w.load_curve(points);
    w.header.name = "RT-CURVE";
    w.header.serial_number = "D12345";
    w.header.setpoint_text = "325.5";
    w.header.setpoint_list.selected = w.header.setpoint_list.find("800");
    w.header.data_format.selected = w.header.data_format.find("Ohms vs. Kelvin");
    const int location =
        grid ? 0 : static_cast<int>(parse_leading_number(w.picks.write.entries.back()));
    if (!grid) Rig::pick(w.picks.write, location);
    run_write_transfer(w.session);
    EXPECT_TRUE(w.prompts.shown.empty()) << ::testing::PrintToString(w.prompts.texts());

    Rig r(model);  // a fresh window on the same instrument
    r.respond = [&w](const std::string& c) { return w.sim.handle(c); };
    r.connect(bus);
    if (!grid) Rig::pick(r.picks.read, location);
    run_read_transfer(r.session);
    EXPECT_TRUE(r.prompts.shown.empty()) << ::testing::PrintToString(r.prompts.texts());
    ASSERT_EQ(r.curve.breakpoint_count, static_cast<int>(points.size()));
    for (size_t k = 0; k < points.size(); ++k) {
        EXPECT_DOUBLE_EQ(r.curve.sensor_units[k], points[k].first) << k;
        EXPECT_DOUBLE_EQ(r.curve.temperatures[k], points[k].second) << k;
    }
    if (grid) {
        EXPECT_EQ(r.header.serial_number, "D12345");
        return;
    }
    // The older instruments keep name and serial in one field, split after nine on the way back.
    EXPECT_EQ(r.header.name + r.header.serial_number, "RT-CURVED12345");
    EXPECT_EQ(r.curve.temperature_coefficient, w.curve.temperature_coefficient);
    EXPECT_EQ(r.header.setpoint_shown(), r.header.setpoint_text_visible ? "325.5" : "800");
    if (r.header.data_format.visible) {
        EXPECT_EQ(r.header.data_format.text(), "Ohms vs. Kelvin");
    }

    grab_curve_names(r.session);
    for (const ListField* l : {&r.picks.read, &r.picks.write, &r.picks.remove})
        EXPECT_NE(l->entries[find_entry_by_number(*l, location)].find("RT-CURVE"),
                  std::string::npos);
    Rig::pick(r.picks.remove, location);
    run_delete_transfer(r.session);
    EXPECT_EQ(w.sim.curve(location), nullptr);
}

using enum InstrumentModel;
INSTANTIATE_TEST_SUITE_P(Models, RoundTrip,
                         ::testing::Values(Row{TAZ, GPIB}, Row{TAZ, RS232}, Row{DAL, RS232},
                                           Row{FEN, GPIB}, Row{FEN, RS232}, Row{MEP, GPIB},
                                           Row{OBR, RS232}, Row{PIX, GPIB}, Row{QUA_RIL, GPIB},
                                           Row{QUA_RIL, RS232}, Row{GIR, GPIB}, Row{VEM, RS232},
                                           Row{WUN, GPIB}, Row{ZEK, RS232}, Row{KOR, RS232},
                                           Row{LUM, RS232}, Row{NAV, RS232}, Row{NAV, GPIB},
                                           Row{KIP, RS232}, Row{KIP, GPIB}, Row{DUN, RS232},
                                           Row{DUN, GPIB}, Row{ELK, RS232}, Row{ELK, GPIB},
                                           Row{HOX, RS232}),
                         [](const auto& info) {
                             std::string name(designation(info.param.model));
                             if (name == "QUA/RIL") name = "QUA_RIL";
                             return name + (info.param.bus == Interface::GPIB ? "_GPIB" : "_RS232");
                         });

}  // namespace
}  // namespace kelvara::test
