// KOR, LUM and NAV: the command lines and waits of a write, read and delete, the free-memory
// stops, and how the one-line "CURV?" reply becomes the open curve.
#include <gtest/gtest.h>

#include "test_older_fakes.h"

namespace kelvara::test {
namespace {

using Log = std::vector<std::string>;

const std::vector<std::pair<double, double>> kDiode = {
    {0.09062, 475.0}, {0.5, 300.0}, {1.2, 20.0}, {1.6, 4.2}};

Responder nav_with_free(std::vector<std::string> free_replies) {
    auto left = std::make_shared<std::vector<std::string>>(std::move(free_replies));
    return [left](const std::string& line) -> std::string {
        if (line != "FREE?") return "";
        std::string r = left->empty() ? "5000" : left->front();
        if (left->size() > 1) left->erase(left->begin());
        return r + "\r\n";
    };
}

void fill_header(OlderRig& rig) {
    rig.header.name = "ABCDEFGHIJKL";  // 12 characters: 9 go out
    rig.header.serial_number = "12345678";
    rig.header.setpoint_list.selected = rig.header.setpoint_list.find("1273");
    rig.header.thermocouple = true;
}

TEST(OlderKcurWrite, CommandLinesAndWaitsPerModelAndBus) {
    struct Row {
        const char* what;
        InstrumentModel model;
        Interface bus;
        Log expected;
    };
    const std::string h = "99ABCDEFGHI123456,0.09062,475.0,0.50000,300.0*";
    const std::vector<Row> rows = {
        {"KOR waits 1.1 s and has no blank before 11",
         InstrumentModel::KOR,
         Interface::RS232,
         {"KCUR11", "wait 1.1", "CURV11,S" + h, "wait 1.1", "ECUR11,1.20000,020.0", "wait 1.1",
          "ECUR11,1.60000,004.2", "wait 1.1", "CUID?", "wait 1.1"}},
        {"LUM waits 0.6 s and has a blank in its header command",
         InstrumentModel::LUM,
         Interface::RS232,
         {"KCUR11", "wait 0.6", "CURV 11,S" + h, "wait 0.6", "ECUR11,1.20000,020.0", "wait 0.6",
          "ECUR11,1.60000,004.2", "wait 0.6", "CUID?", "wait 1.1"}},
        {"NAV over GPIB checks memory before the write and before each further point",
         InstrumentModel::NAV,
         Interface::GPIB,
         {"FREE?", "wait 0.1", "KCUR 23", "wait 0.1", "CURV 23,S" + h, "wait 0.1", "FREE?",
          "wait 0.1", "ECUR 23,1.20000,020.0", "wait 0.1", "FREE?", "wait 0.1",
          "ECUR 23,1.60000,004.2", "wait 0.1", "CUID?", "wait 0.1"}},
        {"NAV over RS-232",
         InstrumentModel::NAV,
         Interface::RS232,
         {"FREE?", "wait 0.6", "KCUR 23", "wait 0.6", "CURV 23,S" + h, "wait 0.6", "FREE?",
          "wait 0.6", "ECUR 23,1.20000,020.0", "wait 0.6", "FREE?", "wait 0.6",
          "ECUR 23,1.60000,004.2", "wait 0.6", "CUID?", "wait 1.1"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(row.model, row.bus, nav_with_free({}));
        rig.set_points(kDiode);
        fill_header(rig);
        OlderRig::pick(rig.picks.write, 23);
        write_for(rig);
        EXPECT_EQ(rig.log, row.expected);
        EXPECT_TRUE(rig.prompts.shown.empty());
        EXPECT_TRUE(rig.scaling.asked.empty());  // diode volts below 10 go out as they are
        EXPECT_EQ(rig.progress.labels,
                  (Log{"PERCENT COMPLETED: 66.7%", "PERCENT COMPLETED: 100.0%"}));
    }
}

TEST(OlderKcurWrite, NavFreeMemoryStops) {
    struct Row {
        const char* what;
        std::vector<std::string> free;
        Log expected;
        std::string message;
    };
    const std::vector<Row> rows = {
        {"below 100 at the start: nothing is sent",
         {"99"},
         {"FREE?", "wait 0.1"},
         "Not enough remaining memory to write curve to the instrument."},
        {"100 is enough to start; below 10 before a point stops there",
         {"100", "9"},
         {"FREE?", "wait 0.1", "KCUR 11", "wait 0.1",
          "CURV 11,S00no nameno num,0.09062,475.0,"
          "0.50000,300.0*",
          "wait 0.1", "FREE?", "wait 0.1"},
         "Not enough remaining memory to write all of curve to the instrument."},
        {"10 left is still enough for a point",
         {"100", "10", "9"},
         {"FREE?", "wait 0.1", "KCUR 11", "wait 0.1",
          "CURV 11,S00no nameno num,0.09062,475.0,0.50000,300.0*", "wait 0.1", "FREE?", "wait 0.1",
          "ECUR 11,1.20000,020.0", "wait 0.1", "FREE?", "wait 0.1"},
         "Not enough remaining memory to write all of curve to the instrument."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(InstrumentModel::NAV, Interface::GPIB, nav_with_free(row.free));
        rig.set_points(kDiode);
        write_for(rig);
        EXPECT_EQ(rig.log, row.expected);
        EXPECT_EQ(rig.prompts.texts(), Log{row.message});
    }
}

TEST(OlderKcurWrite, ShortCurvesAndRefusedInterfaces) {
    struct Row {
        const char* what;
        InstrumentModel model;
        Interface bus;
        std::size_t points;
        Log expected;
        Log messages;
    };
    const std::vector<Row> rows = {
        {"one point: nothing sent, nothing said",
         InstrumentModel::KOR,
         Interface::RS232,
         1,
         {},
         {}},
        {"two points: erase and header only",
         InstrumentModel::KOR,
         Interface::RS232,
         2,
         {"KCUR11", "wait 1.1", "CURV11,S00no nameno num,0.09062,475.0,0.50000,300.0*", "wait 1.1",
          "CUID?", "wait 1.1"},
         {}},
        {"KOR is not reached over GPIB",
         InstrumentModel::KOR,
         Interface::GPIB,
         4,
         {},
         {"Invalid communication interface."}},
        {"LUM is not reached over GPIB",
         InstrumentModel::LUM,
         Interface::GPIB,
         4,
         {},
         {"Invalid communication interface."}},
        // The free-memory query comes first and already finds no link.
        {"NAV offline",
         InstrumentModel::NAV,
         Interface::None,
         4,
         {},
         {"Invalid communication interface.",
          "Not enough remaining memory to write curve to the instrument."}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(row.model, row.bus);
        rig.set_points({kDiode.begin(), kDiode.begin() + static_cast<long>(row.points)});
        write_for(rig);
        EXPECT_EQ(rig.log, row.expected);
        EXPECT_EQ(rig.prompts.texts(), row.messages);
        EXPECT_TRUE(rig.progress.labels.empty());
    }
}

TEST(OlderKcurWrite, EmptyFieldsAreFilledBeforeTheInterfaceIsChecked) {
    OlderRig rig(InstrumentModel::KOR, Interface::None);
    rig.set_points(kDiode);
    write_for(rig);
    EXPECT_EQ(rig.header.name, "no name");
    EXPECT_EQ(rig.header.serial_number, "no number");
    EXPECT_EQ(rig.prompts.texts(), Log{"Invalid communication interface."});
}

TEST(OlderKcurWrite, NavGpibRefusalStopsAtThatCommand) {
    OlderRig rig(InstrumentModel::NAV, Interface::GPIB, nav_with_free({}));
    rig.refuse = [](const std::string& line) { return line.rfind("CURV", 0) == 0; };
    rig.set_points(kDiode);
    write_for(rig);
    ASSERT_EQ(rig.log.size(), 5u);  // FREE?, wait, KCUR, wait, CURV
    EXPECT_EQ(rig.prompts.texts(), Log{"Problem talking to instrument."});
}

TEST(OlderKcurWrite, ScaledCopyIsSentAndTheOpenCurveKept) {
    OlderRig rig(InstrumentModel::KOR, Interface::RS232);
    rig.set_points({{10.0, 30.0}, {100.0, 273.0}, {300.0, 800.0}});  // platinum: ohms / 100
    write_for(rig);
    ASSERT_EQ(rig.scaling.asked.size(), 1u);
    EXPECT_EQ(rig.scaling.asked[0].code, 4);
    ASSERT_GE(rig.log.size(), 5u);
    EXPECT_EQ(rig.log[2], "CURV11,S00no nameno num,0.10000,030.0,1.00000,273.0*");
    EXPECT_EQ(rig.log[4], "ECUR11,3.00000,800.0");
    EXPECT_EQ(rig.curve.sensor_units[2], 300.0);
}

// A reply as the instrument sends it: number, header, coefficient, count, pairs.
std::string curv_reply(const std::string& head, const std::string& pairs) {
    return head + "," + pairs + "\r\n";
}

TEST(OlderKcurRead, ReplyCutting) {
    struct Row {
        const char* what;
        std::string reply;
        std::string name, serial, setpoint;
        bool thermocouple;
        int coefficient;
        std::vector<std::pair<double, double>> points;
    };
    const std::vector<Row> rows = {
        {"count 5 gives pairs 2 to 4; code 7 leaves the setpoint list",
         curv_reply("11,S79DT-470   SN1234,N,5", "0.0,999.0,0.1,400.0,0.5,300.0,1.0,100.0,9.0,0.0"),
         "DT-470   ",
         "SN1234",
         "475",
         true,
         1,
         {{0.1, 400.0}, {0.5, 300.0}, {1.0, 100.0}}},
        {"THERMOCOUPLE in the field gives TCOUPLE and its last three characters",
         curv_reply("11,S90THERMOCOUPLE-E12,P,4", "0,0,-8.5,3.2,-2.25,77.4,0,0"),
         "TCOUPLE",
         "E12",
         "1273",
         false,
         2,
         {{-8.5, 3.2}, {-2.25, 77.4}}},
        {"a short field is the name alone",
         curv_reply("11,S10ABC,N,3", "0,0,1.5,20.5,0,0"),
         "ABC",
         "no number",
         "375",
         false,
         1,
         {{1.5, 20.5}}},
        {"an unpadded short name splits after nine characters",
         curv_reply("11,S30PT1SN98765,P,3", "0,0,2.5,120,0,0"),
         "PT1SN9876",
         "5",
         "800",
         false,
         2,
         {{2.5, 120.0}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(InstrumentModel::KOR, Interface::RS232,
                     [&](const std::string& line) { return line == "CURV? 11" ? row.reply : ""; });
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find("475");
        rig.header.thermocouple = !row.thermocouple;
        rig.curve.temperature_coefficient = row.coefficient == 1 ? 2 : 1;
        rig.header.interpolation.selected = 0;
        OlderRig::pick(rig.picks.read, 11);
        read_for(rig);
        EXPECT_EQ(rig.log, (Log{"CURV? 11", "wait 1.1"}));
        EXPECT_TRUE(rig.prompts.shown.empty());
        EXPECT_EQ(rig.header.name, row.name);
        EXPECT_EQ(rig.header.serial_number, row.serial);
        EXPECT_EQ(rig.header.setpoint_list.text(), row.setpoint);
        EXPECT_EQ(rig.header.thermocouple, row.thermocouple);
        EXPECT_EQ(rig.header.interpolation.text(), "Unknown");
        EXPECT_EQ(rig.curve.temperature_coefficient, row.coefficient);
        ASSERT_EQ(rig.curve.breakpoint_count, static_cast<int>(row.points.size()));
        for (std::size_t i = 0; i < row.points.size(); ++i) {
            EXPECT_DOUBLE_EQ(rig.curve.sensor_units[i], row.points[i].first);
            EXPECT_DOUBLE_EQ(rig.curve.temperatures[i], row.points[i].second);
        }
        EXPECT_EQ(rig.curve.sensor_units[row.points.size()], UNUSED_POINT);
        EXPECT_EQ(rig.curve.temperatures[96], UNUSED_POINT);
        EXPECT_EQ(rig.views.graphs, 1);
        EXPECT_EQ(rig.views.grids, 1);
    }
}

TEST(OlderKcurRead, NoCurvePresentLeavesTheOpenCurve) {
    struct Row {
        const char* what;
        int location;
        std::string reply;
    };
    const std::vector<Row> rows = {
        {"reply for another curve", 11, "12,S00X,N,3,0,0,1,1,0,0\r\n"},
        {"silent instrument", 11, ""},
        {"silent instrument, curve 0", 0, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(InstrumentModel::LUM, Interface::RS232,
                     [&](const std::string&) { return row.reply; });
        rig.set_points(kDiode);
        rig.header.name = "KEEP";
        OlderRig::pick(rig.picks.read, row.location);
        read_for(rig);
        EXPECT_EQ(rig.prompts.texts(), Log{"No curve present."});
        EXPECT_EQ(rig.curve.breakpoint_count, 4);
        EXPECT_EQ(rig.header.name, "KEEP");
        EXPECT_EQ(rig.views.graphs, 0);
    }
}

TEST(OlderKcurRead, NavOverGpibTakesALongReplyWhole) {
    std::string pairs = "0,0";
    for (int i = 1; i <= 40; ++i)
        pairs += "," + std::to_string(i) + ".25," + std::to_string(400 - i);
    pairs += ",0,0";
    const std::string reply = "27,S20LONGCURVESERIAL,N,42," + pairs + "\r\n";
    ASSERT_GT(reply.size(), 300u);
    OlderRig rig(InstrumentModel::NAV, Interface::GPIB,
                 [&](const std::string& line) { return line == "CURV? 27" ? reply : ""; });
    OlderRig::pick(rig.picks.read, 27);
    read_for(rig);
    EXPECT_EQ(rig.log, (Log{"CURV? 27", "wait 0.1"}));
    ASSERT_EQ(rig.curve.breakpoint_count, 40);
    EXPECT_DOUBLE_EQ(rig.curve.sensor_units[39], 40.25);
    EXPECT_DOUBLE_EQ(rig.curve.temperatures[39], 360.0);
    EXPECT_EQ(rig.header.setpoint_list.text(), "475");
}

TEST(OlderKcurDelete, EraseCommandAndBareNumberInTheLists) {
    struct Row {
        const char* what;
        InstrumentModel model;
        Interface bus;
        int location;
        Log expected;
    };
    const std::vector<Row> rows = {
        {"KOR", InstrumentModel::KOR, Interface::RS232, 11, {"KCUR11", "wait 1.1"}},
        {"LUM", InstrumentModel::LUM, Interface::RS232, 11, {"KCUR11", "wait 0.6"}},
        {"NAV over GPIB", InstrumentModel::NAV, Interface::GPIB, 15, {"KCUR 15", "wait 0.1"}},
        {"NAV over RS-232", InstrumentModel::NAV, Interface::RS232, 15, {"KCUR 15", "wait 0.6"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(row.model, row.bus);
        const std::string named = std::to_string(row.location) + " - MYCURVE";
        for (ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
            for (auto& e : l->entries)
                if (parse_leading_number(e) == row.location) e = named;
        OlderRig::pick(rig.picks.remove, row.location);
        const int at = rig.picks.remove.selected;
        ASSERT_GE(at, 0);
        delete_for(rig);
        EXPECT_EQ(rig.log, row.expected);
        const std::string bare = std::to_string(row.location);
        EXPECT_EQ(rig.picks.remove.entries[at], bare);
        EXPECT_EQ(rig.picks.write.entries[at], bare);
        EXPECT_EQ(rig.picks.read.find(bare), row.location);  // read lists start at 0
        EXPECT_EQ(rig.picks.read.find(named), -1);
        for (ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
            EXPECT_EQ(l->selected, 0);
    }
}

}  // namespace
}  // namespace kelvara::test
