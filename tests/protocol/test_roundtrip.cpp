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
    Rig rig(model);
    rig.connect(bus);
    ASSERT_EQ(rig.setup.interface, bus) << ::testing::PrintToString(rig.prompts.texts());
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
    EXPECT_TRUE(rig.prompts.shown.empty()) << ::testing::PrintToString(rig.prompts.texts());

    // A fresh window on the same instrument reads it back.
    rig.curve = CurveRecord::for_model(model);
    rig.header = HeaderFields::for_model(model);
    rig.picks = PickLists::for_model(model);
    if (!grid) Rig::pick(rig.picks.read, location);
    run_read_transfer(rig.session);
    EXPECT_TRUE(rig.prompts.shown.empty()) << ::testing::PrintToString(rig.prompts.texts());
    ASSERT_EQ(rig.curve.breakpoint_count, static_cast<int>(points.size()));
    for (size_t k = 0; k < points.size(); ++k) {
        EXPECT_DOUBLE_EQ(rig.curve.sensor_units[k], points[k].first) << k;
        EXPECT_DOUBLE_EQ(rig.curve.temperatures[k], points[k].second) << k;
    }
    if (grid) {
        EXPECT_EQ(rig.header.serial_number, "D12345");
        return;
    }
    // The older instruments keep name and serial in one field, split after nine on the way back.
    EXPECT_EQ(rig.header.name + rig.header.serial_number, "RT-CURVED12345");
    EXPECT_EQ(rig.curve.temperature_coefficient, 1);  // temperatures fall as the units rise
    EXPECT_EQ(rig.header.setpoint_shown(), rig.header.setpoint_text_visible ? "325.5" : "800");
    if (rig.header.data_format.visible) {
        EXPECT_EQ(rig.header.data_format.text(), "Ohms vs. Kelvin");
    }

    grab_curve_names(rig.session);
    for (const ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
        EXPECT_NE(l->entries[find_entry_by_number(*l, location)].find("RT-CURVE"),
                  std::string::npos);
    Rig::pick(rig.picks.remove, location);
    run_delete_transfer(rig.session);
    EXPECT_EQ(rig.sim.curve(location), nullptr);
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
