// Picture formatting, token splitting, breakpoint counting and the per-model header state.
#include <gtest/gtest.h>

#include <locale>
#include <optional>
#include <string>
#include <vector>

#include "curve/code_page.h"
#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "curve/next_field.h"
#include "curve/number_format.h"
#include "file_fixture.h"

namespace kelvara {
namespace {

using M = InstrumentModel;
using testing_support::Window;

// Run under a C++ locale that writes decimal commas: files and commands must still get ".".
struct CommaDecimal : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

TEST(FormatNoLocale, PictureRules) {
    struct Row {
        double value;
        const char* picture;
        const char* expected;
    };
    const Row rows[] = {
        {5, "0000.00", "0005.00"},
        {0.0123, "0.00000e-00", "1.23000e-02"},
        {123, "0.00000e-00", "1.23000e02"},
        {0.5, "0.00000e-#0", "5.00000e-1"},
        {123, "0.00000E+00", "1.23000E+02"},
        {0.0123, "0.00000E+00", "1.23000E-02"},
        {9.9999996, "0.00000e-00", "1.00000e01"},  // rounding carries into the exponent
        {0, "###", ""},
        {7, "  #", "  7"},
        {375, "###0.0#", "375.0"},
        {375.25, "###0.0#", "375.25"},
        {12345, "####.00", "12345.00"},  // integer digits are never dropped
        {2.675, "0.00", "2.68"},         // half up on the decimal the value was written as
        {-2.675, "0.00", "-2.68"},
        // A negative value keeps its minus sign when it rounds to zero; a negative zero has none.
        {UNUSED_POINT, "###.000", "-.000"},
        {-0.0000001, ".000000", "-.000000"},
        {-0.0000001, "0.00", "-0.00"},
        {-0.004, "###.0", "-.0"},
        {-0.0, "0.00", "0.00"},
        {-0.0, ".000000", ".000000"},
        {0.9999996, ".000000", "1.000000"},
    };
    std::locale saved = std::locale::global(std::locale(std::locale::classic(), new CommaDecimal));
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.picture) + " " + std::to_string(row.value));
        EXPECT_EQ(FormatNoLocale(row.value, row.picture), row.expected);
    }
    EXPECT_DOUBLE_EQ(parse_leading_number("1.5"), 1.5);
    std::locale::global(saved);
}

// Windows-1252 both ways: 0x80 to 0x9F as the code page assigns them (its five holes as the
// control characters of their numbers), every other byte as the Latin-1 character of its number.
TEST(CodePage, Windows1252BothWays) {
    const std::u16string high =
        u"\u20ac\x81\u201a\u0192\u201e\u2026\u2020\u2021\u02c6\u2030\u0160\u2039\u0152\x8d\u017d"
        u"\x8f"
        u"\x90\u2018\u2019\u201c\u201d\u2022\u2013\u2014\u02dc\u2122\u0161\u203a\u0153\x9d\u017e"
        u"\u0178";
    std::string all;
    for (int b = 0; b < 256; ++b) all.push_back(static_cast<char>(b));
    const std::u16string text = code_page_text(all);
    ASSERT_EQ(text.size(), 256u);
    for (int b = 0; b < 256; ++b) {
        SCOPED_TRACE(b);
        EXPECT_EQ(text[b], b >= 0x80 && b < 0xA0 ? high[b - 0x80] : static_cast<char16_t>(b));
        EXPECT_EQ(code_page_byte(text[b]), static_cast<char>(b));
    }
    for (const char16_t c : {u'\x80', u'\x9f', u'\u0100', u'\u20ad'})
        EXPECT_EQ(code_page_byte(c), std::nullopt);
}

TEST(PictureChoosers, Thresholds) {
    struct Row {
        std::string (*chooser)(double);
        double value;
        const char* expected;
    };
    const Row rows[] = {
        {format_sensor_units, -0.25, "-.250000"},   {format_sensor_units, 0.999994, ".999994"},
        {format_sensor_units, 0.999995, "1.00000"}, {format_sensor_units, 9.99994, "9.99994"},
        {format_sensor_units, 9.999996, "10.0000"}, {format_sensor_units, 99.9995, "100.000"},
        {format_sensor_units, 999.995, "1000.00"},  {format_sensor_units, 9999.95, "10000.0"},
        {format_sensor_units, 99999.5, "100000."},  {format_temperature, -1.5, "-1.50000e00"},
        {format_temperature, 0, "0.00000"},         {format_temperature, 77.35, "77.3500"},
        {format_temperature, 300, "300.000"},       {format_temperature, 1500, "1500.00"},
        {format_temperature_wun, 0, "0.00000e0"},   {format_temperature_wun, 0.01, "1.00000e-2"},
        {format_temperature_wun, 1, "1.00000"},     {format_temperature_wun, -1.5, "-1.50000e00"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.value));
        EXPECT_EQ(row.chooser(row.value), row.expected);
    }
}

TEST(NextField, PositionsAdvancePastEachToken) {
    const std::string line = "  1, 2.5\t300";
    struct Step {
        const char* token;
        int position;
    };
    const Step steps[] = {{"1", 4}, {"2.5", 9}, {"300", 13}, {"", 13}};
    int pos = 1;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.token);
        EXPECT_EQ(next_field(line, pos), step.token);
        EXPECT_EQ(pos, step.position);
    }
    pos = 1;
    EXPECT_EQ(next_field(" ,\t", pos), "\t");  // only separators: the last one examined
    EXPECT_EQ(pos, 4);
}

TEST(Breakpoints, CountStopsAtTheFirstGapOrAtCapacity) {
    struct Row {
        int filled;  // slots 0.. holding points (NAV: 97 and a spare)
        int no_units;
        int no_temperature;
        int expected;
    };
    const Row rows[] = {{0, -1, -1, 0}, {7, -1, 5, 5}, {7, 2, 5, 2}, {98, -1, -1, 97}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expected);
        CurveRecord c = CurveRecord::for_model(M::NAV);
        for (int i = 0; i < row.filled; ++i) c.sensor_units[i] = c.temperatures[i] = i + 1;
        if (row.no_units >= 0) c.sensor_units[row.no_units] = UNUSED_POINT;
        if (row.no_temperature >= 0) c.temperatures[row.no_temperature] = UNUSED_POINT;
        get_number_of_breakpoints(c);
        EXPECT_EQ(c.breakpoint_count, row.expected);
    }
}

TEST(Breakpoints, TemperatureCoefficient) {
    struct Row {
        testing_support::Points points;
        int expected;
    };
    const Row rows[] = {
        {{{1, 10}, {2, 20}, {3, 30}}, 2}, {{{1, 30}, {2, 20}, {3, 10}}, 1}, {{{1, 30}}, 1}, {{}, 1},
        {{{1, 30}, {2, 5}, {3, 30}}, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.points.size());
        Window w(M::TAZ);
        w.set_points(row.points);
        EXPECT_EQ(temperature_coefficient_of(w.curve), row.expected);
    }
}

TEST(HeaderFields, StartUpStateOfRepresentativeModels) {
    struct Row {
        M model;
        std::vector<std::string> combo1;
        std::string interpolation;  // preselected entry of the older models, "" for the others
        bool interpolation_visible;
    };
    const Row rows[] = {
        {M::TAZ,
         {"MilliVolts vs. Kelvin", "Volts vs. Kelvin", "Ohms vs. Kelvin", "Log Ohms vs. Kelvin",
          "Log Ohms vs. Log Kelvin"},
         "",
         false},
        {M::HOX, {"Log Ohms vs. Kelvin"}, "", false},
        {M::KOR,
         {"No Conversion", "Ohms/100 (e.g., Platinum)", "(MilliVolts+15)*100 (e.g., Thermocouple)"},
         "Lagrangian",
         false},
        {M::NAV,
         {"No Conversion", "Ohms/100 (e.g., Platinum)", "(MilliVolts+15)*100 (e.g., Thermocouple)",
          "(MilliVolts+45)*100, Kelvin/2 (e.g., Thermocouple)"},
         "Unknown",
         false},
        {M::KIP,
         {"No Conversion", "Ohms/100 (e.g., Platinum)", "Ohms/1000 (e.g., Platinum)",
          "Ohms*3/100 (e.g., Rhodium-Iron)", "(MilliVolts+15)*100 (e.g., Thermocouple)"},
         "Unknown",
         true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(designation(row.model)));
        const bool older = !row.interpolation.empty();
        HeaderFields f = HeaderFields::for_model(row.model);
        EXPECT_EQ(f.data_format.entries, row.combo1);
        EXPECT_EQ(f.data_format.selected, 0);
        EXPECT_EQ(f.data_format.visible, !older && row.model != M::HOX);
        EXPECT_EQ(f.name_visible, row.model != M::HOX);
        EXPECT_EQ(f.setpoint_text_visible, !older && row.model != M::HOX);
        EXPECT_EQ(f.setpoint_list.visible, older);
        EXPECT_EQ(f.thermocouple_visible, older);
        EXPECT_EQ(f.data_format_caption,
                  older ? "Data Conversion To/From Instrument" : "Data Format");
        EXPECT_EQ(f.interpolation.visible, row.interpolation_visible);
        EXPECT_EQ(f.setpoint_shown(), older ? "325" : "");
        EXPECT_EQ(f.interpolation.text(), row.interpolation);
    }
}

TEST(HeaderFields, SelectDataFormat) {
    struct Row {
        M model;
        int code;
        int expected_selection;  // starting from entry 1 selected
        bool message;
    };
    // DAL has no millivolts entry; an unknown model's list holds only the empty entry, where an
    // invalid code lands.
    const Row rows[] = {
        {M::TAZ, 5, 4, false}, {M::TAZ, 1, 0, false}, {M::DAL, 1, 1, false},
        {M::DAL, 2, 0, false}, {M::ZEK, 4, 1, false}, {M::TAZ, 0, 1, true},
        {M::TAZ, 6, 1, true},  {M::TAZ, -1, 1, true}, {M::Invalid, 9, 0, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(designation(row.model)) + " " + std::to_string(row.code));
        HeaderFields f = HeaderFields::for_model(row.model);
        f.data_format.selected = 1;
        RecordingPrompts prompts;
        select_data_format(f, row.code, prompts);
        EXPECT_EQ(f.data_format.selected, row.expected_selection);
        EXPECT_EQ(prompts.texts(), row.message
                                       ? std::vector<std::string>{"Invalid data format number."}
                                       : std::vector<std::string>{});
    }
}

}  // namespace
}  // namespace kelvara
