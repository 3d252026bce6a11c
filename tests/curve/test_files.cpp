// Curve files: byte-exact layouts, round trips, reader tolerance and failures, dispatch.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "curve/files.h"
#include "file_fixture.h"

namespace kelvara {
namespace {

using testing_support::Points;
using testing_support::Scratch;
using testing_support::Window;
using M = InstrumentModel;
constexpr auto Done = FileCommandResult::Done;
constexpr auto Failed = FileCommandResult::Failed;
constexpr auto WrongType = FileCommandResult::WrongType;

FileCommandResult read_into(Window& w, const std::string& path, RecordingPrompts& prompts) {
    return read_curve_file(path, w.model, w.curve, w.fields, prompts);
}
FileCommandResult write_from(Window& w, const std::string& path, RecordingPrompts& prompts) {
    return write_curve_file(path, w.model, w.curve, w.fields, prompts);
}

std::string repeat(const std::string& line, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += line;
    return out;
}

Window small_curve(M model) {
    Window w(model);
    w.fields.name = "DT-470";
    w.fields.serial_number = "D12345";
    w.fields.data_format.selected = 1;    // Volts vs. Kelvin
    w.fields.setpoint_text = "475";       // the newer models
    w.fields.setpoint_list.selected = 2;  // 475, the older models
    w.fields.interpolation.selected = 1;  // Straight Line
    w.curve.nav_format_code = 3;
    w.set_points({{0.05, 300}, {0.12345, 77.35}, {1.0912, 4.2}});
    return w;
}

// Writes each window, compares the bytes, reads the file into a fresh window and writes that
// again: the second file must equal the first byte for byte.
TEST(Files, LayoutsAndRoundTrips) {
    struct Row {
        const char* file;
        Window window;
        std::string expected;
        std::vector<std::string> messages;
        bool reads_back = true;
    };
    Window thermocouple = small_curve(M::KIP);
    thermocouple.fields.thermocouple = true;
    Window empty(M::TAZ);
    empty.fields.setpoint_text = "1.5";
    const std::string points_heading = "\r\nNo.   Units      Temperature (K)\r\n\r\n";
    std::vector<Row> rows = {
        {"c.TAZ",
         small_curve(M::TAZ),
         "Sensor Model:   DT-470\r\nSerial Number:  D12345\r\n"
         "Data Format:    2      (Volts vs. Kelvin)\r\nSetPoint Limit: 475.0      (Kelvin)\r\n"
         "Temperature coefficient:  1 (Negative)\r\nNumber of Breakpoints:   3\r\n" +
             points_heading +
             "  1  5.00000e-02   300.000\r\n  2  .123450        77.350\r\n"
             "  3  1.09120         4.200\r\n",
         {}},
        {"c.tza",
         small_curve(M::WUN),
         "Name: DT-470\r\nSerial number: D12345\r\nFormat: 2             ; Volts vs. Kelvin\r\n"
         "Limit: 475.00\r\nCoefficient: 1        ; Negative\r\nPoint 1: .050000,300.0\r\n"
         "Point 2: .123450,77.4\r\nPoint 3: 1.09120, 4.20\r\n",
         {}},
        {"c.NAV",
         small_curve(M::NAV),
         "Sensor Model:   DT-470\r\nSerial Number:  D12345\r\n"
         "Interpolation Method:   Straight Line\r\nSetPoint Limit: 475.0      (Kelvin)\r\n"
         "Data Format:    3      (Ohms vs. Kelvin)\r\nNumber of Breakpoints:   3\r\n" +
             points_heading +
             "  1  0.05000       300.0\r\n  2  0.12345        77.4\r\n"
             "  3  1.09120         4.2\r\n",
         {}},
        {"c.DUN",
         small_curve(M::DUN),
         "XC06,S20DT-470   D12345,0.05000,300.0,0.12345,77.40,1.09120,4.200*\r\n",
         {"Warning. Setting 3rd character in header field to 0."}},
        {"tc.dun",
         thermocouple,
         "XC06,S29DT-470   D12345,0.05000,300.0,0.12345,77.40,1.09120,4.200*\r\n",
         {}},
        // A curve without points is written with an empty count that no reader accepts.
        {"e.taz",
         empty,
         "Sensor Model:   no name\r\nSerial Number:  no number\r\n"
         "Data Format:    1      (MilliVolts vs. Kelvin)\r\nSetPoint Limit: 1.5      (Kelvin)\r\n"
         "Temperature coefficient:  1 (Negative)\r\nNumber of Breakpoints:   \r\n" +
             points_heading,
         {},
         false},
    };
    Scratch dir;
    for (auto& row : rows) {
        SCOPED_TRACE(row.file);
        RecordingPrompts prompts;
        ASSERT_EQ(write_from(row.window, dir.path(row.file), prompts), Done);
        EXPECT_EQ(dir.get(row.file), row.expected);
        EXPECT_EQ(prompts.texts(), row.messages);
        Window back(row.window.model);
        const Window before = back;
        ASSERT_EQ(read_into(back, dir.path(row.file), prompts), row.reads_back ? Done : Failed);
        if (!row.reads_back) {
            EXPECT_EQ(back.state(), before.state());
            continue;
        }
        ASSERT_EQ(write_from(back, dir.path(row.file), prompts), Done);
        EXPECT_EQ(dir.get(row.file), row.expected);
        EXPECT_EQ(prompts.texts(), row.messages);
    }
}

TEST(Files, EveryTypeHoldsExactlyTheModelsCapacity) {
    const std::pair<M, const char*> rows[] = {
        {M::TAZ, "f.taz"}, {M::TAZ, "f.tza"}, {M::NAV, "f.nav"}, {M::KIP, "f.dun"}};
    Scratch dir;
    for (auto [model, file] : rows) {
        SCOPED_TRACE(file);
        Window w = small_curve(model);
        w.set_points(Points(w.curve.max_breakpoints, {1.5, 2.5}));
        RecordingPrompts prompts;
        ASSERT_EQ(write_from(w, dir.path(file), prompts), Done);
        Window back(model);
        ASSERT_EQ(read_into(back, dir.path(file), prompts), Done);
        EXPECT_EQ(back.points(), w.points());
    }
}

// The instrument's grid is written whole: 192 points after the serial number, unused slots as
// ".000".
TEST(Files, HoxAlwaysWritesTheWholeGrid) {
    Window w(M::HOX);
    w.fields.serial_number = "X1234";
    w.curve.temperatures[0] = 300;
    w.curve.temperatures[1] = 5.5;
    w.curve.temperatures[2] = 50;
    get_number_of_breakpoints(w.curve);
    Scratch dir;
    RecordingPrompts prompts;
    ASSERT_EQ(write_from(w, dir.path("g.hox"), prompts), Done);
    const std::string text = dir.get("g.hox");
    EXPECT_EQ(text.substr(0, 60),
              "X1234\r\n0.00,300.000\r\n0.02,  5.500\r\n0.04, 50.000\r\n0.06,.000\r\n");
    EXPECT_EQ(text.substr(text.size() - 11), "5.60,.000\r\n");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 193);
    Window back(M::HOX);
    ASSERT_EQ(read_into(back, dir.path("g.hox"), prompts), Done);
    EXPECT_EQ(back.curve.breakpoint_count, 192);
    EXPECT_EQ(back.fields.serial_number, "X1234");
    EXPECT_EQ(back.points()[1], std::make_pair(0.02, 5.5));
    EXPECT_EQ(back.points()[191], std::make_pair(5.6, 0.0));
}

TEST(Files, ReadersAcceptWhatUsersAndOtherToolsWrite) {
    struct Row {
        const char* label;
        const char* file;
        std::string bytes;
        Points points;
    };
    const std::string header = "Name: x\r\nSerial: y\r\nFormat: 3\r\nLimit: 475\r\nCoeff: 2\r\n";
    const std::vector<Row> rows = {
        {"count 3 with 5 lines",
         "a.taz",
         header + "Number of Breakpoints:   3\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n"
                  "  1  0.1 300\r\n  2  0.2 200\r\n  3  0.3 100\r\n  4  0.4 50\r\n  5 x y\r\n",
         {{0.1, 300}, {0.2, 200}, {0.3, 100}}},
        {"labels, tabs, commas, exponents, lone CR",
         "a.TAZ",
         "junk line\rName = x: DT-470\rS: D12345\rF:3\rL:475\rC:2\rCount:2 points\r"
         "1\t1.5e-1,\t3E2\r2,2.5E-01 , 2.0e+2 trailing\r",
         {{0.15, 300}, {0.25, 200}}},
        {"tza blank line is a point at 0,0",
         "a.tza",
         header + "Point 1: 1,2\r\n\r\nPoint 3: 3,4\r\n\r\n",
         {{1, 2}, {0, 0}, {3, 4}, {0, 0}}},
    };
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        Window w(M::TAZ);
        RecordingPrompts prompts;
        ASSERT_EQ(read_into(w, dir.put(row.file, row.bytes), prompts), Done);
        EXPECT_EQ(w.points(), row.points);
        EXPECT_EQ(w.curve.temperatures[row.points.size()], UNUSED_POINT);
        EXPECT_TRUE(prompts.shown.empty());
    }
}

// A failed read leaves the window as it was. Only the .DUN and .HOX readers say so.
TEST(Files, FailedReadsLeaveTheWindowAsItWas) {
    struct Row {
        M model;
        const char* file;
        std::string bytes;
        bool bad_format_message;
    };
    const std::string taz = "N: a\r\nS: b\r\nF: 1\r\nL: 2\r\nC: 1\r\n";
    const std::vector<Row> rows = {
        {M::TAZ, "early.taz", taz + "Count: 3\r\n\r\n  1 1 1\r\n  2 2 2\r\n", false},
        {M::TAZ, "nan.taz", taz + "Count: three\r\n  1 1 1\r\n", false},
        {M::TAZ, "201.taz", taz + "Count: 201\r\n" + repeat("  1 1 1\r\n", 201), false},
        {M::TAZ, "201.tza", taz + repeat("Point 1: 1,1\r\n", 201), false},
        {M::NAV, "98.nav", taz + "Count: 98\r\n" + repeat(" 1 1 1\r\n", 98), false},
        {M::DUN, "star.dun", "XC06,S29MYSENSOR 123456,0.12345,300.0,0.23456,250.0\r\n", true},
        {M::DUN, "odd.dun", "XC06,L00N,1,2,3*\r\n", true},
        {M::ELK, "98.dun", "XC06,L00N" + repeat(",1,1", 98) + "*", true},
        {M::HOX, "comma.hox", "S\r\n1,2\r\n3 4\r\n", true},
        {M::HOX, "empty.hox", "", true},
        {M::HOX, "193.hox", "S\r\n" + repeat("1,1\r\n", 193), true},
    };
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        Window w = small_curve(row.model);
        const Window before = w;
        RecordingPrompts prompts;
        std::string reason;
        EXPECT_EQ(read_curve_file(dir.put(row.file, row.bytes), row.model, w.curve, w.fields,
                                  prompts, &reason),
                  Failed);
        EXPECT_FALSE(reason.empty());
        EXPECT_EQ(w.state(), before.state());
        EXPECT_EQ(prompts.texts(), row.bad_format_message
                                       ? std::vector<std::string>{"Bad file format."}
                                       : std::vector<std::string>{});
    }
}

TEST(Files, DunHeaderFieldPositions) {
    struct Row {
        std::string name;
        std::string serial;
        int setpoint;       // list position
        int interpolation;  // list position
        std::string kept_format_char;
        std::string header;
        std::string serial_after;
    };
    const std::vector<Row> rows = {
        {"ABCDEFGHIJKL", "123", 0, 0, "5", "L05ABCDEFGHI   123", "123"},
        {"", "", 1, 2, "", "X10no name  no num", "no num"},
        {"N", "SERIAL-LONG", 3, 1, "", "S30N        SERIAL", "SERIAL"},
        {"N", "7", 4, 1, "", "S40N             7", "7"},
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
        ASSERT_EQ(write_from(w, dir.path("h.dun"), prompts), Done);
        EXPECT_EQ(dir.get("h.dun"), "XC06," + row.header + "*\r\n");
        EXPECT_EQ(w.fields.serial_number, row.serial_after);
        EXPECT_EQ(w.fields.name, row.name.empty() ? "no name" : row.name);  // kept whole
        EXPECT_EQ(prompts.shown.size(), row.kept_format_char.empty() ? 1u : 0u);
    }
}

TEST(Files, DispatchByTheLastThreeCharacters) {
    struct Row {
        M model;
        const char* file;
        const char* message;  // nullptr: the file is read and written
    };
    const char* taz_msg = "Wrong file type. Must use file with '.TAZ' or '.TZA' extension.";
    const char* nav_msg = "Wrong file type. Must use file with '.NAV' or '.DUN' extension.";
    const char* hox_msg = "Wrong file type. Must use file with '.HOX' extension.";
    const Row rows[] = {
        {M::GIR, "curveTAZ", nullptr},  {M::TAZ, "curve.nav", taz_msg},
        {M::TAZ, "ZA", taz_msg},        {M::ELK, "curve.Dun", nullptr},
        {M::NAV, "curve.taz", nav_msg}, {M::HOX, "curve2.taz", hox_msg},
        {M::HOX, "x.HoX", nullptr},
    };
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        Window w = small_curve(row.model);
        w.fields.thermocouple = true;
        RecordingPrompts prompts;
        EXPECT_EQ(write_from(w, dir.path(row.file), prompts), row.message ? WrongType : Done);
        EXPECT_EQ(dir.entries(), row.message ? 0u : 1u);
        if (row.message) dir.put(row.file, "not read at all");
        Window fresh(row.model);
        const Window before = fresh;
        EXPECT_EQ(read_into(fresh, dir.path(row.file), prompts), row.message ? WrongType : Done);
        std::vector<std::string> expected;
        if (row.message) expected = {row.message, row.message};
        EXPECT_EQ(prompts.texts(), expected);
        EXPECT_TRUE(!row.message || fresh.state() == before.state());
        std::filesystem::remove(dir.path(row.file));
    }
}

}  // namespace
}  // namespace kelvara
