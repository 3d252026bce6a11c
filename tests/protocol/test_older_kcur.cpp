// KOR, LUM and NAV: the command lines and waits of a write, read and delete, the free-memory
// stops, and how the one-line "CURV?" reply becomes the open curve.
#include <gtest/gtest.h>

#include "test_older_fakes.h"

namespace kelvara::test {
namespace {

using Log = std::vector<std::string>;
constexpr auto KOR = InstrumentModel::KOR, LUM = InstrumentModel::LUM, NAV = InstrumentModel::NAV;
constexpr auto GPIB = Interface::GPIB, RS232 = Interface::RS232, NONE = Interface::None;

const std::vector<std::pair<double, double>> kDiode = {
    {0.09062, 475.0}, {0.5, 300.0}, {1.2, 20.0}, {1.6, 4.2}};

// NAV's "FREE?" answers from the list, the last answer repeating.
Responder free_points(std::vector<std::string> answers) {
    auto left = std::make_shared<std::vector<std::string>>(std::move(answers));
    return [left](const std::string& line) -> std::string {
        if (line != "FREE?") return "";
        const std::string r = left->empty() ? "5000" : left->front();
        if (left->size() > 1) left->erase(left->begin());
        return r + "\r\n";
    };
}

TEST(OlderKcurWrite, CommandLinesAndWaits) {
    struct Row {
        const char* what;
        InstrumentModel model;
        Interface bus;
        std::size_t points;
        std::vector<std::string> free;
        std::string log;
        std::string messages;
    };
    // Name of 12 characters and serial of 8 go out as 9 and 6; setpoint 1273 is "9", the
    // checked thermocouple box "9".
    const std::string h = "99ABCDEFGHI123456,0.09062,475.0,0.50000,300.0*";
    const std::vector<Row> rows = {
        // clang-format off
        {"KOR: 1.1 s, no blank before 11", KOR, RS232, 4, {},
         "KCUR11|wait 1.1|CURV11,S" + h + "|wait 1.1|ECUR11,1.20000,020.0|wait 1.1|"
         "ECUR11,1.60000,004.2|wait 1.1|CUID?|wait 1.1", ""},
        {"LUM: 0.6 s, a blank in the header command", LUM, RS232, 4, {},
         "KCUR11|wait 0.6|CURV 11,S" + h + "|wait 0.6|ECUR11,1.20000,020.0|wait 0.6|"
         "ECUR11,1.60000,004.2|wait 0.6|CUID?|wait 1.1", ""},
        {"NAV over GPIB: memory before the write and each further point", NAV, GPIB, 4, {},
         "FREE?|wait 0.1|KCUR 23|wait 0.1|CURV 23,S" + h + "|wait 0.1|FREE?|wait 0.1|"
         "ECUR 23,1.20000,020.0|wait 0.1|FREE?|wait 0.1|ECUR 23,1.60000,004.2|wait 0.1|"
         "CUID?|wait 0.1", ""},
        {"NAV over RS-232", NAV, RS232, 3, {},
         "FREE?|wait 0.6|KCUR 23|wait 0.6|CURV 23,S" + h + "|wait 0.6|FREE?|wait 0.6|"
         "ECUR 23,1.20000,020.0|wait 0.6|CUID?|wait 1.1", ""},
        {"NAV: below 100 at the start sends nothing", NAV, GPIB, 4, {"99"}, "FREE?|wait 0.1",
         "Not enough remaining memory to write curve to the instrument."},
        {"NAV: 100 starts, 10 still takes a point, 9 stops", NAV, GPIB, 4, {"100", "10", "9"},
         "FREE?|wait 0.1|KCUR 23|wait 0.1|CURV 23,S" + h + "|wait 0.1|FREE?|wait 0.1|"
         "ECUR 23,1.20000,020.0|wait 0.1|FREE?|wait 0.1",
         "Not enough remaining memory to write all of curve to the instrument."},
        {"one point: nothing sent, nothing said", KOR, RS232, 1, {}, "", ""},
        {"two points: erase and header only", KOR, RS232, 2, {},
         "KCUR11|wait 1.1|CURV11,S" + h + "|wait 1.1|CUID?|wait 1.1", ""},
        {"KOR is not reached over GPIB", KOR, GPIB, 4, {}, "", "Invalid communication interface."},
        {"LUM is not reached over GPIB", LUM, GPIB, 4, {}, "", "Invalid communication interface."},
        // The free-memory query comes first and already finds no link.
        {"NAV offline", NAV, NONE, 4, {}, "", "Invalid communication interface.|"
         "Not enough remaining memory to write curve to the instrument."},
        // clang-format on
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(row.model, row.bus, free_points(row.free));
        rig.set_points({kDiode.begin(), kDiode.begin() + static_cast<long>(row.points)});
        rig.header.name = "ABCDEFGHIJKL";
        rig.header.serial_number = "12345678";
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find("1273");
        rig.header.thermocouple = true;
        OlderRig::pick(rig.picks.write, 23);
        rig.write();
        EXPECT_EQ(rig.log, entries(row.log));
        EXPECT_EQ(rig.prompts.texts(), entries(row.messages));
        EXPECT_TRUE(rig.scaling.asked.empty());  // diode volts below 10 go out as they are
    }
}

TEST(OlderKcurWrite, ProgressEmptyFieldsScalingAndGpibRefusal) {
    OlderRig kor(KOR, RS232);
    kor.set_points({{10.0, 30.0}, {100.0, 273.0}, {300.0, 800.0}, {350.0, 900.0}});  // platinum
    kor.write();
    EXPECT_EQ(kor.header.name, "no name");
    EXPECT_EQ(kor.header.serial_number, "no number");
    ASSERT_EQ(kor.scaling.asked.size(), 1u);
    EXPECT_EQ(kor.scaling.asked[0].code, 4);  // ohms / 100 on the copy only
    EXPECT_EQ(kor.log[2], "CURV11,S00no nameno num,0.10000,030.0,1.00000,273.0*");
    EXPECT_EQ(kor.log[4], "ECUR11,3.00000,800.0");
    EXPECT_EQ(kor.curve.sensor_units[2], 300.0);
    EXPECT_EQ(kor.progress.labels, (Log{"PERCENT COMPLETED: 66.7%", "PERCENT COMPLETED: 100.0%"}));

    OlderRig nav(NAV, GPIB, free_points({}));
    nav.refuse = [](const std::string& line) { return line.rfind("CURV", 0) == 0; };
    nav.set_points(kDiode);
    nav.write();
    EXPECT_EQ(nav.log.size(), 5u);  // FREE?, wait, KCUR, wait, CURV: nothing after the refusal
    EXPECT_EQ(nav.prompts.texts(), Log{"Problem talking to instrument."});
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
        // clang-format off
        {"count 5 gives pairs 2 to 4; code 7 leaves the setpoint list",
         "11,S79DT-470   SN1234,N,5,0.0,999.0,0.1,400.0,0.5,300.0,1.0,100.0,9.0,0.0\r\n",
         "DT-470   ", "SN1234", "475", true, 1, {{0.1, 400.0}, {0.5, 300.0}, {1.0, 100.0}}},
        {"THERMOCOUPLE gives TCOUPLE and the last three characters",
         "11,S90THERMOCOUPLE-E12,P,4,0,0,-8.5,3.2,-2.25,77.4,0,0\r\n",
         "TCOUPLE", "E12", "1273", false, 2, {{-8.5, 3.2}, {-2.25, 77.4}}},
        {"a short field is the name alone", "11,S10ABC,N,3,0,0,1.5,20.5,0,0\r\n",
         "ABC", "no number", "375", false, 1, {{1.5, 20.5}}},
        {"an unpadded name splits after nine characters", "11,S30PT1SN98765,P,3,0,0,2.5,120,0,0\r\n",
         "PT1SN9876", "5", "800", false, 2, {{2.5, 120.0}}},
        // clang-format on
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(KOR, RS232,
                     [&](const std::string& line) { return line == "CURV? 11" ? row.reply : ""; });
        rig.header.setpoint_list.selected = rig.header.setpoint_list.find("475");
        rig.header.thermocouple = !row.thermocouple;
        rig.curve.temperature_coefficient = 3 - row.coefficient;
        rig.header.interpolation.selected = 0;
        OlderRig::pick(rig.picks.read, 11);
        rig.read();
        EXPECT_EQ(rig.log, entries("CURV? 11|wait 1.1"));
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
        EXPECT_EQ(rig.views.graphs + rig.views.grids, 2);
    }
}

TEST(OlderKcurRead, NoCurvePresentLeavesTheOpenCurve) {
    struct Row {
        const char* what;
        int location;
        std::string reply;
    };
    const std::vector<Row> rows = {
        // clang-format off
        {"reply for another curve", 11, "12,S00X,N,3,0,0,1,1,0,0\r\n"},
        {"silent instrument", 11, ""},
        {"silent instrument, curve 0", 0, ""},
        // clang-format on
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        OlderRig rig(LUM, RS232, [&](const std::string&) { return row.reply; });
        rig.set_points(kDiode);
        rig.header.name = "KEEP";
        OlderRig::pick(rig.picks.read, row.location);
        rig.read();
        EXPECT_EQ(rig.prompts.texts(), Log{"No curve present."});
        EXPECT_EQ(rig.curve.breakpoint_count, 4);
        EXPECT_EQ(rig.header.name, "KEEP");
        EXPECT_EQ(rig.views.graphs, 0);
    }
}

// Cut-short or garbled replies that still start with the number must not crash the cutting or
// reach past the arrays: the curve gets what the reply holds, at most the model's 97 points.
TEST(OlderKcurRead, TruncatedRepliesStayWithinTheCurve) {
    for (std::string reply : {"11", "11,", "11,S", "11,S0", "11,S00ABC", "11,S00ABCDEFGHIJK,N",
                              "11,S00ABC,N,-5,1,2", "11,S00ABC,N,99999,1,2,3", "11,S00ABC,N,4,1"}) {
        SCOPED_TRACE(reply);
        OlderRig rig(KOR, RS232, [&](const std::string&) { return reply + "\r\n"; });
        OlderRig::pick(rig.picks.read, 11);
        rig.read();
        EXPECT_GE(rig.curve.breakpoint_count, 0);
        EXPECT_LE(rig.curve.breakpoint_count, 97);
        EXPECT_EQ(rig.curve.sensor_units.size(), 98u);
    }
}

TEST(OlderKcurRead, NavOverGpibTakesALongReplyWhole) {
    std::string reply = "27,S20LONGCURVESERIAL,N,42,0,0";
    for (int i = 1; i <= 40; ++i)
        reply += "," + std::to_string(i) + ".25," + std::to_string(400 - i);
    reply += ",0,0\r\n";
    ASSERT_GT(reply.size(), 300u);
    OlderRig rig(NAV, GPIB,
                 [&](const std::string& line) { return line == "CURV? 27" ? reply : ""; });
    OlderRig::pick(rig.picks.read, 27);
    rig.read();
    EXPECT_EQ(rig.log, entries("CURV? 27|wait 0.1"));
    ASSERT_EQ(rig.curve.breakpoint_count, 40);
    EXPECT_DOUBLE_EQ(rig.curve.sensor_units[39], 40.25);
    EXPECT_DOUBLE_EQ(rig.curve.temperatures[39], 360.0);
}

TEST(OlderKcurDelete, EraseCommandAndBareNumberInTheLists) {
    struct Row {
        InstrumentModel model;
        Interface bus;
        int location;
        std::string log;
    };
    const std::vector<Row> rows = {
        // clang-format off
        {KOR, RS232, 11, "KCUR11|wait 1.1"},
        {LUM, RS232, 11, "KCUR11|wait 0.6"},
        {NAV, GPIB, 15, "KCUR 15|wait 0.1"},
        {NAV, RS232, 15, "KCUR 15|wait 0.6"},
        // clang-format on
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.log);
        OlderRig rig(row.model, row.bus);
        const std::string bare = std::to_string(row.location), named = bare + " - MYCURVE";
        for (ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
            for (auto& e : l->entries)
                if (e == bare) e = named;
        OlderRig::pick(rig.picks.remove, row.location);
        const int at = rig.picks.remove.selected;
        rig.remove();
        EXPECT_EQ(rig.log, entries(row.log));
        EXPECT_EQ(rig.picks.remove.entries[at], bare);
        EXPECT_EQ(rig.picks.write.entries[at], bare);
        EXPECT_EQ(rig.picks.read.find(bare), row.location);  // read lists start at 0
        for (ListField* l : {&rig.picks.read, &rig.picks.write, &rig.picks.remove})
            EXPECT_EQ(l->selected, 0);
    }
}

}  // namespace
}  // namespace kelvara::test
