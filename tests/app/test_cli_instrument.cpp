// kelvara-cli write, read, list and delete in real time against kelvara-sim on a pseudo-terminal
// and over GPIB through the simulated library, for the header/point and the older command sets.
#include <gtest/gtest.h>

#include <memory>

#include "cli_runner.h"

namespace {

using namespace cli_test;

// Already in the layout the file writer gives a rising curve, so that it reads back unchanged.
const std::string kCurve =
    "Sensor Model:   E2E\r\nSerial Number:  SN-7\r\n"
    "Data Format:    3      (Ohms vs. Kelvin)\r\nSetPoint Limit: 325.0      (Kelvin)\r\n"
    "Temperature coefficient:  2 (Positive)\r\nNumber of Breakpoints:   2\r\n\r\n"
    "No.   Units      Temperature (K)\r\n\r\n"
    "  1  1.23456         4.200\r\n  2  100.500        77.350\r\n";

std::string nav_file(const std::string& name, const std::string& serial,
                     const std::string& interpolation, const std::string& points) {
    return "Sensor Model:   " + name + "\r\nSerial Number:  " + serial +
           "\r\nInterpolation Method:   " + interpolation +
           "\r\nSetPoint Limit: 800.0      (Kelvin)\r\nData Format:    0      \r\n"
           "Number of Breakpoints:   2\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n" +
           points;
}
const std::string kDiodePoints = "  1  0.10800       475.0\r\n  2  1.60000         4.2\r\n";
const std::string kDiode = nav_file("CLI-TEST", "SN77", "Unknown", kDiodePoints);
// The name goes out unpadded, so the serial number follows it on the wire and the instrument's
// field splits after nine characters on the way back.
const std::string kDiodeBack = nav_file("CLI-TESTS", "N77", "Unknown", kDiodePoints);
const std::string kDiodeBackW2 = nav_file("CLI-TESTS", "N77", "Straight Line", kDiodePoints);
// A platinum curve ending at 350 ohms: by default the ohms go to the instrument divided by 100.
const std::string kPlatinum = nav_file("PT-100", "P1", "Unknown",
                                       "  1 20.00000        30.0\r\n  2 350.00000       900.0\r\n");
// Read back, the short name and serial number share the name field and the serial number is empty.
std::string platinum_back(const std::string& first, const std::string& last) {
    return nav_file("PT-100P1", "no number", "Straight Line",
                    "  1  " + first + "        30.0\r\n  2  " + last + "       900.0\r\n");
}

struct Trip {
    std::string model;
    bool gpib;
    int location;
    std::string extension, options;  // options for write
    std::string in, back;
    std::string listed;  // the catalogue line after the write; "" skips list and delete
};

class CliInstrument : public ::testing::TestWithParam<Trip> {};

TEST_P(CliInstrument, WriteReadListDelete) {
    const Trip& row = GetParam();
    Scratch s;
    std::unique_ptr<Simulator> sim;
    std::string environment, link = " --model " + row.model + " ";
    if (row.gpib) {
        environment = "KELVARA_SIM_STATE=state KELVARA_SIM_MODEL=" + row.model;
        link += kGpib;
    } else {
        sim = std::make_unique<Simulator>("--model " + row.model);
        ASSERT_FALSE(sim->device().empty());
        link += "--serial " + sim->device();
    }
    const std::string at = " --location " + std::to_string(row.location) + " ";
    s.put("in." + row.extension, row.in);

    CliRun r = s.cli("write" + link + at + row.options + " in." + row.extension, environment);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    r = s.cli("read" + link + at + "back." + row.extension, environment);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(s.get("back." + row.extension), row.back);
    if (row.listed.empty()) return;

    r = s.cli("list" + link, environment);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find(row.listed), std::string::npos) << r.out;
    r = s.cli("delete" + link + at, environment);
    ASSERT_EQ(r.status, 0) << r.err;
    r = s.cli("read" + link + at + "gone." + row.extension, environment);
    EXPECT_EQ(r.status, 1);
    EXPECT_FALSE(s.exists("gone." + row.extension));
}

const Trip kTrips[] = {
    {"FEN", false, 21, "taz", "", kCurve, kCurve, "21 - E2E  SN-7\n"},
    {"FEN", true, 28, "taz", "", kCurve, kCurve, "28 - E2E  SN-7\n"},
    {"LUM", false, 11, "nav", "", kDiode, kDiodeBack, ""},
    {"KIP", false, 7, "nav", "", kDiode, kDiodeBackW2, ""},
    {"NAV", true, 31, "nav", "", kDiode, kDiodeBack, "31 - CLI-TESTS\n"},
    {"KIP", true, 4, "nav", "", kDiode, kDiodeBackW2, "04 - CLI-TESTS\n"},
    {"DUN", true, 6, "nav", "", kDiode, kDiodeBackW2, "06 - CLI-TESTS\n"},
    {"ELK", true, 30, "nav", "", kDiode, kDiodeBackW2, "30 - CLI-TESTS\n"},
    {"ELK", true, 8, "nav", "", kPlatinum, platinum_back("0.20000", "3.50000"), ""},
    {"ELK", true, 8, "nav", "--no-scaling", kPlatinum, platinum_back("20.0000", "350.000"), ""},
    {"ELK", true, 8, "nav", "--units-factor 0.001", kPlatinum, platinum_back("0.02000", "0.35000"),
     ""},
};
INSTANTIATE_TEST_SUITE_P(Models, CliInstrument, ::testing::ValuesIn(kTrips), [](const auto& info) {
    return info.param.model + (info.param.gpib ? "Gpib" : "Pty") + std::to_string(info.index);
});

}  // namespace
