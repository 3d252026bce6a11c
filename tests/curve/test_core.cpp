// Picture formatting, token splitting, breakpoint counting and the per-model header state.
#include <gtest/gtest.h>

#include <locale>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
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
    // Rounding carries into the exponent; integer digits are never dropped; half up on the decimal
    // the value was written as; a negative value keeps its minus sign when it rounds to zero, a
    // negative zero has none.
    // clang-format off
    const std::tuple<double, const char*, const char*> rows[] = {
        {5, "0000.00", "0005.00"}, {0.0123, "0.00000e-00", "1.23000e-02"}, {123, "0.00000e-00", "1.23000e02"},
        {0.5, "0.00000e-#0", "5.00000e-1"}, {123, "0.00000E+00", "1.23000E+02"}, {0.0123, "0.00000E+00", "1.23000E-02"},
        {9.9999996, "0.00000e-00", "1.00000e01"}, {0, "###", ""}, {7, "  #", "  7"}, {375, "###0.0#", "375.0"},
        {375.25, "###0.0#", "375.25"}, {12345, "####.00", "12345.00"}, {2.675, "0.00", "2.68"}, {-2.675, "0.00", "-2.68"},
        {UNUSED_POINT, "###.000", "-.000"}, {-0.0000001, ".000000", "-.000000"}, {-0.0000001, "0.00", "-0.00"},
        {-0.004, "###.0", "-.0"}, {-0.0, "0.00", "0.00"}, {-0.0, ".000000", ".000000"}, {0.9999996, ".000000", "1.000000"},
    };
    // clang-format on
    std::locale saved = std::locale::global(std::locale(std::locale::classic(), new CommaDecimal));
    for (const auto& [value, picture, expected] : rows) {
        SCOPED_TRACE(std::string(picture) + " " + std::to_string(value));
        EXPECT_EQ(FormatNoLocale(value, picture), expected);
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
    const auto U = format_sensor_units, T = format_temperature, W = format_temperature_wun;
    // clang-format off
    const std::tuple<std::string (*)(double), double, const char*> rows[] = {
        {U, -0.25, "-.250000"}, {U, 0.999994, ".999994"}, {U, 0.999995, "1.00000"}, {U, 9.99994, "9.99994"},
        {U, 9.999996, "10.0000"}, {U, 99.9995, "100.000"}, {U, 999.995, "1000.00"}, {U, 9999.95, "10000.0"},
        {U, 99999.5, "100000."}, {T, -1.5, "-1.50000e00"}, {T, 0, "0.00000"}, {T, 77.35, "77.3500"},
        {T, 300, "300.000"}, {T, 1500, "1500.00"}, {W, 0, "0.00000e0"}, {W, 0.01, "1.00000e-2"},
        {W, 1, "1.00000"}, {W, -1.5, "-1.50000e00"},
    };
    // clang-format on
    for (const auto& [chooser, value, expected] : rows) {
        SCOPED_TRACE(std::to_string(value));
        EXPECT_EQ(chooser(value), expected);
    }
}

TEST(NextField, PositionsAdvancePastEachToken) {
    const std::string line = "  1, 2.5\t300";
    const std::pair<const char*, int> steps[] = {{"1", 4}, {"2.5", 9}, {"300", 13}, {"", 13}};
    int pos = 1;
    for (const auto& [token, position] : steps) {
        EXPECT_EQ(next_field(line, pos), token);
        EXPECT_EQ(pos, position);
    }
    pos = 1;
    EXPECT_EQ(next_field(" ,\t", pos), "\t");  // only separators: the last one examined
    EXPECT_EQ(pos, 4);
}

TEST(Breakpoints, CountStopsAtTheFirstGapOrAtCapacity) {
    // Slots 0.. filled (NAV: 97 and a spare), the slot without units, without temperature.
    const std::tuple<int, int, int, int> rows[] = {
        {0, -1, -1, 0}, {7, -1, 5, 5}, {7, 2, 5, 2}, {98, -1, -1, 97}};
    for (const auto& [filled, no_units, no_temperature, expected] : rows) {
        SCOPED_TRACE(expected);
        CurveRecord c = CurveRecord::for_model(M::NAV);
        for (int i = 0; i < filled; ++i) c.sensor_units[i] = c.temperatures[i] = i + 1;
        if (no_units >= 0) c.sensor_units[no_units] = UNUSED_POINT;
        if (no_temperature >= 0) c.temperatures[no_temperature] = UNUSED_POINT;
        get_number_of_breakpoints(c);
        EXPECT_EQ(c.breakpoint_count, expected);
    }
}

TEST(Breakpoints, TemperatureCoefficient) {
    const std::pair<testing_support::Points, int> rows[] = {
        {{{1, 10}, {2, 20}, {3, 30}}, 2}, {{{1, 30}, {2, 20}, {3, 10}}, 1}, {{{1, 30}}, 1}, {{}, 1},
        {{{1, 30}, {2, 5}, {3, 30}}, 2},
    };
    for (const auto& [points, expected] : rows) {
        SCOPED_TRACE(points.size());
        Window w(M::TAZ);
        w.set_points(points);
        EXPECT_EQ(temperature_coefficient_of(w.curve), expected);
    }
}

TEST(HeaderFields, StartUpStateOfRepresentativeModels) {
    // Model, data formats or conversions, the preselected interpolation of the older models ("" for
    // the others) and whether it shows.
    // clang-format off
    const std::tuple<M, std::vector<std::string>, std::string, bool> rows[] = {
        {M::TAZ, {"MilliVolts vs. Kelvin", "Volts vs. Kelvin", "Ohms vs. Kelvin", "Log Ohms vs. Kelvin", "Log Ohms vs. Log Kelvin"}, "", false},
        {M::HOX, {"Log Ohms vs. Kelvin"}, "", false},
        {M::KOR, {"No Conversion", "Ohms/100 (e.g., Platinum)", "(MilliVolts+15)*100 (e.g., Thermocouple)"}, "Lagrangian", false},
        {M::NAV, {"No Conversion", "Ohms/100 (e.g., Platinum)", "(MilliVolts+15)*100 (e.g., Thermocouple)", "(MilliVolts+45)*100, Kelvin/2 (e.g., Thermocouple)"}, "Unknown", false},
        {M::KIP, {"No Conversion", "Ohms/100 (e.g., Platinum)", "Ohms/1000 (e.g., Platinum)", "Ohms*3/100 (e.g., Rhodium-Iron)", "(MilliVolts+15)*100 (e.g., Thermocouple)"}, "Unknown", true},
    };
    // clang-format on
    for (const auto& [model, combo1, interpolation, interpolation_visible] : rows) {
        SCOPED_TRACE(std::string(designation(model)));
        const bool older = !interpolation.empty();
        HeaderFields f = HeaderFields::for_model(model);
        EXPECT_EQ(f.data_format.entries, combo1);
        EXPECT_EQ(f.data_format.selected, 0);
        const bool shown = !older && model != M::HOX;
        EXPECT_EQ(
            std::tuple(f.data_format.visible, f.name_visible, f.setpoint_text_visible,
                       f.setpoint_list.visible, f.thermocouple_visible, f.interpolation.visible),
            std::tuple(shown, model != M::HOX, shown, older, older, interpolation_visible));
        EXPECT_EQ(f.data_format_caption,
                  older ? "Data Conversion To/From Instrument" : "Data Format");
        EXPECT_EQ(f.setpoint_shown(), older ? "325" : "");
        EXPECT_EQ(f.interpolation.text(), interpolation);
    }
}

TEST(HeaderFields, SelectDataFormat) {
    // Model, code, the selection it leaves (entry 1 selected before), whether the user is told.
    // DAL has no millivolts entry; an unknown model's list holds only the empty entry, where an
    // invalid code lands.
    const std::tuple<M, int, int, bool> rows[] = {
        {M::TAZ, 5, 4, false}, {M::TAZ, 1, 0, false}, {M::DAL, 1, 1, false},
        {M::DAL, 2, 0, false}, {M::ZEK, 4, 1, false}, {M::TAZ, 0, 1, true},
        {M::TAZ, 6, 1, true},  {M::TAZ, -1, 1, true}, {M::Invalid, 9, 0, true},
    };
    for (const auto& [model, code, selection, told] : rows) {
        SCOPED_TRACE(std::string(designation(model)) + " " + std::to_string(code));
        HeaderFields f = HeaderFields::for_model(model);
        f.data_format.selected = 1;
        RecordingPrompts prompts;
        select_data_format(f, code, prompts);
        EXPECT_EQ(f.data_format.selected, selection);
        EXPECT_EQ(prompts.texts(), told ? std::vector<std::string>{"Invalid data format number."}
                                        : std::vector<std::string>{});
    }
}

}  // namespace
}  // namespace kelvara
