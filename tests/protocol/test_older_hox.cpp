// HOX: the ten-minute write in virtual time, the serial number, and point-by-point reading.
#include <gtest/gtest.h>

#include <numeric>

#include "test_older_fakes.h"

namespace kelvara::test {
namespace {

using Log = std::vector<std::string>;

TEST(OlderHox, WriteSendsEveryGridPointThenTheSerialNumber) {
    OlderRig rig(InstrumentModel::HOX, Interface::RS232);
    rig.curve.temperatures[0] = 325.5;
    rig.curve.temperatures[1] = 301.25;
    rig.curve.temperatures[191] = 1.4;  // the slots between stay empty and go out as zero
    rig.header.serial_number = "1234567890";
    rig.write();

    Log commands, waits;
    for (const auto& e : rig.log) (e.rfind("wait ", 0) == 0 ? waits : commands).push_back(e);
    ASSERT_EQ(commands.size(), 194u);
    EXPECT_EQ(commands[0], "ERASE!");
    EXPECT_EQ(commands[1], "C0.00,325.500");
    EXPECT_EQ(commands[2], "C0.02,301.250");
    EXPECT_EQ(commands[3], "C0.04,000.000");
    EXPECT_EQ(commands[150], "C2.98,000.000");
    EXPECT_EQ(commands[151], "C3.00,000.000");
    EXPECT_EQ(commands[175], "C3.96,000.000");
    EXPECT_EQ(commands[176], "C4.00,000.000");
    EXPECT_EQ(commands[192], "C5.60,001.400");
    EXPECT_EQ(commands[193], "SID12345678");
    // Each command is followed by its own wait.
    for (std::size_t i = 0; i < rig.log.size(); i += 2) EXPECT_EQ(rig.log[i], commands[i / 2]);
    EXPECT_EQ(waits.front(), "wait 20.1");
    EXPECT_EQ(std::count(waits.begin(), waits.end(), "wait 3.1"), 193);
    EXPECT_NEAR(rig.waited(), 20.1 + 192 * 3.1 + 3.1, 1e-9);
    ASSERT_EQ(rig.progress.labels.size(), 192u);
    EXPECT_EQ(rig.progress.labels[0], "PERCENT COMPLETED: 0.5%");
    EXPECT_EQ(rig.progress.labels.back(), "PERCENT COMPLETED: 100.0%");
    EXPECT_TRUE(rig.prompts.shown.empty());
}

TEST(OlderHox, ReadTakesTheSerialAndOneTemperaturePerGridPoint) {
    OlderRig rig(InstrumentModel::HOX, Interface::RS232,
                 [](const std::string& line) -> std::string {
                     if (line == "SID?") return "HX-0042\r\n";
                     if (line == "C?0.00") return "325.125\r\n";
                     if (line == "C?0.02") return "abc\r\n";
                     if (line == "C?5.60") return "";  // silent: empty after the 10 s limit
                     if (line.rfind("C?", 0) == 0) return "+12.5E+0\r\n";
                     return "";
                 });
    rig.header.serial_number = "OLD";
    rig.read();

    EXPECT_EQ(rig.header.serial_number, "HX-0042");
    ASSERT_EQ(rig.log.size(), 2u + 2 * 192);
    EXPECT_EQ(rig.log[0], "SID?");
    EXPECT_EQ(rig.log[1], "wait 3.1");
    EXPECT_EQ(rig.log[2], "C?0.00");
    EXPECT_EQ(rig.log[3], "wait 0.6");
    EXPECT_EQ(rig.log.back(), "wait 0.6");
    EXPECT_EQ(rig.log[rig.log.size() - 2], "C?5.60");
    EXPECT_EQ(rig.curve.breakpoint_count, 192);
    EXPECT_DOUBLE_EQ(rig.curve.temperatures[0], 325.125);
    EXPECT_DOUBLE_EQ(rig.curve.temperatures[1], 0.0);
    EXPECT_DOUBLE_EQ(rig.curve.temperatures[100], 12.5);
    EXPECT_DOUBLE_EQ(rig.curve.temperatures[191], 0.0);
    EXPECT_DOUBLE_EQ(rig.curve.sensor_units[191], 5.6);
    EXPECT_EQ(rig.prompts.texts(), (Log{"Bad data point: abc", "Bad data point: "}));
    EXPECT_EQ(rig.progress.labels.back(), "NUMBER OF POINTS READ: 192");
    EXPECT_EQ(rig.views.graphs, 1);
    EXPECT_EQ(rig.views.grids, 1);
}

TEST(OlderHox, DeleteAndTheSerialLineOnly) {
    struct Row {
        const char* what;
        Interface bus;
        Log expected;
        Log messages;
    };
    const std::vector<Row> rows = {
        {"erase over RS-232", Interface::RS232, {"ERASE!", "wait 20.1"}, {}},
        {"no serial line", Interface::None, {}, {"Invalid communication interface."}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(InstrumentModel::HOX, row.bus);
        rig.remove();
        EXPECT_EQ(rig.log, row.expected);
        EXPECT_EQ(rig.prompts.texts(), row.messages);
    }
}

TEST(OlderHox, ASerialNumberAtTheReplyCarriageReturn) {
    OlderRig rig(InstrumentModel::HOX, Interface::RS232,
                 [](const std::string& line) { return line == "SID?" ? "AB\rCD\n" : "1\r\n"; });
    rig.read();
    EXPECT_EQ(rig.header.serial_number, "AB");
}

}  // namespace
}  // namespace kelvara::test
