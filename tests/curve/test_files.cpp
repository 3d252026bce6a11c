// Curve files: byte-exact layouts, round trips, reader tolerance and failures, dispatch.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "curve/files.h"
#include "file_fixture.h"

namespace kelvara {
namespace {

using testing_support::Scratch;
using testing_support::small_curve;
using testing_support::Window;
using M = InstrumentModel;
constexpr auto Done = FileCommandResult::Done;
constexpr auto WrongType = FileCommandResult::WrongType;

FileCommandResult read_into(Window& w, const std::string& path, RecordingPrompts& prompts) {
    return read_curve_file(path, w.model, w.curve, w.fields, prompts);
}
FileCommandResult write_from(Window& w, const std::string& path, RecordingPrompts& prompts) {
    return write_curve_file(path, w.model, w.curve, w.fields, prompts);
}

// A .DUN curve with the fields that make up its 18-character header.
Window dun_curve(std::string name, std::string serial, int setpoint, int interpolation,
                 std::string format_char) {
    Window w = small_curve(M::ELK);
    w.fields.name = name;
    w.fields.serial_number = serial;
    w.fields.setpoint_list.selected = setpoint;
    w.fields.interpolation.selected = interpolation;
    w.curve.dun_format_char = format_char;
    return w;
}

// Writes each window, compares the bytes, reads the file into a fresh window and writes that
// again: the second file must equal the first byte for byte.
TEST(Files, LayoutsAndRoundTrips) {
    struct Row {
        const char* file;
        Window window;
        std::string expected;
        bool warned = false;  // about the .DUN format character
    };
    Window thermocouple = small_curve(M::KIP);
    thermocouple.fields.thermocouple = true;
    Window empty(M::TAZ);
    empty.fields.setpoint_text = "1.5";
    Window empty_nav(M::NAV);
    const std::string points_heading = "\r\nNo.   Units      Temperature (K)\r\n\r\n";
    const std::string dun_points = ",0.05000,300.0,123456.40000,77.40,1200000.00000,4.200*\r\n";
    std::vector<Row> rows = {
        {"c.TAZ", small_curve(M::TAZ),
         "Sensor Model:   DT-470\r\nSerial Number:  D12345\r\n"
         "Data Format:    2      (Volts vs. Kelvin)\r\nSetPoint Limit: 475.0      (Kelvin)\r\n"
         "Temperature coefficient:  1 (Negative)\r\nNumber of Breakpoints:   3\r\n" +
             points_heading +
             "  1  5.00000e-02   300.000\r\n  2  123456.        77.350\r\n"
             "  3  1.20000E+06     4.200\r\n"},
        {"c.tza", small_curve(M::WUN),
         "Name: DT-470\r\nSerial number: D12345\r\nFormat: 2             ; Volts vs. Kelvin\r\n"
         "Limit: 475.00\r\nCoefficient: 1        ; Negative\r\nPoint 1: .050000,300.0\r\n"
         "Point 2: 123456,77.4\r\nPoint 3: 1200000, 4.20\r\n"},
        {"c.NAV", small_curve(M::NAV),
         "Sensor Model:   DT-470\r\nSerial Number:  D12345\r\n"
         "Interpolation Method:   Straight Line\r\nSetPoint Limit: 475.0      (Kelvin)\r\n"
         "Data Format:    3      (Ohms vs. Kelvin)\r\nNumber of Breakpoints:   3\r\n" +
             points_heading +
             "  1  0.05000       300.0\r\n  2  123456.        77.4\r\n"
             "  3  1200000.         4.2\r\n"},
        {"tc.dun", thermocouple, "XC06,S29DT-470   D12345" + dun_points},
        {"h1.dun", dun_curve("ABCDEFGHIJKL", "123", 0, 0, "5"),
         "XC06,L05ABCDEFGHI   123" + dun_points},
        {"h2.DUN", dun_curve("", "", 1, 2, ""), "XC06,X10no name  no num" + dun_points, true},
        {"h3.dun", dun_curve("N", "SERIAL-LONG", 3, 1, ""), "XC06,S30N        SERIAL" + dun_points,
         true},
        // A curve without points is written with an empty count, which reads back as 0 points.
        {"e.taz", empty,
         "Sensor Model:   no name\r\nSerial Number:  no number\r\n"
         "Data Format:    1      (MilliVolts vs. Kelvin)\r\nSetPoint Limit: 1.5      (Kelvin)\r\n"
         "Temperature coefficient:  1 (Negative)\r\nNumber of Breakpoints:   \r\n" +
             points_heading},
        {"e.nav", empty_nav,
         "Sensor Model:   no name\r\nSerial Number:  no number\r\n"
         "Interpolation Method:   Unknown\r\nSetPoint Limit: 325.0      (Kelvin)\r\n"
         "Data Format:    0      \r\nNumber of Breakpoints:   \r\n" +
             points_heading},
    };
    Scratch dir;
    for (auto& row : rows) {
        SCOPED_TRACE(row.file);
        RecordingPrompts prompts;
        ASSERT_EQ(write_from(row.window, dir.path(row.file), prompts), Done);
        EXPECT_EQ(dir.get(row.file), row.expected);
        Window back = small_curve(row.window.model);  // a read replaces every point
        ASSERT_EQ(read_into(back, dir.path(row.file), prompts), Done);
        ASSERT_EQ(write_from(back, dir.path(row.file), prompts), Done);
        EXPECT_EQ(dir.get(row.file), row.expected);
        std::vector<std::string> messages;
        if (row.warned) messages = {"Warning. Setting 3rd character in header field to 0."};
        EXPECT_EQ(prompts.texts(), messages);
    }
}

// The instrument's grid is written whole: 192 points after the serial number, unused slots as
// "-.000" (UNUSED_POINT keeps its sign), which reads back as an unused slot.
TEST(Files, HoxAlwaysWritesTheWholeGrid) {
    Window w(M::HOX);
    w.fields.serial_number = "X1234";
    std::tie(w.curve.temperatures[0], w.curve.temperatures[1], w.curve.temperatures[2]) =
        std::tuple(300, 5.5, 50);
    Scratch dir;
    RecordingPrompts prompts;
    ASSERT_EQ(write_from(w, dir.path("g.hox"), prompts), Done);
    const std::string text = dir.get("g.hox");
    EXPECT_EQ(text.substr(0, 61),
              "X1234\r\n0.00,300.000\r\n0.02,  5.500\r\n0.04, 50.000\r\n0.06,-.000\r\n");
    EXPECT_EQ(text.substr(text.size() - 12), "5.60,-.000\r\n");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 193);
    Window back(M::HOX);
    ASSERT_EQ(read_into(back, dir.path("g.hox"), prompts), Done);
    EXPECT_EQ(back.fields.serial_number, "X1234");
    EXPECT_EQ(back.points().back(), std::make_pair(5.6, UNUSED_POINT));  // 192 points
    EXPECT_EQ(back.curve.temperatures, w.curve.temperatures);
    ASSERT_EQ(write_from(back, dir.path("g.hox"), prompts), Done);
    EXPECT_EQ(dir.get("g.hox"), text);
}

// Tabs around a name or serial number are the user's: every writer keeps them and the readers
// trim only blanks. A negative value that rounds to zero keeps its "-" in every layout.
TEST(Files, TabsStayAndTinyNegativesKeepTheirSign) {
    // Model, file, lines (each must be a whole line of the file), and what reads back: name,
    // serial number, temperature of -0.0000001.
    using Back = std::tuple<std::string, std::string, double>;
    const double tiny = -0.0000001;
    // clang-format off
    const std::tuple<M, const char*, std::vector<std::string>, Back> rows[] = {
        {M::TAZ, "t.taz", {"Sensor Model:   \t N \t", "Serial Number:   \tS1\t ", "SetPoint Limit: -0.0      (Kelvin)", "  1  -1.00000e-07   -1.00000e-07"}, {"\t N \t", "\tS1\t", tiny}},
        {M::TAZ, "t.tza", {"Name: \t N \t", "Serial number:  \tS1\t ", "Limit: -.00", "Point 1: -.000000,-0.000"}, {"\t N \t", "\tS1\t", 0}},
        {M::NAV, "t.nav", {"Sensor Model:   \t N \t", "Serial Number:   \tS1\t ", "  1  -0.00000       -1.00000e-07"}, {"\t N \t", "\tS1\t", tiny}},
        {M::DUN, "t.dun", {"XC06,S29\t N \t     \tS1\t ,-0.00000,-.0,0.50000,77.40*"}, {"\t N \t    ", " \tS1\t ", 0}},
        {M::HOX, "t.hox", {" \tS1\t ", "-0.00,-.000", "0.50, 77.350"}, {"", " \tS1\t ", UNUSED_POINT}},
    };
    // clang-format on
    Scratch dir;
    for (const auto& [model, file, lines, expected] : rows) {
        SCOPED_TRACE(file);
        Window w = small_curve(model);
        w.fields.name = "\t N \t";
        w.fields.serial_number = " \tS1\t ";
        w.fields.setpoint_text = "-0.001";
        w.fields.thermocouple = true;
        w.set_points({{tiny, tiny}, {0.5, 77.35}});
        RecordingPrompts prompts;
        ASSERT_EQ(write_from(w, dir.path(file), prompts), Done);
        const std::string text = "\r\n" + dir.get(file);
        for (const auto& line : lines)
            EXPECT_NE(text.find("\r\n" + line + "\r\n"), std::string::npos) << line;
        Window back(model);
        ASSERT_EQ(read_into(back, dir.path(file), prompts), Done);
        // -0.0000001 comes back as written; in a .HOX file "-.000" is an empty slot.
        EXPECT_EQ(Back(back.fields.name, back.fields.serial_number, back.curve.temperatures[0]),
                  expected);
        EXPECT_EQ(prompts.texts(), std::vector<std::string>{});
    }
}

TEST(Files, DispatchByTheLastThreeCharacters) {
    const char* taz_msg = "Wrong file type. Must use file with '.TAZ' or '.TZA' extension.";
    const char* nav_msg = "Wrong file type. Must use file with '.NAV' or '.DUN' extension.";
    const char* hox_msg = "Wrong file type. Must use file with '.HOX' extension.";
    // nullptr: the file is read and written
    const std::tuple<M, const char*, const char*> rows[] = {
        {M::GIR, "curveTAZ", nullptr},  {M::TAZ, "curve.nav", taz_msg},
        {M::TAZ, "ZA", taz_msg},        {M::ELK, "curve.Dun", nullptr},
        {M::NAV, "curve.taz", nav_msg}, {M::HOX, "curve2.taz", hox_msg},
        {M::HOX, "x.HoX", nullptr},
    };
    Scratch dir;
    for (const auto& [model, file, message] : rows) {
        SCOPED_TRACE(file);
        Window w = small_curve(model);
        w.fields.thermocouple = true;
        RecordingPrompts prompts;
        EXPECT_EQ(write_from(w, dir.path(file), prompts), message ? WrongType : Done);
        EXPECT_EQ(dir.exists(file), !message);  // nothing written for the wrong type
        if (message) dir.put(file, "not read at all");
        Window fresh(model);
        const Window before = fresh;
        EXPECT_EQ(read_into(fresh, dir.path(file), prompts), message ? WrongType : Done);
        std::vector<std::string> expected;
        if (message) expected = {message, message};
        EXPECT_EQ(prompts.texts(), expected);
        EXPECT_TRUE(!message || fresh.state() == before.state());
    }
}

}  // namespace
}  // namespace kelvara
