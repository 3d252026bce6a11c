// Every older model against the simulated instrument: a curve written and read back arrives as
// it was sent, over each bus the model is reached by.
#include <gtest/gtest.h>

#include <cmath>

#include "test_older_fakes.h"

namespace kelvara::test {
namespace {

struct Case {
    InstrumentModel model;
    Interface bus;
    int location;
};

std::string name_of(const Case& c) {
    return std::string(designation(c.model)) + (c.bus == Interface::GPIB ? " GPIB" : " RS-232") +
           " location " + std::to_string(c.location);
}

const std::vector<Case> kCases = {
    {InstrumentModel::KOR, Interface::RS232, 11}, {InstrumentModel::LUM, Interface::RS232, 11},
    {InstrumentModel::NAV, Interface::RS232, 20}, {InstrumentModel::NAV, Interface::GPIB, 31},
    {InstrumentModel::KIP, Interface::RS232, 4},  {InstrumentModel::KIP, Interface::GPIB, 15},
    {InstrumentModel::DUN, Interface::RS232, 6},  {InstrumentModel::DUN, Interface::GPIB, 9},
    {InstrumentModel::ELK, Interface::RS232, 31}, {InstrumentModel::ELK, Interface::GPIB, 12},
};

// A curve that needs no scaling: values exact at the instrument's five and one decimals.
std::vector<std::pair<double, double>> diode(int n) {
    std::vector<std::pair<double, double>> p;
    for (int k = 0; k < n; ++k) p.push_back({0.1 + 0.0125 * k, 475.0 - 4.5 * k});
    return p;
}

TEST(OlderRoundTrip, UnscaledCurveReadsBackAsWritten) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(name_of(c));
        sim::Instrument instrument(c.model);
        OlderRig rig(c.model, c.bus, instrument);
        ASSERT_TRUE(rig.prompts.shown.empty()) << rig.prompts.texts().front();
        const auto points = diode(97);
        rig.set_points(points);
        rig.header.name = "RT-CURVE";
        rig.header.serial_number = "D12345";
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find("800");
        rig.header.interpolation.selected = 0;
        rig.header.thermocouple = true;
        OlderRig::pick(rig.picks.write, c.location);
        rig.write();
        ASSERT_TRUE(rig.prompts.shown.empty()) << rig.prompts.texts().front();
        // The catalogue that ends the write names the location.
        EXPECT_NE(rig.picks.read.entries[c.location].find("RT-CURVE"), std::string::npos);

        OlderRig back(c.model, c.bus, instrument);
        OlderRig::pick(back.picks.read, c.location);
        back.read();
        ASSERT_TRUE(back.prompts.shown.empty()) << back.prompts.texts().front();
        // Eight characters sent unpadded: the field splits after nine on the way back.
        EXPECT_EQ(back.header.name + back.header.serial_number, "RT-CURVED12345");
        EXPECT_EQ(back.header.setpoint_list.text(), "800");
        EXPECT_TRUE(back.header.thermocouple);
        ASSERT_EQ(back.curve.breakpoint_count, 97);
        for (int i = 0; i < 97; ++i) {
            EXPECT_DOUBLE_EQ(back.curve.sensor_units[i], points[i].first) << i;
            EXPECT_DOUBLE_EQ(back.curve.temperatures[i], points[i].second) << i;
        }
        EXPECT_EQ(back.curve.temperature_coefficient, 1);
    }
}

TEST(OlderRoundTrip, ScaledPlatinumCurveReadsBackScaledAndDeleteEmptiesTheLocation) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(name_of(c));
        sim::Instrument instrument(c.model);
        OlderRig rig(c.model, c.bus, instrument);
        rig.set_points({{20.0, 30.0}, {110.0, 273.2}, {350.0, 900.0}});
        OlderRig::pick(rig.picks.write, c.location);
        rig.write();
        ASSERT_EQ(rig.scaling.asked.size(), 1u);
        EXPECT_EQ(rig.scaling.asked[0].code, 4);  // ohms / 100

        OlderRig back(c.model, c.bus, instrument);
        OlderRig::pick(back.picks.read, c.location);
        back.read();
        ASSERT_EQ(back.curve.breakpoint_count, 3);
        EXPECT_DOUBLE_EQ(back.curve.sensor_units[0], 0.2);
        EXPECT_DOUBLE_EQ(back.curve.sensor_units[1], 1.1);
        EXPECT_DOUBLE_EQ(back.curve.sensor_units[2], 3.5);
        EXPECT_DOUBLE_EQ(back.curve.temperatures[2], 900.0);
        EXPECT_EQ(back.curve.temperature_coefficient, 2);

        OlderRig::pick(back.picks.remove, c.location);
        back.remove();
        EXPECT_EQ(back.picks.read.selected, 0);  // every list back on its first entry
        OlderRig::pick(back.picks.read, c.location);
        back.read();
        EXPECT_EQ(back.prompts.texts(), std::vector<std::string>{"No curve present."});
    }
}

TEST(OlderRoundTrip, HoxGridAndSerialNumber) {
    sim::Instrument instrument(InstrumentModel::HOX);
    OlderRig rig(InstrumentModel::HOX, Interface::RS232, instrument);
    for (int i = 0; i < 192; ++i) rig.curve.temperatures[i] = 480.0 - 2.5 * i;
    rig.header.serial_number = "HX12345678";
    rig.write();
    EXPECT_NEAR(rig.clock.total_paused(), 20.1 + 192 * 3.1 + 3.1, 1e-6);

    OlderRig back(InstrumentModel::HOX, Interface::RS232, instrument);
    back.read();
    EXPECT_TRUE(back.prompts.shown.empty());
    EXPECT_EQ(back.header.serial_number, "HX123456");
    for (int i = 0; i < 192; ++i)
        EXPECT_DOUBLE_EQ(back.curve.temperatures[i], 480.0 - 2.5 * i) << i;

    back.remove();
    OlderRig erased(InstrumentModel::HOX, Interface::RS232, instrument);
    erased.read();
    EXPECT_EQ(erased.header.serial_number, "");
    EXPECT_EQ(erased.curve.temperatures[0], 0.0);
}

}  // namespace
}  // namespace kelvara::test
