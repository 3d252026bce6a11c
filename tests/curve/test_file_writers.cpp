// Curve-file writers: byte-exact layouts, header replacements and failures.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "curve/files.h"
#include "file_fixture.h"

namespace kelvara {
namespace {

using testing_support::Scratch;
using testing_support::Window;
using M = InstrumentModel;

const std::vector<std::pair<double, double>> kSmallCurve = {
    {0.05, 300}, {0.12345, 77.35}, {1.0912, 4.2}};

Window small_taz_window() {
    Window w(M::TAZ);
    w.fields.name = "DT-470";
    w.fields.serial_number = "D12345";
    w.fields.data_format.selected = 1;  // Volts vs. Kelvin
    w.fields.setpoint_text = "475";
    w.set_points(kSmallCurve);
    return w;
}

Window small_older_window(M model) {
    Window w(model);
    w.fields.name = "DT-470";
    w.fields.serial_number = "D12345";
    w.fields.interpolation.selected = 1;  // Straight Line
    w.fields.setpoint_list.selected = 2;  // 475
    w.curve.nav_format_code = 3;
    w.set_points(kSmallCurve);
    return w;
}

struct LayoutRow {
    const char* file;
    Window window;
    std::string expected;
    std::vector<std::string> messages;
};

TEST(Writers, ByteExactLayouts) {
    const std::string nav_points =
        "  1  0.05000       300.0\r\n"
        "  2  0.12345        77.4\r\n"
        "  3  1.09120         4.2\r\n";
    std::vector<LayoutRow> rows = {
        {"c.TAZ",
         small_taz_window(),
         "Sensor Model:   DT-470\r\n"
         "Serial Number:  D12345\r\n"
         "Data Format:    2      (Volts vs. Kelvin)\r\n"
         "SetPoint Limit: 475.0      (Kelvin)\r\n"
         "Temperature coefficient:  1 (Negative)\r\n"
         "Number of Breakpoints:   3\r\n"
         "\r\n"
         "No.   Units      Temperature (K)\r\n"
         "\r\n"
         "  1  5.00000e-02   300.000\r\n"
         "  2  .123450        77.350\r\n"
         "  3  1.09120         4.200\r\n",
         {}},
        {"c.tza",
         small_taz_window(),
         "Name: DT-470\r\n"
         "Serial number: D12345\r\n"
         "Format: 2             ; Volts vs. Kelvin\r\n"
         "Limit: 475.00\r\n"
         "Coefficient: 1        ; Negative\r\n"
         "Point 1: .050000,300.0\r\n"
         "Point 2: .123450,77.4\r\n"
         "Point 3: 1.09120, 4.20\r\n",
         {}},
        {"c.NAV",
         small_older_window(M::NAV),
         "Sensor Model:   DT-470\r\n"
         "Serial Number:  D12345\r\n"
         "Interpolation Method:   Straight Line\r\n"
         "SetPoint Limit: 475.0      (Kelvin)\r\n"
         "Data Format:    3      (Ohms vs. Kelvin)\r\n"
         "Number of Breakpoints:   3\r\n"
         "\r\n"
         "No.   Units      Temperature (K)\r\n"
         "\r\n" +
             nav_points,
         {}},
        {"c.DUN",
         small_older_window(M::DUN),
         "XC06,S20DT-470   D12345,0.05000,300.0,0.12345,77.40,1.09120,4.200*\r\n",
         {"Warning. Setting 3rd character in header field to 0."}},
    };
    // A thermocouple curve: format code 1 in .NAV, "9" in the .DUN header, no warning.
    Window tc = small_older_window(M::KIP);
    tc.fields.thermocouple = true;
    tc.fields.interpolation.selected = 0;
    tc.fields.setpoint_list.selected = 5;
    rows.push_back({"tc.DUN",
                    tc,
                    "XC06,L99DT-470   D12345,0.05000,300.0,0.12345,77.40,1.09120,4.200*\r\n",
                    {}});
    rows.push_back({"tc.NAV",
                    tc,
                    "Sensor Model:   DT-470\r\n"
                    "Serial Number:  D12345\r\n"
                    "Interpolation Method:   Lagrangian\r\n"
                    "SetPoint Limit: 1273.0      (Kelvin)\r\n"
                    "Data Format:    1      (MilliVolts vs. Kelvin)\r\n"
                    "Number of Breakpoints:   3\r\n"
                    "\r\n"
                    "No.   Units      Temperature (K)\r\n"
                    "\r\n" +
                        nav_points,
                    {}});
    Scratch dir;
    for (auto& row : rows) {
        SCOPED_TRACE(row.file);
        RecordingPrompts prompts;
        ASSERT_EQ(write_curve_file(dir.path(row.file), row.window.model, row.window.curve,
                                   row.window.fields, prompts),
                  FileCommandResult::Done);
        EXPECT_EQ(dir.get(row.file), row.expected);
        EXPECT_EQ(prompts.texts(), row.messages);
    }
}

TEST(Writers, HoxAlwaysWritesTheWholeGrid) {
    Window w(M::HOX);
    w.fields.serial_number = "X1234";
    w.curve.temperatures[0] = 300;
    w.curve.temperatures[1] = 5.5;
    w.curve.temperatures[2] = 50;
    get_number_of_breakpoints(w.curve);
    ASSERT_EQ(w.curve.breakpoint_count, 3);
    Scratch dir;
    RecordingPrompts prompts;
    ASSERT_EQ(write_curve_file(dir.path("g.hox"), M::HOX, w.curve, w.fields, prompts),
              FileCommandResult::Done);
    std::string text = dir.get("g.hox");
    EXPECT_EQ(text.substr(0, 49), "X1234\r\n0.00,300.000\r\n0.02,  5.500\r\n0.04, 50.000\r\n");
    EXPECT_EQ(text.substr(49, 11), "0.06,.000\r\n");
    EXPECT_EQ(text.substr(text.size() - 11), "5.60,.000\r\n");
    size_t lines = 0;
    for (size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at + 2))
        ++lines;
    EXPECT_EQ(lines, 193u);
}

TEST(Writers, EmptyCurveAndRisingTemperatures) {
    Scratch dir;
    RecordingPrompts prompts;
    Window empty(M::TAZ);
    empty.fields.setpoint_text = "1.5";
    ASSERT_EQ(write_curve_file(dir.path("e.taz"), M::TAZ, empty.curve, empty.fields, prompts),
              FileCommandResult::Done);
    EXPECT_EQ(dir.get("e.taz"),
              "Sensor Model:   no name\r\n"
              "Serial Number:  no number\r\n"
              "Data Format:    1      (MilliVolts vs. Kelvin)\r\n"
              "SetPoint Limit: 1.5      (Kelvin)\r\n"
              "Temperature coefficient:  1 (Negative)\r\n"
              "Number of Breakpoints:   \r\n"
              "\r\n"
              "No.   Units      Temperature (K)\r\n"
              "\r\n");
    EXPECT_EQ(empty.fields.name, "no name");
    EXPECT_EQ(empty.fields.serial_number, "no number");

    Window rising = small_taz_window();
    rising.set_points({{0.5, 1.1}, {0.6, 20}, {1.2e6, 1500}});
    rising.fields.data_format.selected = -1;  // no entry selected: code 0, no name
    ASSERT_EQ(write_curve_file(dir.path("r.tza"), M::TAZ, rising.curve, rising.fields, prompts),
              FileCommandResult::Done);
    EXPECT_EQ(dir.get("r.tza"),
              "Name: DT-470\r\nSerial number: D12345\r\nFormat: 0             \r\nLimit: 475.00\r\n"
              "Coefficient: 2        ; Positive\r\n"
              "Point 1: .500000,1.100\r\nPoint 2: .600000,20.0\r\nPoint 3: 1200000,1500.0\r\n");
    EXPECT_EQ(rising.curve.temperature_coefficient, 2);
    EXPECT_EQ(rising.curve.data_format, 0);
    ASSERT_EQ(write_curve_file(dir.path("r.taz"), M::TAZ, rising.curve, rising.fields, prompts),
              FileCommandResult::Done);
    std::string taz = dir.get("r.taz");
    EXPECT_NE(taz.find("Temperature coefficient:  2 (Positive)\r\n"), std::string::npos);
    EXPECT_NE(taz.find("\r\n  3  1.20000E+06   1500.000\r\n"), std::string::npos);
    EXPECT_NE(taz.find("\r\n  1  .500000         1.100\r\n"), std::string::npos);
}

TEST(Writers, TzaTemperaturePictures) {
    struct Row {
        double temperature;
        const char* expected;
    };
    const Row rows[] = {{0.5, "0.500"}, {1.2, " 1.20"}, {5, " 5.00"},     {15, "15.00"},
                        {50, "50.0"},   {150, "150.0"}, {1500, "1500.0"}, {-2, "-2.000"}};
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.temperature);
        Window w = small_taz_window();
        w.set_points({{1, row.temperature}});
        RecordingPrompts prompts;
        ASSERT_EQ(write_curve_file(dir.path("t.TZA"), M::TAZ, w.curve, w.fields, prompts),
                  FileCommandResult::Done);
        std::string text = dir.get("t.TZA");
        EXPECT_EQ(text.substr(text.rfind("Point 1: ")),
                  "Point 1: 1.00000," + std::string(row.expected) + "\r\n");
        EXPECT_EQ(text.find("\r\n\r\n"), std::string::npos);
    }
}

TEST(Writers, DunHeaderFieldPositions) {
    struct Row {
        std::string name;
        std::string serial;
        int setpoint;       // list position
        int interpolation;  // list position
        std::string kept_format_char;
        std::string header;
        std::string serial_after;
        bool warned;
    };
    const std::vector<Row> rows = {
        {"ABCDEFGHIJKL", "123", 0, 0, "5", "L05ABCDEFGHI   123", "123", false},
        {"", "", 1, 2, "", "X10no name  no num", "no num", true},
        {"N", "SERIAL-LONG", 3, 1, "", "S30N        SERIAL", "SERIAL", true},
        {"N", "7", 4, 1, "", "S40N             7", "7", true},
    };
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.header);
        Window w(M::ELK);
        w.fields.name = row.name;
        w.fields.serial_number = row.serial;
        w.fields.setpoint_list.selected = row.setpoint;
        w.fields.interpolation.selected = row.interpolation;
        w.curve.dun_format_char = row.kept_format_char;
        RecordingPrompts prompts;
        ASSERT_EQ(write_curve_file(dir.path("h.dun"), M::ELK, w.curve, w.fields, prompts),
                  FileCommandResult::Done);
        EXPECT_EQ(dir.get("h.dun"), "XC06," + row.header + "*\r\n");
        EXPECT_EQ(w.fields.serial_number, row.serial_after);
        EXPECT_EQ(w.fields.name,
                  row.name.empty() ? "no name" : row.name);  // the window keeps it all
        EXPECT_EQ(prompts.shown.size(), row.warned ? 1u : 0u);
    }
}

TEST(Writers, FailuresLeaveNoFileBehind) {
    Scratch dir;
    RecordingPrompts prompts;
    Window w = small_taz_window();
    dir.put("keep.taz", "old contents");

    w.fields.setpoint_text = "abc";
    std::string reason;
    EXPECT_EQ(write_curve_file(dir.path("keep.taz"), M::TAZ, w.curve, w.fields, prompts, &reason),
              FileCommandResult::Failed);
    EXPECT_NE(reason.find("setpoint"), std::string::npos);
    EXPECT_EQ(dir.get("keep.taz"), "old contents");
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"keep.taz"});
    EXPECT_TRUE(prompts.shown.empty());

    w.fields.setpoint_text = "475";
    EXPECT_EQ(write_curve_file(dir.path("missing/dir/c.taz"), M::TAZ, w.curve, w.fields, prompts),
              FileCommandResult::Failed);
    EXPECT_EQ(write_curve_file(dir.path("keep.taz"), M::TAZ, w.curve, w.fields, prompts),
              FileCommandResult::Done);  // an existing file is replaced without asking
    EXPECT_EQ(dir.get("keep.taz").substr(0, 22), "Sensor Model:   DT-470");
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"keep.taz"});
}

}  // namespace
}  // namespace kelvara
