// ELK, DUN and KIP: two-digit locations, the header field, the waits per procedure and bus,
// the "XDT" memory checks, and the "XD" reply.
#include <gtest/gtest.h>

#include <numeric>

#include "test_older_fakes.h"

namespace kelvara::test {
namespace {

using Log = std::vector<std::string>;

std::vector<std::pair<double, double>> diode_points(int n) {
    std::vector<std::pair<double, double>> p;
    for (int k = 0; k < n; ++k) p.push_back({0.1 + 0.15 * k, 300.0 - 25.0 * k});
    return p;
}

// "XDT" answers with the free bytes followed by " BYTES FREE" (11 characters), then the catalogue.
Responder with_free(std::vector<std::string> free) {
    auto left = std::make_shared<std::vector<std::string>>(std::move(free));
    return [left](const std::string& line) -> std::string {
        if (line != "XDT") return "";
        std::string r = left->empty() ? "9000" : left->front();
        if (left->size() > 1) left->erase(left->begin());
        return r + " BYTES FREE,0\r\n";
    };
}

bool is_wait(const std::string& e) {
    return e.rfind("wait ", 0) == 0;
}

TEST(OlderXkWrite, KipOverRs232WaitsExactlyAsItsRowSays) {
    OlderRig rig(InstrumentModel::KIP, Interface::RS232, with_free({}));
    rig.set_points(diode_points(10));
    rig.header.name = "PT-100";
    rig.header.serial_number = "A1";
    OlderRig::pick(rig.picks.write, 4);
    write_for(rig);

    ASSERT_EQ(rig.log.size(), 2u * 10 + 2);
    EXPECT_EQ(rig.log[0], "XK04*");
    EXPECT_EQ(rig.log[2], "XC04, 00PT-100A1,0.10000,300.0,0.25000,275.0*");
    EXPECT_EQ(rig.log[4], "XE04,0.40000,250.0*");
    EXPECT_EQ(rig.log[18], "XE04,1.45000,075.0*");
    // The only "XDT" is the catalogue that follows the write.
    EXPECT_EQ(std::count(rig.log.begin(), rig.log.end(), "XDT"), 1);
    EXPECT_EQ(rig.log[20], "XDT");
    double before_catalogue = 0;
    Log waits;
    for (std::size_t i = 0; i < 20; ++i)
        if (is_wait(rig.log[i])) waits.push_back(rig.log[i]);
    for (std::size_t i = 0; i < 20; ++i)
        if (is_wait(rig.log[i])) before_catalogue += parse_leading_number(rig.log[i].substr(5));
    EXPECT_EQ(waits.front(), "wait 0.6");
    EXPECT_EQ(std::count(waits.begin(), waits.end(), "wait 0.75"), 9);
    EXPECT_NEAR(before_catalogue, 0.6 + 9 * 0.75, 1e-9);
    EXPECT_EQ(rig.progress.labels.back(), "PERCENT COMPLETED: 100.0%");
    EXPECT_EQ(rig.progress.labels.front(), "PERCENT COMPLETED: 22.2%");
}

TEST(OlderXkWrite, ElkAndDunAskForMemoryOnceBeforeAndOncePerFurtherPoint) {
    struct Row {
        const char* what;
        InstrumentModel model;
        Interface bus;
        int location;
        Log expected;
    };
    const std::string xc = "XC06, 00no nameno num,0.10000,300.0,0.25000,275.0*";
    const std::vector<Row> rows = {
        {"ELK over GPIB, location 6",
         InstrumentModel::ELK,
         Interface::GPIB,
         6,
         {"XDT", "wait 0.1", "XK06*", "wait 0.1", xc, "wait 0.1", "XDT", "wait 0.1",
          "XE06,0.40000,250.0*", "wait 0.1", "XDT", "wait 0.1"}},
        {"DUN over RS-232, location 12",
         InstrumentModel::DUN,
         Interface::RS232,
         12,
         {"XDT", "wait 6", "XK12*", "wait 0.6",
          "XC12, 00no nameno num,0.10000,300.0,0.25000,275.0*", "wait 0.6", "XDT", "wait 6",
          "XE12,0.40000,250.0*", "wait 0.6", "XDT", "wait 6"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(row.model, row.bus, with_free({}));
        rig.set_points(diode_points(3));
        OlderRig::pick(rig.picks.write, row.location);
        write_for(rig);
        EXPECT_EQ(rig.log, row.expected);
        EXPECT_TRUE(rig.prompts.shown.empty());
    }
}

TEST(OlderXkWrite, MemoryStops) {
    struct Row {
        const char* what;
        std::vector<std::string> free;
        std::size_t commands;
        std::string message;
    };
    const std::vector<Row> rows = {
        {"99 bytes at the start",
         {"99"},
         1,
         "Not enough remaining memory to write curve to the instrument."},
        {"9 bytes before the third point",
         {"100", "9"},
         4,
         "Not enough remaining memory to write all of curve to the instrument."},
        {"10 bytes are enough",
         {"100", "10", "9"},
         6,
         "Not enough remaining memory to write all of curve to the instrument."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(InstrumentModel::ELK, Interface::GPIB, with_free(row.free));
        rig.set_points(diode_points(4));
        write_for(rig);
        EXPECT_EQ(
            std::count_if(rig.log.begin(), rig.log.end(), [](auto& e) { return !is_wait(e); }),
            static_cast<long>(row.commands));
        EXPECT_EQ(rig.prompts.texts(), Log{row.message});
    }
}

TEST(OlderXkWrite, HeaderFieldCodes) {
    struct Row {
        const char* what;
        const char* interpolation;
        const char* setpoint;
        bool checked;
        std::string remembered;
        std::string codes;
    };
    const std::vector<Row> rows = {
        {"Lagrangian, 999 K, box checked", "Lagrangian", "999", true, "", "L49"},
        {"Straight Line starts with a blank; remembered 5", "Straight Line", "325", false, "5",
         " 05"},
        {"checked box wins over the remembered character", "Unknown", "1273", true, "5", " 99"},
        {"nothing remembered", "Unknown", "800", false, "", " 30"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(InstrumentModel::KIP, Interface::RS232);
        rig.set_points(diode_points(2));
        rig.header.interpolation.selected = rig.header.interpolation.find(row.interpolation);
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find(row.setpoint);
        rig.header.thermocouple = row.checked;
        rig.transfer.thermocouple_char = row.remembered;
        rig.header.name = "N";
        rig.header.serial_number = "S";
        OlderRig::pick(rig.picks.write, 15);
        write_for(rig);
        ASSERT_GE(rig.log.size(), 3u);
        EXPECT_EQ(rig.log[2], "XC15," + row.codes + "NS,0.10000,300.0,0.25000,275.0*");
    }
}

TEST(OlderXkWrite, KipGpibFailureNamesTheCommand) {
    struct Row {
        const char* refused;
        const char* message;
    };
    const std::vector<Row> rows = {
        {"XK", "Problem talking to instrument after XK command."},
        {"XC", "Problem talking to instrument after XC command."},
        {"XE", "Problem talking to instrument after XE command."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.refused);
        OlderRig rig(InstrumentModel::KIP, Interface::GPIB);
        rig.refuse = [&](const std::string& line) { return line.rfind(row.refused, 0) == 0; };
        rig.set_points(diode_points(4));
        write_for(rig);
        EXPECT_EQ(rig.prompts.texts(), Log{row.message});
        EXPECT_EQ(rig.log.back().rfind(row.refused, 0), 0u);  // nothing after the refused line
    }
}

TEST(OlderXk, QueryBytesFree) {
    struct Row {
        const char* what;
        Interface bus;
        std::string reply;
        bool refused;
        int bytes;
        Log messages;
    };
    const std::vector<Row> rows = {
        {"number before eleven characters",
         Interface::RS232,
         "12345 BYTES FREE,1,2\r\n",
         false,
         12345,
         {}},
        {"over GPIB", Interface::GPIB, "777ABCDEFGHIJK,", false, 777, {}},
        {"a first field of eleven characters", Interface::RS232, " BYTES FREE,1\r\n", false, 0, {}},
        {"no comma", Interface::RS232, "12345 BYTES FREE\r\n", false, 0, {}},
        {"GPIB write refused", Interface::GPIB, "", true, 0, {"Problem talking to instrument."}},
        {"offline", Interface::None, "", false, 0, {"Invalid communication interface."}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(InstrumentModel::DUN, row.bus,
                     [&](const std::string& line) { return line == "XDT" ? row.reply : ""; });
        rig.refuse = [&](const std::string&) { return row.refused; };
        EXPECT_EQ(query_bytes_free(rig.session), row.bytes);
        EXPECT_EQ(rig.prompts.texts(), row.messages);
    }
}

TEST(OlderXkRead, ReplyCuttingAndRememberedCharacter) {
    struct Row {
        const char* what;
        std::string reply;
        std::string interpolation, setpoint, name, serial;
        bool thermocouple;
        std::string remembered;
        std::size_t points;
    };
    const std::vector<Row> rows = {
        {"Lagrangian, thermocouple character 5",
         "05,L05TYPE-K   AB12,N,4,0,0,1.5,10,2.5,20,0,0\r\n", "Lagrangian", "325", "TYPE-K   ",
         "AB12", false, "5", 2},
        {"blank interpolation, box character 9, setpoint 7 ignored",
         "05, 79THERMOCOUPLE123,P,3,0,0,-3.5,30,0,0\r\n", "Straight Line", "475", "TCOUPLE", "123",
         true, "9", 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(InstrumentModel::KIP, Interface::RS232,
                     [&](const std::string& line) { return line == "XD05" ? row.reply : ""; });
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find("475");
        OlderRig::pick(rig.picks.read, 5);
        read_for(rig);
        EXPECT_EQ(rig.log, (Log{"XD05", "wait 0.6"}));
        EXPECT_TRUE(rig.prompts.shown.empty());
        EXPECT_EQ(rig.header.interpolation.text(), row.interpolation);
        EXPECT_EQ(rig.header.setpoint_list.text(), row.setpoint);
        EXPECT_EQ(rig.header.name, row.name);
        EXPECT_EQ(rig.header.serial_number, row.serial);
        EXPECT_EQ(rig.header.thermocouple, row.thermocouple);
        EXPECT_EQ(rig.transfer.thermocouple_char, row.remembered);
        EXPECT_EQ(rig.curve.breakpoint_count, static_cast<int>(row.points));
    }
}

TEST(OlderXkRead, ReadThenWriteBackSendsTheRememberedCharacter) {
    for (bool checked : {false, true}) {
        SCOPED_TRACE(checked ? "box checked" : "box unchecked");
        OlderRig rig(InstrumentModel::ELK, Interface::GPIB,
                     [](const std::string& line) -> std::string {
                         if (line == "XD07")
                             return "07,L25TYPE-E   XY,N,4,0,0,1.5,10,2.5,20,0,0\r\n";
                         return line == "XDT" ? "5000 BYTES FREE,\r\n" : "";
                     });
        OlderRig::pick(rig.picks.read, 7);
        read_for(rig);
        ASSERT_FALSE(rig.header.thermocouple);
        rig.header.thermocouple = checked;
        OlderRig::pick(rig.picks.write, 7);
        rig.log.clear();
        write_for(rig);
        ASSERT_GE(rig.log.size(), 5u);
        EXPECT_EQ(rig.log[4], std::string("XC07,L2") + (checked ? "9" : "5") +
                                  "TYPE-E   XY,1.50000,010.0,2.50000,020.0*");
    }
}

TEST(OlderXkRead, NoCurvePresent) {
    struct Row {
        const char* what;
        std::string reply;
    };
    const std::vector<Row> rows = {
        {"empty location", "09,12000 BYTES FREE,\r\n"},
        {"another location", "10,L00A,N,3,0,0,1,1,0,0\r\n"},
        {"nothing", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(InstrumentModel::DUN, Interface::GPIB,
                     [&](const std::string&) { return row.reply; });
        rig.set_points(diode_points(5));
        OlderRig::pick(rig.picks.read, 9);
        read_for(rig);
        EXPECT_EQ(rig.log, (Log{"XD09", "wait 0.1"}));
        EXPECT_EQ(rig.prompts.texts(), Log{"No curve present."});
        EXPECT_EQ(rig.curve.breakpoint_count, 5);
    }
}

TEST(OlderXkDelete, EraseWithTwoDigitsAndBareNumberEntries) {
    for (Interface bus : {Interface::RS232, Interface::GPIB}) {
        SCOPED_TRACE(bus == Interface::GPIB ? "GPIB" : "RS-232");
        OlderRig rig(InstrumentModel::KIP, bus);
        for (ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
            for (auto& e : l->entries)
                if (e == "5") e = "5 - OLD";
        OlderRig::pick(rig.picks.remove, 5);
        delete_for(rig);
        EXPECT_EQ(rig.log, (Log{"XK05*", bus == Interface::GPIB ? "wait 0.1" : "wait 0.6"}));
        EXPECT_EQ(rig.picks.remove.find("5"), 1);  // KIP writes to 4..15
        EXPECT_EQ(rig.picks.write.find("5"), 1);
        EXPECT_EQ(rig.picks.read.find("5"), 5);
        EXPECT_EQ(rig.picks.remove.selected, 0);
    }
}

}  // namespace
}  // namespace kelvara::test
