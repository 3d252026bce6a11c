// The conversion a curve gets before an older instrument receives it: the code chosen at each
// threshold, what the dialog shows for it, and the arithmetic on the transfer copy.
#include <gtest/gtest.h>

#include "protocol/scaling.h"
#include "rig.h"

namespace kelvara::test {
namespace {

TEST(Scaling, CodeAtEachThresholdAndTheDialogRows) {
    // First and last units, the code (0: sent unscaled, no dialog), and the dialog's rows: offset
    // shown and its text, factor box shown, factor label and text, temperature row and text.
    using Rows = std::tuple<bool, std::string, bool, std::string, std::string, bool, std::string>;
    // clang-format off
    const std::vector<std::tuple<double, double, int, Rows>> rows = {
        {-30.01, 5, 1, {true, "45", true, "Multiply", "0.1", true, "0.5"}},
        {-30.0, 5, 2, {true, "15", true, "Multiply", "0.1", false, ""}},
        {-0.001, 5, 2, {true, "15", true, "Multiply", "0.1", false, ""}},
        {0, 9.99, 0, {false, "", false, "Multiply", "", false, ""}},
        {0, 10, 3, {false, "", true, "Multiply", "0.03", false, ""}},
        {1, 199.99, 3, {false, "", true, "Multiply", "0.03", false, ""}},
        {1, 200, 4, {false, "", true, "Multiply", "0.01", false, ""}},
        {1, 599.99, 4, {false, "", true, "Multiply", "0.01", false, ""}},
        {1, 600, 5, {false, "", true, "Multiply", "0.001", false, ""}},
        {1, 5999.99, 5, {false, "", true, "Multiply", "0.001", false, ""}},
        {1, 6000, 6, {false, "", false, "Log", "", false, ""}},
    };
    // clang-format on
    for (const auto& [first, last, code, expected] : rows) {
        SCOPED_TRACE("first " + general_text(first) + ", last " + general_text(last));
        Rig rig(InstrumentModel::NAV);
        rig.load_curve({{first, 10}, {(first + last) / 2, 20}, {last, 30}});
        rig.transfer.scaling_code = 99;
        choose_scaling(rig.session);
        EXPECT_EQ(rig.scaling.codes, code ? std::vector<int>{code} : std::vector<int>{});
        EXPECT_EQ(rig.transfer.scaling_code, code ? code : 99);  // unscaled: left alone
        const ScalingRows r = scaling_rows(code);
        EXPECT_EQ(Rows(r.offset_row, r.offset_text, r.factor_box, r.factor_label, r.factor_text,
                       r.temperature_row, r.temperature_text),
                  expected);
    }
}

TEST(Scaling, DefaultsAppliedToTheTransferCopyOnly) {
    using Points = std::vector<std::pair<double, double>>;
    using Row = std::tuple<const char*, Points, Points>;  // what, the curve, what is sent
    // clang-format off
    const std::vector<Row> rows = {
        {"code 1: (u + 45) x 0.1, temperatures halved", {{-40, 10}, {-35, 100}, {-31, 400}}, {{0.5, 5}, {1.0, 50}, {1.4, 200}}},
        {"code 2: -5 becomes 1.0", {{-5, 300}, {0, 200}, {5, 100}}, {{1.0, 300}, {1.5, 200}, {2.0, 100}}},
        {"code 3: x 0.03", {{1, 300}, {50, 20}, {100, 4}}, {{0.03, 300}, {1.5, 20}, {3, 4}}},
        {"code 6: log10, zero stays zero", {{0, 300}, {10, 100}, {10000, 4}}, {{0, 300}, {1, 100}, {4, 4}}},
    };
    // clang-format on
    for (const auto& [what, curve, sent] : rows) {
        SCOPED_TRACE(what);
        Rig rig(InstrumentModel::ELK);
        rig.load_curve(curve);
        const CurveRecord before = rig.curve;
        choose_scaling(rig.session);
        ASSERT_EQ(rig.transfer.transfer_units.size(), 98u);
        for (size_t i = 0; i < sent.size(); ++i) {
            EXPECT_NEAR(rig.transfer.transfer_units[i], sent[i].first, 1e-12);
            EXPECT_NEAR(rig.transfer.transfer_temperatures[i], sent[i].second, 1e-12);
        }
        EXPECT_EQ(rig.transfer.transfer_units[sent.size()], 0.0);  // beyond the curve: zeros
        EXPECT_EQ(rig.curve.sensor_units, before.sensor_units);
        EXPECT_EQ(rig.curve.temperatures, before.temperatures);
    }
}

TEST(Scaling, FactorsFromTheDialogTexts) {
    // code, the three box texts, and the factors OK takes (offset, units, temperature; all 0:
    // refused with "Enter a valid number.").
    const std::vector<
        std::tuple<int, const char*, const char*, const char*, double, double, double>>
        rows = {
            {1, "45", "0.1", "0.5", 45, 0.1, 0.5},
            {2, " 15 ", "0.2", "abc", 15, 0.2, 1},  // the hidden box is not read
            {2, "abc", "0.1", "", 0, 0, 0},
            {3, "", "0,03", "", 0, 0, 0},  // files and instruments use "." only
        };
    for (const auto& [code, offset, factor, temperature, add, multiply, kelvin] : rows) {
        SCOPED_TRACE(offset);
        const auto f = scaling_factors_from_texts(code, offset, factor, temperature)
                           .value_or(ScalingFactors{0, 0, 0});
        EXPECT_EQ(std::tuple(f.units_offset, f.units_factor, f.temperature_factor),
                  std::tuple(add, multiply, kelvin));
    }
}

}  // namespace
}  // namespace kelvara::test
