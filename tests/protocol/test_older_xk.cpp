// ELK, DUN and KIP: two-digit locations, the header field, the waits per procedure and bus,
// the "XDT" memory checks, and the "XD" reply.
#include <gtest/gtest.h>

#include "test_older_fakes.h"

namespace kelvara::test {
namespace {

using Log = std::vector<std::string>;
constexpr auto KIP = InstrumentModel::KIP, DUN = InstrumentModel::DUN, ELK = InstrumentModel::ELK;
constexpr auto GPIB = Interface::GPIB, RS232 = Interface::RS232, NONE = Interface::None;

std::vector<std::pair<double, double>> diode_points(int n) {
    std::vector<std::pair<double, double>> p;
    for (int k = 0; k < n; ++k) p.push_back({0.1 + 0.15 * k, 300.0 - 25.0 * k});
    return p;
}

// "XDT" answers the free bytes followed by " BYTES FREE" (11 characters), the last answer
// repeating.
Responder bytes_free(std::vector<std::string> answers) {
    auto left = std::make_shared<std::vector<std::string>>(std::move(answers));
    return [left](const std::string& line) -> std::string {
        if (line != "XDT") return "";
        const std::string r = left->empty() ? "9000" : left->front();
        if (left->size() > 1) left->erase(left->begin());
        return r + " BYTES FREE,0\r\n";
    };
}

TEST(OlderXkWrite, KipOverRs232WaitsExactlyAsItsRowSays) {
    OlderRig rig(KIP, RS232, bytes_free({}));
    rig.set_points(diode_points(10));
    rig.header.name = "PT-100";
    rig.header.serial_number = "A1";
    OlderRig::pick(rig.picks.write, 4);
    rig.write();

    ASSERT_EQ(rig.log.size(), 2u * 10 + 2);
    EXPECT_EQ(rig.log[0], "XK04*");
    EXPECT_EQ(rig.log[2], "XC04, 00PT-100A1,0.10000,300.0,0.25000,275.0*");
    EXPECT_EQ(rig.log[4], "XE04,0.40000,250.0*");
    EXPECT_EQ(rig.log[18], "XE04,1.45000,075.0*");
    // No memory checks: the only "XDT" is the catalogue after the write.
    EXPECT_EQ(std::count(rig.log.begin(), rig.log.end(), "XDT"), 1);
    EXPECT_EQ(rig.log[20], "XDT");
    ASSERT_EQ(rig.clock.pauses.size(), 11u);
    double written = 0;
    for (std::size_t i = 0; i < 10; ++i) written += rig.clock.pauses[i];
    EXPECT_NEAR(written, 0.6 + 9 * 0.75, 1e-9);
    EXPECT_EQ(rig.log[1], "wait 0.6");
    EXPECT_EQ(std::count(rig.log.begin(), rig.log.end(), "wait 0.75"), 9);
    EXPECT_EQ(rig.progress.labels.front(), "PERCENT COMPLETED: 22.2%");
    EXPECT_EQ(rig.progress.labels.back(), "PERCENT COMPLETED: 100.0%");
}

TEST(OlderXkWrite, ElkAndDunMemoryChecksAndStops) {
    struct Row {
        const char* what;
        InstrumentModel model;
        Interface bus;
        int location;
        std::vector<std::string> free;
        std::string log;
        std::string message;
    };
    const std::string xc = ", 00no nameno num,0.10000,300.0,0.25000,275.0*";
    const std::vector<Row> rows = {
        // clang-format off
        {"ELK over GPIB: once before and once per further point", ELK, GPIB, 6, {},
         "XDT|wait 0.1|XK06*|wait 0.1|XC06" + xc + "|wait 0.1|XDT|wait 0.1|"
         "XE06,0.40000,250.0*|wait 0.1|XDT|wait 0.1", ""},
        {"DUN over RS-232", DUN, RS232, 12, {},
         "XDT|wait 6|XK12*|wait 0.6|XC12" + xc + "|wait 0.6|XDT|wait 6|"
         "XE12,0.40000,250.0*|wait 0.6|XDT|wait 6", ""},
        {"99 bytes at the start", ELK, GPIB, 6, {"99"}, "XDT|wait 0.1",
         "Not enough remaining memory to write curve to the instrument."},
        {"100 bytes start, 10 take a point, 9 stop", DUN, GPIB, 6, {"100", "10", "9"},
         "XDT|wait 0.1|XK06*|wait 0.1|XC06" + xc + "|wait 0.1|XDT|wait 0.1|"
         "XE06,0.40000,250.0*|wait 0.1|XDT|wait 0.1",
         "Not enough remaining memory to write all of curve to the instrument."},
        // clang-format on
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(row.model, row.bus, bytes_free(row.free));
        rig.set_points(diode_points(row.free.size() < 3 ? 3 : 4));
        OlderRig::pick(rig.picks.write, row.location);
        rig.write();
        EXPECT_EQ(rig.log, entries(row.log));
        EXPECT_EQ(rig.prompts.texts(), entries(row.message));
    }
}

TEST(OlderXkWrite, HeaderFieldCodes) {
    struct Row {
        const char* interpolation;
        const char* setpoint;
        bool checked;
        std::string remembered;
        std::string codes;
    };
    const std::vector<Row> rows = {
        {"Lagrangian", "999", true, "", "L49"},
        {"Straight Line", "325", false, "5", " 05"},  // blank, then the remembered character
        {"Unknown", "1273", true, "5", " 99"},        // the checked box wins
        {"Unknown", "800", false, "", " 30"},         // nothing remembered
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.codes);
        OlderRig rig(KIP, RS232);
        rig.set_points(diode_points(2));
        rig.header.interpolation.selected = rig.header.interpolation.find(row.interpolation);
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find(row.setpoint);
        rig.header.thermocouple = row.checked;
        rig.transfer.thermocouple_char = row.remembered;
        rig.header.name = "N";
        rig.header.serial_number = "S";
        OlderRig::pick(rig.picks.write, 15);
        rig.write();
        ASSERT_GE(rig.log.size(), 3u);
        EXPECT_EQ(rig.log[2], "XC15," + row.codes + "NS,0.10000,300.0,0.25000,275.0*");
    }
}

TEST(OlderXkWrite, KipGpibFailureNamesTheCommand) {
    for (std::string command : {"XK", "XC", "XE"}) {
        SCOPED_TRACE(command);
        OlderRig rig(KIP, GPIB);
        rig.refuse = [&](const std::string& line) { return line.rfind(command, 0) == 0; };
        rig.set_points(diode_points(4));
        rig.write();
        EXPECT_EQ(rig.prompts.texts(),
                  Log{"Problem talking to instrument after " + command + " command."});
        EXPECT_EQ(rig.log.back().rfind(command, 0), 0u);  // nothing after the refused line
    }
}

TEST(OlderXk, QueryBytesFree) {
    struct Row {
        const char* what;
        Interface bus;
        std::string reply;
        bool refused;
        int bytes;
        std::string message;
    };
    const std::vector<Row> rows = {
        // clang-format off
        {"number before eleven characters", RS232, "12345 BYTES FREE,1,2\r\n", false, 12345, ""},
        {"over GPIB", GPIB, "777ABCDEFGHIJK,", false, 777, ""},
        {"a first field of eleven characters", RS232, " BYTES FREE,1\r\n", false, 0, ""},
        {"no comma", RS232, "12345 BYTES FREE\r\n", false, 0, ""},
        {"GPIB write refused", GPIB, "", true, 0, "Problem talking to instrument."},
        {"offline", NONE, "", false, 0, "Invalid communication interface."},
        // clang-format on
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(DUN, row.bus,
                     [&](const std::string& line) { return line == "XDT" ? row.reply : ""; });
        rig.refuse = [&](const std::string&) { return row.refused; };
        EXPECT_EQ(query_bytes_free(rig.session), row.bytes);
        EXPECT_EQ(rig.prompts.texts(), entries(row.message));
    }
}

TEST(OlderXkRead, ReplyCutting) {
    struct Row {
        std::string reply;
        std::string interpolation, setpoint, name, serial;
        bool thermocouple;
        std::string remembered;
        int points;
    };
    const std::vector<Row> rows = {
        // clang-format off
        {"05,L05TYPE-K   AB12,N,4,0,0,1.5,10,2.5,20,0,0\r\n",
         "Lagrangian", "325", "TYPE-K   ", "AB12", false, "5", 2},
        // A blank selects Straight Line; setpoint code 7 leaves the list.
        {"05, 79THERMOCOUPLE123,P,3,0,0,-3.5,30,0,0\r\n",
         "Straight Line", "475", "TCOUPLE", "123", true, "9", 1},
        // clang-format on
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reply);
        OlderRig rig(KIP, RS232,
                     [&](const std::string& line) { return line == "XD05" ? row.reply : ""; });
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find("475");
        OlderRig::pick(rig.picks.read, 5);
        rig.read();
        EXPECT_EQ(rig.log, entries("XD05|wait 0.6"));
        EXPECT_TRUE(rig.prompts.shown.empty());
        EXPECT_EQ(rig.header.interpolation.text(), row.interpolation);
        EXPECT_EQ(rig.header.setpoint_list.text(), row.setpoint);
        EXPECT_EQ(rig.header.name, row.name);
        EXPECT_EQ(rig.header.serial_number, row.serial);
        EXPECT_EQ(rig.header.thermocouple, row.thermocouple);
        EXPECT_EQ(rig.transfer.thermocouple_char, row.remembered);
        EXPECT_EQ(rig.curve.breakpoint_count, row.points);
    }
}

TEST(OlderXkRead, ReadThenWriteBackSendsTheRememberedCharacter) {
    for (bool checked : {false, true}) {
        SCOPED_TRACE(checked ? "box checked" : "box unchecked");
        OlderRig rig(ELK, GPIB, [](const std::string& line) -> std::string {
            if (line == "XD07") return "07,L25TYPE-E   XY,N,4,0,0,1.5,10,2.5,20,0,0\r\n";
            return line == "XDT" ? "5000 BYTES FREE,\r\n" : "";
        });
        OlderRig::pick(rig.picks.read, 7);
        rig.read();
        ASSERT_FALSE(rig.header.thermocouple);
        rig.header.thermocouple = checked;
        OlderRig::pick(rig.picks.write, 7);
        rig.log.clear();
        rig.write();
        ASSERT_GE(rig.log.size(), 5u);
        EXPECT_EQ(rig.log[4], std::string("XC07,L2") + (checked ? "9" : "5") +
                                  "TYPE-E   XY,1.50000,010.0,2.50000,020.0*");
    }
}

TEST(OlderXkRead, NoCurvePresent) {
    for (std::string reply : {"09,12000 BYTES FREE,\r\n", "10,L00A,N,3,0,0,1,1,0,0\r\n", ""}) {
        SCOPED_TRACE(reply);
        OlderRig rig(DUN, GPIB, [&](const std::string&) { return reply; });
        rig.set_points(diode_points(5));
        OlderRig::pick(rig.picks.read, 9);
        rig.read();
        EXPECT_EQ(rig.log, entries("XD09|wait 0.1"));
        EXPECT_EQ(rig.prompts.texts(), Log{"No curve present."});
        EXPECT_EQ(rig.curve.breakpoint_count, 5);
    }
}

TEST(OlderXkDelete, EraseWithTwoDigitsAndBareNumberEntries) {
    for (Interface bus : {RS232, GPIB}) {
        SCOPED_TRACE(bus == GPIB ? "GPIB" : "RS-232");
        OlderRig rig(KIP, bus);
        for (ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
            for (auto& e : l->entries)
                if (e == "5") e = "5 - OLD";
        OlderRig::pick(rig.picks.remove, 5);
        rig.remove();
        EXPECT_EQ(rig.log, entries(bus == GPIB ? "XK05*|wait 0.1" : "XK05*|wait 0.6"));
        EXPECT_EQ(rig.picks.remove.find("5"), 1);  // KIP writes to 4..15
        EXPECT_EQ(rig.picks.write.find("5"), 1);
        EXPECT_EQ(rig.picks.read.find("5"), 5);
        EXPECT_EQ(rig.picks.remove.selected, 0);
    }
}

}  // namespace
}  // namespace kelvara::test
