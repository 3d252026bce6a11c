// Reading and erasing curves: the lines on the wire and their pauses, what the reply fields
// become, where a read stops, and the read-back into the pick lists after an erase.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "curve/data_format.h"
#include "headerpoint_rig.h"
#include "protocol/headerpoint.h"
#include "protocol/transfers.h"

namespace kelvara::test {
namespace {

// An instrument holding `points` at every location, with the given header reply.
void hold(Rig& rig, std::vector<std::string> points, std::string header) {
    auto answer = rig.respond;
    rig.respond = [=](const std::string& c) -> std::string {
        if (c.rfind("CRVHDR? ", 0) == 0) return header + "\r\n";
        if (c.rfind("CRVPT? ", 0) == 0) {
            const size_t i = std::stoul(c.substr(c.find(',') + 1));
            return (i <= points.size() ? points[i - 1] : std::string("+0.00000,+0.000")) + "\r\n";
        }
        return answer(c);
    };
}

struct ReadWireRow {
    const char* label;
    InstrumentModel model;
    Interface interface;
    const char* pause;
    const char* end;
};

class ReadWire : public ::testing::TestWithParam<ReadWireRow> {};

TEST_P(ReadWire, AsksHeaderThenPointsUntilAnEmptyOne) {
    const ReadWireRow& row = GetParam();
    Rig rig(row.model);
    hold(rig, {"0.09062,475.000", "1.20000 20.000"}, "MYCURVE  ,SN1,3,+375.000,1");
    rig.connect(row.interface);
    rig.pick(rig.picks.read, 21);
    run_read_transfer(rig.session());
    const std::string e = row.end, p = row.pause;
    EXPECT_EQ(rig.timeline.events,
              (std::vector<std::string>{"CRVHDR? 21" + e, p, "CRVPT? 21,1" + e, p,
                                        "CRVPT? 21,2" + e, p, "CRVPT? 21,3" + e, p}));
    EXPECT_EQ(rig.curve.breakpoint_count, 2);
    EXPECT_EQ(rig.curve.sensor_units[1], 1.2);
    EXPECT_EQ(rig.curve.temperatures[1], 20.0);
    EXPECT_EQ(rig.curve.sensor_units[2], UNUSED_POINT);
    EXPECT_EQ(rig.progress.labels,
              (std::vector<std::string>{"NUMBER OF POINTS READ: 1", "NUMBER OF POINTS READ: 2"}));
    EXPECT_EQ(rig.views.graphs, 1);
    EXPECT_EQ(rig.views.grids, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Procedures, ReadWire,
    ::testing::Values(
        ReadWireRow{"TAZ GPIB", InstrumentModel::TAZ, Interface::GPIB, "pause 0.1", ""},
        ReadWireRow{"TAZ RS-232", InstrumentModel::TAZ, Interface::RS232, "pause 0.1", "\r\n"},
        ReadWireRow{"FEN GPIB", InstrumentModel::FEN, Interface::GPIB, "pause 0.1", ""},
        ReadWireRow{"FEN RS-232", InstrumentModel::FEN, Interface::RS232, "pause 0.3", "\r\n"},
        ReadWireRow{"DAL", InstrumentModel::DAL, Interface::RS232, "pause 0.1", "\r\n"},
        ReadWireRow{"MEP", InstrumentModel::MEP, Interface::GPIB, "pause 0.1", ""},
        ReadWireRow{"VEM by OBR", InstrumentModel::VEM, Interface::RS232, "pause 0.1", "\r\n"}),
    [](const auto& info) { return std::to_string(info.index); });

TEST(ReadHeader, ReplyFieldsBecomeTheWindowFields) {
    struct Row {
        std::string reply;
        std::string name, serial, format, setpoint;
        int coefficient;
        std::vector<std::string> messages;
    };
    const std::vector<Row> rows = {
        {"  MYCURVE   ,SN123 ,2,+375.000,2", "MYCURVE", "SN123", "Volts vs. Kelvin", "375", 2, {}},
        {"A,B,4,  0.50,2abc", "A", "B", "Log Ohms vs. Kelvin", "0.5", 2, {}},
        {"A,B,3,-1.5e1,1", "A", "B", "Ohms vs. Kelvin", "-15", 1, {}},
        {"", "", "", "MilliVolts vs. Kelvin", "0", 0, {"Invalid data format number."}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reply);
        Rig rig(InstrumentModel::TAZ);
        hold(rig, {}, row.reply);
        rig.connect(Interface::GPIB);
        read_curve_from_taz(rig.session());
        EXPECT_EQ(rig.header.name, row.name);
        EXPECT_EQ(rig.header.serial_number, row.serial);
        EXPECT_EQ(rig.header.data_format.text(), row.format);
        EXPECT_EQ(rig.header.setpoint_text, row.setpoint);
        EXPECT_EQ(rig.curve.temperature_coefficient, row.coefficient);
        EXPECT_EQ(rig.prompts.texts(), row.messages);
        EXPECT_EQ(rig.curve.breakpoint_count, 0);
    }
}

TEST(ReadPoints, StopsAtTheModelLimitWithoutAskingForMore) {
    Rig rig(InstrumentModel::OBR);
    hold(rig, std::vector<std::string>(250, "1.0,2.0"), "N,S,3,1,2");
    rig.connect(Interface::GPIB);
    read_curve_from_obr(rig.session());
    EXPECT_EQ(rig.curve.breakpoint_count, 200);
    const auto& ev = rig.timeline.events;
    EXPECT_EQ(std::count_if(ev.begin(), ev.end(),
                            [](const std::string& e) { return e.rfind("CRVPT? ", 0) == 0; }),
              200);
}

TEST(ReadPoints, FenOverRs232TakesAtLeastPointsTimesPointThree) {
    Rig rig(InstrumentModel::FEN);
    hold(rig, std::vector<std::string>(200, "1.0,2.0"), "N,S,3,1,2");
    rig.connect(Interface::RS232);
    read_curve_from_fen(rig.session());
    EXPECT_EQ(rig.curve.breakpoint_count, 200);
    EXPECT_GE(rig.clock.now(), 201 * 0.3 - 1e-9);
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

TEST(ReadFailure, FailedGpibSendKeepsWhatWasRead) {
    struct Row {
        int failing_write;  // 1: header, 2.. : points
        int count_after;
        int graphs;
    };
    for (const Row& row : {Row{1, 9, 0}, Row{3, 1, 0}}) {
        SCOPED_TRACE(row.failing_write);
        Rig rig(InstrumentModel::TAZ);
        rig.load_curve(std::vector<std::pair<double, double>>(9, {5.0, 6.0}));
        hold(rig, {"1,2", "3,4", "5,6"}, "NEW,S,3,1,2");
        rig.connect(Interface::GPIB);
        rig.gpib->fail_write_number = row.failing_write;
        read_curve_from_taz(rig.session());
        EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kProblemTalking});
        EXPECT_EQ(rig.curve.breakpoint_count, row.count_after);
        EXPECT_EQ(rig.views.graphs, row.graphs);
        EXPECT_EQ(rig.curve.sensor_units[1], 5.0);  // old values beyond the points read stay
    }
}

struct DeleteRow {
    const char* label;
    InstrumentModel model;
    Interface interface;
    std::vector<std::string> expected;  // location 21
};

class DeleteWire : public ::testing::TestWithParam<DeleteRow> {};

TEST_P(DeleteWire, ErasesAndReadsTheLocationBack) {
    const DeleteRow& row = GetParam();
    Rig rig(row.model);
    auto answer = rig.respond;
    rig.respond = [answer](const std::string& c) -> std::string {
        if (c == "BUSY?") return "0\r\n";
        if (c == "CRVHDR? 21") return "User Curve 21   ,           ,0,+0.000,1\r\n";
        return answer(c);
    };
    rig.connect(row.interface);
    rig.pick(rig.picks.remove, 21);
    run_delete_transfer(rig.session());
    EXPECT_EQ(rig.timeline.events, row.expected);
    EXPECT_EQ(rig.picks.remove.text(), "21 - User Curve 21  ");
    EXPECT_EQ(rig.picks.write.text(), "21 - User Curve 21  ");
    EXPECT_EQ(rig.picks.read.text(), "21 - User Curve 21  ");
    EXPECT_TRUE(rig.prompts.shown.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Procedures, DeleteWire,
    ::testing::Values(DeleteRow{"TAZ joins erase and store",
                                InstrumentModel::TAZ,
                                Interface::GPIB,
                                {"CRVDEL 21;CRVSAV", "pause 1", "BUSY?", "pause 0.1", "CRVHDR? 21",
                                 "pause 0.1"}},
                      DeleteRow{"TAZ RS-232",
                                InstrumentModel::TAZ,
                                Interface::RS232,
                                {"CRVDEL 21;CRVSAV\r\n", "pause 1", "BUSY?\r\n", "pause 0.1",
                                 "CRVHDR? 21\r\n", "pause 0.1"}},
                      DeleteRow{"FEN RS-232",
                                InstrumentModel::FEN,
                                Interface::RS232,
                                {"CRVDEL 21\r\n", "pause 0.3", "CRVHDR? 21\r\n", "pause 0.3"}},
                      DeleteRow{"FEN GPIB",
                                InstrumentModel::FEN,
                                Interface::GPIB,
                                {"CRVDEL 21", "pause 0.1", "CRVHDR? 21", "pause 0.1"}},
                      DeleteRow{"MEP RS-232",
                                InstrumentModel::MEP,
                                Interface::RS232,
                                {"CRVDEL 21\r\n", "pause 0.1", "CRVHDR? 21\r\n", "pause 0.1"}},
                      DeleteRow{"OBR GPIB",
                                InstrumentModel::OBR,
                                Interface::GPIB,
                                {"CRVDEL 21", "pause 0.5", "CRVHDR? 21", "pause 0.1"}},
                      DeleteRow{"PIX by OBR over RS-232",
                                InstrumentModel::PIX,
                                Interface::RS232,
                                {"CRVDEL 21\r\n", "pause 2", "CRVHDR? 21\r\n", "pause 0.1"}},
                      DeleteRow{"QUA/RIL by OBR, no CR LF on GPIB",
                                InstrumentModel::QUA_RIL,
                                Interface::GPIB,
                                {"CRVDEL 21", "pause 0.5", "CRVHDR? 21", "pause 0.1"}},
                      DeleteRow{"DAL",
                                InstrumentModel::DAL,
                                Interface::RS232,
                                {"CRVDEL 21\r\n", "pause 5", "CRVHDR? 21\r\n", "pause 0.3"}}),
    [](const auto& info) { return std::to_string(info.index); });

TEST(DeleteFailure, InvalidInterfaceOrFailedSend) {
    for (Interface i : {Interface::None, Interface::GPIB}) {
        Rig rig(InstrumentModel::TAZ);
        rig.connect(i);
        if (rig.gpib) rig.gpib->fail_write_number = 1;
        const auto before = rig.picks;
        delete_curve_from_taz(rig.session());
        EXPECT_EQ(
            rig.prompts.texts(),
            std::vector<std::string>{i == Interface::None ? kInvalidInterface : kProblemTalking});
        EXPECT_LE(rig.timeline.events.size(), 1u);
        EXPECT_EQ(rig.picks.read.entries, before.read.entries);
    }
}

TEST(FreePoints, ReplyValueByInterface) {
    struct Row {
        Interface interface;
        bool fail;
        std::vector<std::string> expected;
        int result;
        std::vector<std::string> messages;
    };
    const std::vector<Row> rows = {
        {Interface::GPIB, false, {"FREE?", "pause 0.1"}, 1234, {}},
        {Interface::RS232, false, {"FREE?\r\n", "pause 0.6"}, 1234, {}},
        {Interface::GPIB, true, {"FREE?"}, 0, {kProblemTalking}},
        {Interface::None, false, {}, 0, {kInvalidInterface}},
    };
    for (const Row& row : rows) {
        Rig rig(InstrumentModel::TAZ);
        auto answer = rig.respond;
        rig.respond = [answer](const std::string& c) {
            return c == "FREE?" ? std::string("1234\r\n") : answer(c);
        };
        rig.connect(row.interface);
        if (row.fail) rig.gpib->fail_write_number = 1;
        EXPECT_EQ(query_free_points(rig.session()), row.result);
        EXPECT_EQ(rig.timeline.events, row.expected);
        EXPECT_EQ(rig.prompts.texts(), row.messages);
    }
}

}  // namespace
}  // namespace kelvara::test
