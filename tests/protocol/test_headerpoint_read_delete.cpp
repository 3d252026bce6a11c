// Reading and erasing curves: lines and pauses, what the reply fields become, where a read
// stops, the read-back into the pick lists, and the "FREE?" query.
#include <gtest/gtest.h>

#include "headerpoint_rig.h"
#include "protocol/headerpoint.h"
#include "protocol/transfers.h"

namespace kelvara::test {
namespace {

// Every location holds `points` under the header reply `header`.
void hold(Rig& rig, std::vector<std::string> points, std::string header) {
    rig.answer(
        "CRVHDR? ", [header](auto&) { return header; }, true);
    rig.answer(
        "CRVPT? ",
        [points](const std::string& c) {
            const size_t i = std::stoul(c.substr(c.find(',') + 1));
            return i <= points.size() ? points[i - 1] : std::string("+0.00000,+0.000");
        },
        true);
}

struct Row {
    InstrumentModel model;
    Interface interface;
    const char* end;
    const char* script;  // location 21
};

class ReadWire : public ::testing::TestWithParam<Row> {};

TEST_P(ReadWire, AsksHeaderThenPointsUntilAnEmptyOne) {
    const Row& row = GetParam();
    Rig rig(row.model);
    hold(rig, {"0.09062,475.000", "1.20000 20.000"}, "MYCURVE  ,SN1,3,+375.000,1");
    rig.connect(row.interface);
    rig.pick(rig.picks.read, 21);
    run_read_transfer(rig.session());
    EXPECT_EQ(rig.timeline.events, script(row.script, "21", row.end));
    EXPECT_EQ(rig.curve.breakpoint_count, 2);
    EXPECT_EQ(rig.curve.sensor_units[1], 1.2);
    EXPECT_EQ(rig.curve.temperatures[1], 20.0);
    EXPECT_EQ(rig.curve.sensor_units[2], UNUSED_POINT);
    EXPECT_EQ(rig.progress.labels,
              (std::vector<std::string>{"NUMBER OF POINTS READ: 1", "NUMBER OF POINTS READ: 2"}));
    EXPECT_EQ(rig.views.graphs + rig.views.grids, 2);
}

const char* kRead1 = "CRVHDR? {n}|0.1|CRVPT? {n},1|0.1|CRVPT? {n},2|0.1|CRVPT? {n},3|0.1";
INSTANTIATE_TEST_SUITE_P(
    Procedures, ReadWire,
    ::testing::Values(Row{InstrumentModel::TAZ, Interface::GPIB, "", kRead1},
                      Row{InstrumentModel::TAZ, Interface::RS232, "\r\n", kRead1},
                      Row{InstrumentModel::FEN, Interface::GPIB, "", kRead1},
                      Row{InstrumentModel::FEN, Interface::RS232, "\r\n",
                          "CRVHDR? {n}|0.3|CRVPT? {n},1|0.3|CRVPT? {n},2|0.3|CRVPT? {n},3|0.3"},
                      Row{InstrumentModel::DAL, Interface::RS232, "\r\n", kRead1},
                      Row{InstrumentModel::MEP, Interface::GPIB, "", kRead1},
                      Row{InstrumentModel::VEM, Interface::RS232, "\r\n", kRead1}));

TEST(ReadHeader, ReplyFieldsBecomeTheWindowFields) {
    struct Case {
        std::string reply, name, serial, format, setpoint;
        int coefficient;
        std::vector<std::string> messages;
    };
    const std::vector<Case> cases = {
        {"  MYCURVE   ,SN123 ,2,+375.000,2", "MYCURVE", "SN123", "Volts vs. Kelvin", "375", 2, {}},
        {"A,B,4,  0.50,2abc", "A", "B", "Log Ohms vs. Kelvin", "0.5", 2, {}},
        {"A,B,3,-1.5e1,1", "A", "B", "Ohms vs. Kelvin", "-15", 1, {}},
        // A time-out: empty name and serial, the format list keeps its entry.
        {"", "", "", "MilliVolts vs. Kelvin", "0", 0, {"Invalid data format number."}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reply);
        Rig rig(InstrumentModel::TAZ);
        hold(rig, {}, c.reply);
        rig.connect(Interface::GPIB);
        read_curve_from_taz(rig.session());
        EXPECT_EQ(rig.header.name, c.name);
        EXPECT_EQ(rig.header.serial_number, c.serial);
        EXPECT_EQ(rig.header.data_format.text(), c.format);
        EXPECT_EQ(rig.header.setpoint_text, c.setpoint);
        EXPECT_EQ(rig.curve.temperature_coefficient, c.coefficient);
        EXPECT_EQ(rig.prompts.texts(), c.messages);
        EXPECT_EQ(rig.curve.breakpoint_count, 0);
    }
}

TEST(ReadPoints, StopsAtTheModelLimitWithoutAskingForMore) {
    Rig rig(InstrumentModel::OBR);
    hold(rig, std::vector<std::string>(250, "1.0,2.0"), "N,S,3,1,2");
    rig.connect(Interface::GPIB);
    read_curve_from_obr(rig.session());
    EXPECT_EQ(rig.curve.breakpoint_count, 200);
    EXPECT_EQ(rig.timeline.events.size(), 2u * 201);  // header and 200 points, each with its pause
}

TEST(ReadFailure, InvalidInterfaceKeepsTheCurveAndRedraws) {
    Rig rig(InstrumentModel::TAZ);
    rig.load_curve({{1, 2}, {3, 4}});
    rig.curve.sensor_units[5] = 7;  // a stray value beyond the curve is cleared again
    rig.connect(Interface::None);
    read_curve_from_taz(rig.session());
    EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kInvalidInterface});
    EXPECT_EQ(rig.curve.breakpoint_count, 2);
    EXPECT_EQ(rig.curve.sensor_units[5], UNUSED_POINT);
    EXPECT_EQ(rig.views.graphs, 1);
}

TEST(ReadFailure, FailedGpibSendKeepsWhatWasReadAndDoesNotRedraw) {
    for (auto [failing, count_after] : {std::pair{1, 9}, std::pair{3, 1}}) {  // header; point 2
        SCOPED_TRACE(failing);
        Rig rig(InstrumentModel::TAZ);
        rig.load_curve(std::vector<std::pair<double, double>>(9, {5.0, 6.0}));
        hold(rig, {"1,2", "3,4", "5,6"}, "NEW,S,3,1,2");
        rig.connect(Interface::GPIB);
        rig.gpib->fail_write_number = failing;
        read_curve_from_taz(rig.session());
        EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kProblemTalking});
        EXPECT_EQ(rig.curve.breakpoint_count, count_after);
        EXPECT_EQ(rig.views.graphs, 0);
        EXPECT_EQ(rig.curve.sensor_units[1], 5.0);  // old values beyond the points read stay
    }
}

class DeleteWire : public ::testing::TestWithParam<Row> {};

TEST_P(DeleteWire, ErasesAndReadsTheLocationBack) {
    const Row& row = GetParam();
    Rig rig(row.model);
    rig.answer("BUSY?", "0");
    rig.answer("CRVHDR? 21", "User Curve 21   ,           ,0,+0.000,1");
    rig.connect(row.interface);
    rig.pick(rig.picks.remove, 21);
    run_delete_transfer(rig.session());
    EXPECT_EQ(rig.timeline.events, script(row.script, "21", row.end));
    for (const ListField* l : {&rig.picks.remove, &rig.picks.write, &rig.picks.read})
        EXPECT_EQ(l->text(), "21 - User Curve 21  ");
    EXPECT_TRUE(rig.prompts.shown.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Procedures, DeleteWire,
    ::testing::Values(
        Row{InstrumentModel::TAZ, Interface::GPIB, "",
            "CRVDEL {n};CRVSAV|1|BUSY?|0.1|CRVHDR? {n}|0.1"},
        Row{InstrumentModel::TAZ, Interface::RS232, "\r\n",
            "CRVDEL {n};CRVSAV|1|BUSY?|0.1|CRVHDR? {n}|0.1"},
        Row{InstrumentModel::FEN, Interface::RS232, "\r\n", "CRVDEL {n}|0.3|CRVHDR? {n}|0.3"},
        Row{InstrumentModel::FEN, Interface::GPIB, "", "CRVDEL {n}|0.1|CRVHDR? {n}|0.1"},
        Row{InstrumentModel::MEP, Interface::RS232, "\r\n", "CRVDEL {n}|0.1|CRVHDR? {n}|0.1"},
        Row{InstrumentModel::OBR, Interface::GPIB, "", "CRVDEL {n}|0.5|CRVHDR? {n}|0.1"},
        Row{InstrumentModel::PIX, Interface::RS232, "\r\n", "CRVDEL {n}|2|CRVHDR? {n}|0.1"},
        Row{InstrumentModel::QUA_RIL, Interface::GPIB, "", "CRVDEL {n}|0.5|CRVHDR? {n}|0.1"},
        Row{InstrumentModel::DAL, Interface::RS232, "\r\n", "CRVDEL {n}|5|CRVHDR? {n}|0.3"}));

TEST(DeleteFailure, InvalidInterfaceOrFailedSendLeavesTheLists) {
    for (Interface i : {Interface::None, Interface::GPIB}) {
        Rig rig(InstrumentModel::TAZ);
        rig.connect(i);
        if (rig.gpib) rig.gpib->fail_write_number = 1;
        const auto before = rig.picks.read.entries;
        delete_curve_from_taz(rig.session());
        EXPECT_EQ(
            rig.prompts.texts(),
            std::vector<std::string>{i == Interface::None ? kInvalidInterface : kProblemTalking});
        EXPECT_LE(rig.timeline.events.size(), 1u);
        EXPECT_EQ(rig.picks.read.entries, before);
    }
}

TEST(FreePoints, ReplyValueByInterface) {
    struct Case {
        Interface interface;
        bool fail;
        const char* script;
        int result;
        std::vector<std::string> messages;
    };
    const std::vector<Case> cases = {
        {Interface::GPIB, false, "FREE?|0.1", 1234, {}},
        {Interface::RS232, false, "FREE?\r\n|0.6", 1234, {}},
        {Interface::GPIB, true, "FREE?", 0, {kProblemTalking}},
    };
    for (const Case& c : cases) {
        Rig rig(InstrumentModel::TAZ);
        rig.answer("FREE?", "1234");
        rig.connect(c.interface);
        if (c.fail) rig.gpib->fail_write_number = 1;
        EXPECT_EQ(query_free_points(rig.session()), c.result);
        EXPECT_EQ(rig.timeline.events, script(c.script, "", ""));
        EXPECT_EQ(rig.prompts.texts(), c.messages);
    }
}

}  // namespace
}  // namespace kelvara::test
