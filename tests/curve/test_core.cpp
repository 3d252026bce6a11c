// Picture formatting, token splitting, breakpoint counting and the per-model header state.
#include <gtest/gtest.h>

#include <locale>
#include <string>
#include <vector>

#include "curve/curve_record.h"
#include "curve/header_fields.h"
#include "curve/next_field.h"
#include "curve/number_format.h"

namespace kelvara {
namespace {

struct PictureRow {
    double value;
    const char* picture;
    const char* expected;
};

TEST(FormatNoLocale, PictureRules) {
    const PictureRow rows[] = {
        {1.5, "0.00000", "1.50000"},
        {0.5, ".000000", ".500000"},
        {123456.4, "000000.", "123456."},
        {5, "0000.00", "0005.00"},
        {0.0123, "0.00000e-00", "1.23000e-02"},
        {123, "0.00000e-00", "1.23000e02"},
        {0.5, "0.00000e-#0", "5.00000e-1"},
        {123, "0.00000E+00", "1.23000E+02"},
        {0.0123, "0.00000E+00", "1.23000E-02"},
        {9.9999996, "0.00000e-00", "1.00000e01"},  // rounding carries into the exponent
        {0, "###", ""},
        {7, "  #", "  7"},
        {42, " ##", " 42"},
        {375, "###0.0#", "375.0"},
        {375.25, "###0.0#", "375.25"},
        {0.5, "###0.0#", "0.5"},
        {12345, "####.00", "12345.00"},  // integer digits are never dropped
        {2.675, "0.00", "2.68"},         // half up on the decimal the value was written as
        {-2.675, "0.00", "-2.68"},
        {-1.5, "0.000", "-1.500"},
        {UNUSED_POINT, "###.000", ".000"},  // rounds to zero: no minus sign
        {-0.0004, "0.000", "0.000"},
        {4.2, "###.0", "4.2"},
        {0.5, "###.0", ".5"},
        {1234567, "000000", "1234567"},
        {0.9999996, ".000000", "1.000000"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.picture) + " " + std::to_string(row.value));
        EXPECT_EQ(FormatNoLocale(row.value, row.picture), row.expected);
    }
}

// A process whose C++ locale writes decimal commas must still get "." in files and commands.
struct CommaDecimal : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(FormatNoLocale, IgnoresCommaLocale) {
    std::locale saved = std::locale::global(std::locale(std::locale::classic(), new CommaDecimal));
    EXPECT_EQ(FormatNoLocale(1.5, "0.00000"), "1.50000");
    EXPECT_EQ(FormatNoLocale(12345.5, "0000.00"), "12345.50");
    EXPECT_EQ(general_text(375.5), "375.5");
    EXPECT_DOUBLE_EQ(parse_leading_number("1.5"), 1.5);
    std::locale::global(saved);
}

struct ChooserRow {
    std::string (*chooser)(double);
    const char* name;
    double value;
    const char* expected;
};

TEST(PictureChoosers, Thresholds) {
    const ChooserRow rows[] = {
        {format_sensor_units, "units", 9.999996, "10.0000"},
        {format_sensor_units, "units", 9.99994, "9.99994"},
        {format_sensor_units, "units", 0.5, ".500000"},
        {format_sensor_units, "units", 0.999995, "1.00000"},
        {format_sensor_units, "units", 0.999994, ".999994"},
        {format_sensor_units, "units", -0.25, "-.250000"},
        {format_sensor_units, "units", 99.9995, "100.000"},
        {format_sensor_units, "units", 999.995, "1000.00"},
        {format_sensor_units, "units", 9999.95, "10000.0"},
        {format_sensor_units, "units", 99999.5, "100000."},
        {format_sensor_units, "units", 123456.4, "123456."},
        {format_temperature, "temperature", -1.5, "-1.50000e00"},
        {format_temperature, "temperature", 0, "0.00000"},
        {format_temperature, "temperature", 9.5, "9.50000"},
        {format_temperature, "temperature", 77.35, "77.3500"},
        {format_temperature, "temperature", 300, "300.000"},
        {format_temperature, "temperature", 1500, "1500.00"},
        {format_temperature_wun, "wun", 0.25, "2.50000e-1"},
        {format_temperature_wun, "wun", 0, "0.00000e0"},
        {format_temperature_wun, "wun", 1, "1.00000"},
        {format_temperature_wun, "wun", -1.5, "-1.50000e00"},
        {format_temperature_wun, "wun", 0.01, "1.00000e-2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + " " + std::to_string(row.value));
        EXPECT_EQ(row.chooser(row.value), row.expected);
    }
}

TEST(Parsing, LeadingNumberAndIntegers) {
    struct Row {
        const char* text;
        double number;
        bool numeric;
    };
    const Row rows[] = {
        {"1.2345", 1.2345, true},
        {"  77.35K", 77.35, false},
        {"", 0, false},
        {"abc", 0, false},
        {"1.5e-3", 0.0015, true},
        {"1.5E+02", 150, true},
        {"1.5e", 1.5, false},
        {".5", 0.5, true},
        {"-.25", -0.25, true},
        {"1,5", 1, false},
        {"1e999", 1.7976931348623157e308, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_DOUBLE_EQ(parse_leading_number(row.text), row.number);
        EXPECT_EQ(is_numeric_text(row.text), row.numeric);
    }
    EXPECT_EQ(to_int32(" 2 "), 2);
    EXPECT_EQ(to_int32("2.5"), 2);  // half to even
    EXPECT_EQ(to_int32(" "), std::nullopt);
    EXPECT_EQ(to_int32("2x"), std::nullopt);
    EXPECT_EQ(to_int32("3000000000"), std::nullopt);
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

CurveRecord curve_with(const std::vector<std::pair<double, double>>& points, int max = 200) {
    CurveRecord c;
    c.max_breakpoints = max;
    c.sensor_units.assign(max + 1, UNUSED_POINT);
    c.temperatures.assign(max + 1, UNUSED_POINT);
    for (size_t i = 0; i < points.size(); ++i) {
        c.sensor_units[i] = points[i].first;
        c.temperatures[i] = points[i].second;
    }
    return c;
}

TEST(Breakpoints, CountStopsAtFirstGapAndAtCapacity) {
    CurveRecord empty = curve_with({});
    get_number_of_breakpoints(empty);
    EXPECT_EQ(empty.breakpoint_count, 0);

    CurveRecord full = curve_with({}, 97);
    for (int i = 0; i <= 97; ++i) full.sensor_units[i] = full.temperatures[i] = i + 1;  // spare too
    get_number_of_breakpoints(full);
    EXPECT_EQ(full.breakpoint_count, 97);

    CurveRecord gap = curve_with({{1, 10}, {2, 20}, {3, 30}, {4, 40}, {5, 50}, {6, 60}, {7, 70}});
    gap.temperatures[5] = UNUSED_POINT;
    get_number_of_breakpoints(gap);
    EXPECT_EQ(gap.breakpoint_count, 5);
    gap.temperatures[5] = 60;
    gap.sensor_units[2] = UNUSED_POINT;
    get_number_of_breakpoints(gap);
    EXPECT_EQ(gap.breakpoint_count, 2);
}

TEST(Breakpoints, TemperatureCoefficient) {
    struct Row {
        std::vector<std::pair<double, double>> points;
        int expected;
    };
    const Row rows[] = {
        {{{1, 10}, {2, 20}, {3, 30}}, 2}, {{{1, 30}, {2, 20}, {3, 10}}, 1}, {{{1, 30}}, 1}, {{}, 1},
        {{{1, 30}, {2, 5}, {3, 30}}, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.points.size());
        CurveRecord c = curve_with(row.points);
        get_number_of_breakpoints(c);
        EXPECT_EQ(temperature_coefficient_of(c), row.expected);
    }
}

TEST(CurveRecord, StartUpContents) {
    for (const auto& p : model_profiles()) {
        SCOPED_TRACE(std::string(p.designation));
        CurveRecord c = CurveRecord::for_model(p.model);
        ASSERT_EQ(c.max_breakpoints, p.max_breakpoints);
        ASSERT_EQ(c.sensor_units.size(), static_cast<size_t>(p.max_breakpoints + 1));
        EXPECT_EQ(c.breakpoint_count, 0);
        for (int i = 0; i < c.max_breakpoints; ++i) EXPECT_EQ(c.temperatures[i], UNUSED_POINT);
        if (p.model != InstrumentModel::HOX) {
            EXPECT_EQ(c.sensor_units[c.max_breakpoints - 1], UNUSED_POINT);
            continue;
        }
        const std::pair<int, double> grid[] = {{0, 0.0},    {1, 0.02},  {149, 2.98}, {150, 3.0},
                                               {174, 3.96}, {175, 4.0}, {191, 5.6}};
        for (auto [index, units] : grid) EXPECT_NEAR(c.sensor_units[index], units, 1e-12) << index;
    }
    EXPECT_EQ(CurveRecord::for_model(InstrumentModel::Invalid).max_breakpoints, 0);
}

TEST(HeaderFields, StartUpStateOfEveryModel) {
    const std::vector<std::string> volts = {"Volts vs. Kelvin", "Ohms vs. Kelvin",
                                            "Log Ohms vs. Kelvin"};
    const std::vector<std::string> four = {"MilliVolts vs. Kelvin", "Volts vs. Kelvin",
                                           "Ohms vs. Kelvin", "Log Ohms vs. Kelvin"};
    std::vector<std::string> five = four;
    five.push_back("Log Ohms vs. Log Kelvin");
    const std::vector<std::string> kip = {
        "No Conversion", "Ohms/100 (e.g., Platinum)", "Ohms/1000 (e.g., Platinum)",
        "Ohms*3/100 (e.g., Rhodium-Iron)", "(MilliVolts+15)*100 (e.g., Thermocouple)"};
    struct Row {
        InstrumentModel model;
        std::vector<std::string> combo1;
        bool older;
        int interpolation;  // preselected entry, -1 for none
        bool interpolation_visible;
    };
    using M = InstrumentModel;
    const Row rows[] = {
        {M::TAZ, five, false, -1, false},
        {M::DAL, volts, false, -1, false},
        {M::FEN, volts, false, -1, false},
        {M::MEP, four, false, -1, false},
        {M::OBR, four, false, -1, false},
        {M::PIX, four, false, -1, false},
        {M::QUA_RIL, four, false, -1, false},
        {M::VEM, four, false, -1, false},
        {M::GIR, four, false, -1, false},
        {M::WUN, four, false, -1, false},
        {M::ZEK, {"Ohms vs. Kelvin", "Log Ohms vs. Kelvin"}, false, -1, false},
        {M::HOX, {"Log Ohms vs. Kelvin"}, false, -1, false},
        {M::KOR,
         {"No Conversion", "Ohms/100 (e.g., Platinum)", "(MilliVolts+15)*100 (e.g., Thermocouple)"},
         true,
         0,
         false},
        {M::LUM,
         {"No Conversion", "Ohms/100 (e.g., Platinum)",
          "(MilliVolts+45)*100, Kelvin/2 (e.g., Thermocouple)"},
         true,
         0,
         false},
        {M::NAV,
         {"No Conversion", "Ohms/100 (e.g., Platinum)", "(MilliVolts+15)*100 (e.g., Thermocouple)",
          "(MilliVolts+45)*100, Kelvin/2 (e.g., Thermocouple)"},
         true,
         2,
         false},
        {M::KIP, kip, true, 2, true},
        {M::DUN, kip, true, 2, true},
        {M::ELK, kip, true, 2, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(designation(row.model)));
        HeaderFields f = HeaderFields::for_model(row.model);
        EXPECT_EQ(f.data_format.entries, row.combo1);
        EXPECT_EQ(f.data_format.selected, 0);
        EXPECT_EQ(f.data_format.visible, !row.older && row.model != M::HOX);
        EXPECT_EQ(f.name_visible, row.model != M::HOX);
        EXPECT_EQ(f.setpoint_text_visible, !row.older && row.model != M::HOX);
        EXPECT_EQ(f.setpoint_list.visible, row.older);
        EXPECT_EQ(f.thermocouple_visible, row.older);
        EXPECT_FALSE(f.thermocouple);
        EXPECT_EQ(f.data_format_caption,
                  row.older ? "Data Conversion To/From Instrument" : "Data Format");
        EXPECT_EQ(f.interpolation.visible, row.interpolation_visible);
        if (row.older) {
            EXPECT_EQ(f.setpoint_list.entries,
                      (std::vector<std::string>{"325", "375", "475", "800", "999", "1273"}));
            EXPECT_EQ(f.setpoint_shown(), "325");
            EXPECT_EQ(f.interpolation.entries,
                      (std::vector<std::string>{"Lagrangian", "Straight Line", "Unknown"}));
            EXPECT_EQ(f.interpolation.selected, row.interpolation);
        }
    }
}

TEST(HeaderFields, SelectDataFormat) {
    struct Row {
        InstrumentModel model;
        int code;
        int expected_selection;  // starting from entry 1 selected
        bool message;
    };
    using M = InstrumentModel;
    const Row rows[] = {
        {M::TAZ, 5, 4, false}, {M::TAZ, 1, 0, false}, {M::DAL, 1, 1, false},  // DAL has no mV
        {M::DAL, 2, 0, false}, {M::ZEK, 4, 1, false}, {M::TAZ, 0, 1, true},
        {M::TAZ, 6, 1, true},  {M::TAZ, -1, 1, true},
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
    // An empty entry is where an invalid code lands when the list has one.
    HeaderFields f = HeaderFields::for_model(M::Invalid);
    f.data_format.entries = {"Volts vs. Kelvin", ""};
    f.data_format.selected = 0;
    RecordingPrompts prompts;
    select_data_format(f, 9, prompts);
    EXPECT_EQ(f.data_format.selected, 1);
    EXPECT_EQ(data_format_from_selection(f), 0);
}

}  // namespace
}  // namespace kelvara
