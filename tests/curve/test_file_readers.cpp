// Curve-file readers: tolerance, failures, and round trips through the writers.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "curve/files.h"
#include "curve/number_format.h"
#include "file_fixture.h"

namespace kelvara {
namespace {

using testing_support::expect_same_state;
using testing_support::Scratch;
using testing_support::Window;
using M = InstrumentModel;
using Points = std::vector<std::pair<double, double>>;

FileCommandResult read_into(Window& w, const std::string& path, RecordingPrompts& prompts) {
    return read_curve_file(path, w.model, w.curve, w.fields, prompts);
}

std::string repeat(const std::string& line, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += line;
    return out;
}

const std::string kTazHeader =
    "Sensor Model:   DT-470\r\nSerial Number:  D12345\r\n"
    "Data Format:    3      (Ohms vs. Kelvin)\r\nSetPoint Limit: 475.0      (Kelvin)\r\n"
    "Temperature coefficient:  2 (Positive)\r\n";
const std::string kTzaHeader =
    "Name: DT-470\r\nSerial number: D12345\r\nFormat: 3             ; Ohms vs. Kelvin \r\n"
    "Limit: 475.00\r\nCoefficient: 2        ; Positive\r\n";
const std::string kNavHeader =
    "Sensor Model:   DT-470\r\nSerial Number:  D12345\r\nInterpolation Method:   Lagrangian\r\n"
    "SetPoint Limit: 475.0      (Kelvin)\r\nData Format:    3      (Ohms vs. Kelvin)\r\n";

struct ReadRow {
    const char* label;
    M model;
    const char* file;
    std::string bytes;
    Points points;
};

TEST(Readers, AcceptWhatUsersAndOtherToolsWrite) {
    const std::vector<ReadRow> rows = {
        {"count 3 with 5 lines",
         M::TAZ,
         "a.taz",
         kTazHeader + "Number of Breakpoints:   3\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n"
                      "  1  0.1 300\r\n  2  0.2 200\r\n  3  0.3 100\r\n  4  0.4 50\r\n  5 x y\r\n",
         {{0.1, 300}, {0.2, 200}, {0.3, 100}}},
        {"count 0 consumes the first point",
         M::TAZ,
         "a.taz",
         kTazHeader + "Number of Breakpoints:   0\r\n\r\nNo.\r\n\r\n  1  0.1 300\r\n",
         {}},
        {"labels, tabs, commas, exponents, lone CR, no heading",
         M::TAZ,
         "a.TAZ",
         "junk line\rName = x: DT-470\rS: D12345\rF:3\rL:475\rC:2\rCount:2 points\r"
         "1\t1.5e-1,\t3E2\r2,2.5E-01 , 2.0e+2 trailing\r",
         {{0.15, 300}, {0.25, 200}}},
        {"first point after a one-free heading",
         M::DAL,
         "b.taz",
         kTazHeader + "Number of Breakpoints:   2\r\nheading\r\n 1 .5 9.5\r\n 99 .6 8.5\r\n",
         {{0.5, 9.5}, {0.6, 8.5}}},
        {"tza header only", M::TAZ, "a.tza", kTzaHeader, {}},
        {"tza point line",
         M::TAZ,
         "a.tza",
         kTzaHeader + "Point 12: 1.23450,77.350\r\n",
         {{1.2345, 77.35}}},
        {"tza blank line is a point at 0,0",
         M::TAZ,
         "a.tza",
         kTzaHeader + "Point 1: 1,2\r\n\r\nPoint 3: 3,4\r\n\r\n",
         {{1, 2}, {0, 0}, {3, 4}, {0, 0}}},
        {"nav points",
         M::NAV,
         "a.nav",
         kNavHeader + "Number of Breakpoints:   2\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n"
                      "  1  0.05000       300.0\r\n  2  1.09120         4.2\r\n",
         {{0.05, 300}, {1.0912, 4.2}}},
        {"dun example",
         M::DUN,
         "a.dun",
         "XC06,S29MYSENSOR 123456,0.12345,300.0,0.23456,250.0*\r\n",
         {{0.12345, 300}, {0.23456, 250}}},
        {"dun single point, text after the star", M::KIP, "a.DUN", "XC06,L00N,1,2*junk", {{1, 2}}},
        {"hox",
         M::HOX,
         "a.hox",
         "SER 1\r\n0.00,300.000\r\n0.02,  5.500\r\n0.04\t,x\r\n",
         {{0, 300}, {0.02, 5.5}, {0.04, 0}}},
    };
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        Window w(row.model);
        RecordingPrompts prompts;
        std::string reason;
        ASSERT_EQ(read_curve_file(dir.put(row.file, row.bytes), row.model, w.curve, w.fields,
                                  prompts, &reason),
                  FileCommandResult::Done)
            << reason;
        ASSERT_EQ(w.points().size(), row.points.size());
        for (size_t i = 0; i < row.points.size(); ++i) {
            EXPECT_DOUBLE_EQ(w.points()[i].first, row.points[i].first) << i;
            EXPECT_DOUBLE_EQ(w.points()[i].second, row.points[i].second) << i;
        }
        for (int i = w.curve.breakpoint_count; i < w.curve.max_breakpoints; ++i) {
            ASSERT_EQ(w.curve.sensor_units[i], UNUSED_POINT) << i;
            ASSERT_EQ(w.curve.temperatures[i], UNUSED_POINT) << i;
        }
        EXPECT_TRUE(prompts.shown.empty());
    }
}

TEST(Readers, TazTypeHeaderValues) {
    Scratch dir;
    Window w(M::TAZ);
    RecordingPrompts prompts;
    ASSERT_EQ(read_into(w,
                        dir.put("h.taz",
                                "Sensor Model:    My Sensor  \r\nSerial Number:  \r\n"
                                "Data Format:    5 (whatever)\r\nSetPoint Limit: 0375.50K\r\n"
                                "Temperature coefficient:  2 (Positive)\r\n"
                                "Number of Breakpoints:   1\r\n\r\n  1 1 1\r\n"),
                        prompts),
              FileCommandResult::Done);
    EXPECT_EQ(w.fields.name, "My Sensor");
    EXPECT_EQ(w.fields.serial_number, "");
    EXPECT_EQ(w.fields.data_format.text(), "Log Ohms vs. Log Kelvin");
    EXPECT_EQ(w.curve.data_format, 5);
    EXPECT_EQ(w.fields.setpoint_text, "375.5");
    EXPECT_EQ(w.curve.temperature_coefficient, 2);

    // A code outside 1..5 is reported and the read goes on with the selection unchanged.
    Window z(M::ZEK);
    z.fields.data_format.selected = 1;
    ASSERT_EQ(
        read_into(z, dir.put("h.tza", "N: a\rS: b\rF: 7\rL: 9\rC: 1\rPoint 1: 1,2\r"), prompts),
        FileCommandResult::Done);
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{"Invalid data format number."});
    EXPECT_EQ(z.fields.data_format.selected, 1);
    EXPECT_EQ(z.fields.setpoint_text, "9");
    EXPECT_EQ(z.curve.breakpoint_count, 1);
}

TEST(Readers, NavAndDunHeaderValues) {
    struct Row {
        std::string interpolation;
        std::string setpoint;
        std::string code;
        int expected_interpolation;
        std::string expected_setpoint;
        bool thermocouple;
    };
    const std::vector<Row> rows = {
        {"Straight Line", "375.4", "1", 1, "375", true},
        {"lagrangian", "375.6", "3", 2, "475", false},
        {"x Lagrangian y", "1000", "2", 0, "1273", false},
        {"Unknown", "325.5", "1", 2, "375", true},
        {"Unknown", "800.5", "4", 2, "800", false},  // halfway goes to the even integer
        {"Unknown", "800.4", "4", 2, "800", false},
        {"Unknown", "999", "4", 2, "999", false},
    };
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.interpolation + " " + row.setpoint);
        Window w(M::NAV);
        RecordingPrompts prompts;
        std::string bytes =
            "Sensor Model: n\r\nSerial Number: s\r\nInterpolation Method: " + row.interpolation +
            "\r\nSetPoint Limit: " + row.setpoint + "\r\nData Format: " + row.code +
            "\r\nNumber of Breakpoints: 1\r\n\r\n  1 1 1\r\n";
        ASSERT_EQ(read_into(w, dir.put("h.nav", bytes), prompts), FileCommandResult::Done);
        EXPECT_EQ(w.fields.interpolation.selected, row.expected_interpolation);
        EXPECT_EQ(w.fields.setpoint_list.text(), row.expected_setpoint);
        EXPECT_EQ(w.fields.thermocouple, row.thermocouple);
        EXPECT_EQ(w.curve.nav_format_code, std::stoi(row.code));
        EXPECT_EQ(w.curve.dun_format_char, row.thermocouple ? "9" : "");
    }

    Window d(M::DUN);
    RecordingPrompts prompts;
    ASSERT_EQ(
        read_into(d, dir.put("e.dun", "XC06,S29MYSENSOR 123456,0.12345,300.0,0.23456,250.0*\r\n"),
                  prompts),
        FileCommandResult::Done);
    EXPECT_EQ(d.fields.interpolation.text(), "Straight Line");
    EXPECT_EQ(d.fields.setpoint_list.text(), "475");
    EXPECT_TRUE(d.fields.thermocouple);
    EXPECT_EQ(d.curve.nav_format_code, 1);
    EXPECT_EQ(d.curve.dun_format_char, "9");
    EXPECT_EQ(d.fields.name, "MYSENSOR ");
    EXPECT_EQ(d.fields.serial_number, "123456");

    ASSERT_EQ(read_into(d, dir.put("f.dun", "XC06,X73N            12,1,2*"), prompts),
              FileCommandResult::Done);
    EXPECT_EQ(d.fields.interpolation.text(), "Unknown");
    EXPECT_EQ(d.fields.setpoint_list.text(), "1273");
    EXPECT_FALSE(d.fields.thermocouple);
    EXPECT_EQ(d.curve.nav_format_code, 0);
    EXPECT_EQ(d.curve.dun_format_char, "3");
    EXPECT_EQ(d.fields.serial_number, "    12");
}

struct FailRow {
    const char* label;
    M model;
    const char* file;
    std::string bytes;
    bool bad_format_message;
};

TEST(Readers, FailuresLeaveTheWindowAsItWas) {
    const std::string taz_count = "Number of Breakpoints:   ";
    const std::vector<FailRow> rows = {
        {"taz ends early", M::TAZ, "f.taz",
         kTazHeader + taz_count + "3\r\n\r\n  1 1 1\r\n  2 2 2\r\n", false},
        {"taz count not a number", M::TAZ, "f.taz", kTazHeader + taz_count + "three\r\n  1 1 1\r\n",
         false},
        {"taz empty count", M::TAZ, "f.taz", kTazHeader + taz_count + "\r\n\r\nNo.\r\n\r\n", false},
        {"taz negative count", M::TAZ, "f.taz", kTazHeader + taz_count + "-1\r\n  1 1 1\r\n",
         false},
        {"taz declares 201", M::TAZ, "f.taz",
         kTazHeader + taz_count + "201\r\n" + repeat("  1 1 1\r\n", 201), false},
        {"taz empty file", M::TAZ, "f.taz", "", false},
        {"taz header only", M::TAZ, "f.taz", kTazHeader, false},
        {"tza coefficient not a number", M::TAZ, "f.tza",
         "N: a\r\nS: b\r\nF: 1\r\nL: 2\r\nC: x\r\n", false},
        {"tza holds 201", M::TAZ, "f.tza", kTzaHeader + repeat("Point 1: 1,1\r\n", 201), false},
        {"nav declares 98", M::NAV, "f.nav",
         kNavHeader + "Number of Breakpoints: 98\r\n" + repeat(" 1 1 1\r\n", 98), false},
        {"nav ends early", M::KOR, "f.nav", kNavHeader + "Number of Breakpoints: 2\r\n 1 1 1\r\n",
         false},
        {"dun without star", M::DUN, "f.dun",
         "XC06,S29MYSENSOR 123456,0.12345,300.0,0.23456,250.0\r\n", true},
        {"dun without points", M::DUN, "f.dun", "XC06,L00no name  no num*\r\n", true},
        {"dun odd value count", M::DUN, "f.dun", "XC06,L00N,1,2,3*\r\n", true},
        {"dun empty", M::DUN, "f.dun", "", true},
        {"dun 98 points", M::ELK, "f.dun", "XC06,L00N" + repeat(",1,1", 98) + "*", true},
        {"hox line without comma", M::HOX, "f.hox", "S\r\n1,2\r\n3 4\r\n", true},
        {"hox empty", M::HOX, "f.hox", "", true},
        {"hox 193 points", M::HOX, "f.hox", "S\r\n" + repeat("1,1\r\n", 193), true},
    };
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        Window w(row.model);
        w.fields.name = "before";
        w.fields.serial_number = "S0";
        w.fields.setpoint_text = "99";
        w.fields.interpolation.selected = 1;
        w.set_points({{1, 10}, {2, 20}});
        const Window before = w;
        RecordingPrompts prompts;
        std::string reason;
        EXPECT_EQ(read_curve_file(dir.put(row.file, row.bytes), row.model, w.curve, w.fields,
                                  prompts, &reason),
                  FileCommandResult::Failed);
        EXPECT_FALSE(reason.empty());
        expect_same_state(w, before);
        EXPECT_EQ(prompts.texts(), row.bad_format_message
                                       ? std::vector<std::string>{"Bad file format."}
                                       : std::vector<std::string>{});
    }
}

TEST(Readers, ExactlyTheModelsCapacityIsAccepted) {
    struct Row {
        M model;
        const char* file;
        std::string bytes;
        int count;
    };
    const std::vector<Row> rows = {
        {M::TAZ, "full.taz",
         kTazHeader + "Number of Breakpoints: 200\r\n" + repeat(" 1 1 1\r\n", 200), 200},
        {M::TAZ, "full.tza", kTzaHeader + repeat("Point 1: 1,1\r\n", 200), 200},
        {M::NAV, "full.nav",
         kNavHeader + "Number of Breakpoints: 97\r\n" + repeat(" 1 1 1\r\n", 97), 97},
        {M::DUN, "full.dun", "XC06,L00N" + repeat(",1,1", 97) + "*", 97},
        {M::HOX, "full.hox", "S\r\n" + repeat("1,1\r\n", 192), 192},
    };
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        Window w(row.model);
        RecordingPrompts prompts;
        ASSERT_EQ(read_into(w, dir.put(row.file, row.bytes), prompts), FileCommandResult::Done);
        EXPECT_EQ(w.curve.breakpoint_count, row.count);
    }
}

// Writes a curve, reads it back into a fresh window, and writes it again: the header must come
// back and the second file must equal the first byte for byte.
TEST(Readers, RoundTripEveryFileType) {
    struct Row {
        M model;
        const char* file;
        bool has_name;
    };
    const Row rows[] = {{M::TAZ, "r.taz", true},
                        {M::WUN, "r.tza", true},
                        {M::NAV, "r.nav", true},
                        {M::KIP, "r.dun", true},
                        {M::HOX, "r.hox", false}};
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        Window w(row.model);
        w.fields.name = "CX-1050";
        w.fields.serial_number = "X98765";
        w.fields.setpoint_text = "325.25";
        w.fields.data_format.selected = static_cast<int>(w.fields.data_format.entries.size()) - 1;
        w.fields.setpoint_list.selected = 3;
        w.fields.interpolation.selected = 0;
        w.fields.thermocouple = true;
        Points points;
        for (int i = 0; i < w.curve.max_breakpoints; ++i)
            points.emplace_back(
                row.model == M::HOX ? w.curve.sensor_units[i] : 0.01 * std::pow(1.07, i),
                450.0 - 2.25 * i);
        w.set_points(points);
        RecordingPrompts prompts;
        ASSERT_EQ(write_curve_file(dir.path(row.file), row.model, w.curve, w.fields, prompts),
                  FileCommandResult::Done);

        Window back(row.model);
        ASSERT_EQ(read_into(back, dir.path(row.file), prompts), FileCommandResult::Done);
        ASSERT_EQ(back.curve.breakpoint_count, w.curve.breakpoint_count);
        for (int i = 0; i < w.curve.breakpoint_count; ++i) {
            EXPECT_NEAR(back.curve.sensor_units[i], w.curve.sensor_units[i],
                        1e-5 * std::max(1.0, std::fabs(w.curve.sensor_units[i])));
            EXPECT_NEAR(back.curve.temperatures[i], w.curve.temperatures[i], 0.0501);
        }
        if (row.has_name) {
            EXPECT_EQ(trim_blanks(back.fields.name), w.fields.name);
        }
        EXPECT_EQ(back.fields.serial_number, w.fields.serial_number);
        if (family_of(row.model) == CurveFileFamily::TAZ_TYPE) {
            EXPECT_EQ(back.fields.data_format.selected, w.fields.data_format.selected);
        }
        EXPECT_EQ(back.fields.setpoint_shown(), w.fields.setpoint_shown());
        if (family_of(row.model) == CurveFileFamily::NAV_TYPE) {
            EXPECT_TRUE(back.fields.thermocouple);
            EXPECT_EQ(back.fields.interpolation.selected, 0);
        }
        EXPECT_EQ(back.curve.temperature_coefficient, w.curve.temperature_coefficient);

        const std::string first = dir.get(row.file);
        ASSERT_EQ(write_curve_file(dir.path(row.file), row.model, back.curve, back.fields, prompts),
                  FileCommandResult::Done);
        EXPECT_EQ(dir.get(row.file), first);
    }
}

TEST(FileCommands, DispatchByTheLastThreeCharacters) {
    struct Row {
        M model;
        const char* file;
        FileCommandResult result;
        const char* message;
    };
    const char* taz_msg = "Wrong file type. Must use file with '.TAZ' or '.TZA' extension.";
    const char* nav_msg = "Wrong file type. Must use file with '.NAV' or '.DUN' extension.";
    const char* hox_msg = "Wrong file type. Must use file with '.HOX' extension.";
    const Row rows[] = {
        {M::TAZ, "curve.tza", FileCommandResult::Done, nullptr},
        {M::GIR, "curveTAZ", FileCommandResult::Done, nullptr},
        {M::TAZ, "curve.nav", FileCommandResult::WrongType, taz_msg},
        {M::ELK, "curve.Dun", FileCommandResult::Done, nullptr},
        {M::NAV, "curve.taz", FileCommandResult::WrongType, nav_msg},
        {M::HOX, "curve2.taz", FileCommandResult::WrongType, hox_msg},
        {M::HOX, "x.HoX", FileCommandResult::Done, nullptr},
        {M::TAZ, "ZA", FileCommandResult::WrongType, taz_msg},
    };
    Scratch dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        Window w(row.model);
        w.fields.setpoint_text = "1";
        w.fields.thermocouple = true;
        w.set_points({{1, 2}});
        RecordingPrompts prompts;
        EXPECT_EQ(write_curve_file(dir.path(row.file), row.model, w.curve, w.fields, prompts),
                  row.result);
        EXPECT_EQ(dir.exists(row.file), row.result == FileCommandResult::Done);
        Window fresh(row.model);
        const Window before = fresh;
        if (row.result == FileCommandResult::WrongType) dir.put(row.file, "not read at all");
        EXPECT_EQ(read_into(fresh, dir.path(row.file), prompts), row.result);
        if (row.result == FileCommandResult::WrongType) expect_same_state(fresh, before);
        std::vector<std::string> expected;
        if (row.message) expected = {row.message, row.message};
        EXPECT_EQ(prompts.texts(), expected);
    }

    RecordingPrompts prompts;
    EXPECT_EQ(file_filter(M::QUA_RIL, prompts), "*.TAZ|*.TAZ|*.TZA|*.TZA");
    EXPECT_EQ(file_filter(M::KIP, prompts), "*.NAV|*.NAV|*.DUN|*.DUN");
    EXPECT_EQ(file_filter(M::HOX, prompts), "*.HOX|*.HOX");
    EXPECT_TRUE(prompts.shown.empty());
    EXPECT_EQ(file_filter(M::Invalid, prompts), "");
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{"Invalid instrument model number."});
}

}  // namespace
}  // namespace kelvara
