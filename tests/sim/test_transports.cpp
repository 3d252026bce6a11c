#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "link/clock.h"
#include "sim/sim_transports.h"

using kelvara::InstrumentModel;
using kelvara::VirtualClock;
using kelvara::sim::Instrument;
using kelvara::sim::SimGpibDriver;
using kelvara::sim::SimSerialPort;

namespace {

const std::string kIdentity = "TESSALY,MODEL TAZ,SIM000001,1.0\r\n";

// Takes input the way the link's serial reader does: until a line end or the time limit.
std::string collect(SimSerialPort& port, VirtualClock& clock, double limit, int* takes = nullptr) {
    std::string text;
    const double start = clock.now();
    while (clock.now() - start < limit) {
        const std::string piece = port.take_input();
        if (!piece.empty() && takes) ++*takes;
        text += piece;
        if (text.find_first_of("\r\n") != std::string::npos) break;
        clock.yield();
    }
    return text;
}

}  // namespace

TEST(SimSerialPort, LinesAreCutAtCrOrLfAcrossWrites) {
    VirtualClock clock;
    Instrument instrument(InstrumentModel::TAZ);
    SimSerialPort port(instrument, clock);
    ASSERT_TRUE(port.open(1, "", {9600, 'O', 7, 1}));
    EXPECT_EQ(port.settings().text(), "9600,O,7,1");
    port.write("CRVHDR 21,A,B,2,1,1\r\nCRVHD");  // the second line arrives in two writes
    port.write("R? 21\r");
    port.write("\n*IDN?\n");
    EXPECT_EQ(port.take_input(), "A              ,B         ,2,1,1\r\n" + kIdentity);
    EXPECT_EQ(instrument.log(),
              (std::vector<std::string>{"CRVHDR 21,A,B,2,1,1", "CRVHDR? 21", "*IDN?"}));
}

TEST(SimSerialPort, SlowSplitAndDiscardedReplies) {
    struct Row {
        const char* title;
        double delay;
        int pieces;
        double min_wait;  // virtual seconds before the line is complete
        int takes;        // non-empty takes needed
    };
    const Row rows[] = {
        {"prompt", 0, 0, 0, 1},
        {"slow", 1.5, 0, 1.5, 1},
        {"three pieces", 0, 3, 0.002, 3},
        {"slow and split in two", 0.5, 2, 0.501, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.title);
        VirtualClock clock;
        Instrument instrument(InstrumentModel::TAZ);
        instrument.faults.reply_delay = row.delay;
        instrument.faults.split_pieces = row.pieces;
        SimSerialPort port(instrument, clock);
        port.open(1, "", {});
        port.write("*IDN?\r\n");
        int takes = 0;
        const std::string reply = collect(port, clock, 10, &takes);
        EXPECT_EQ(reply, kIdentity);
        EXPECT_GE(clock.now(), row.min_wait);
        EXPECT_LT(clock.now(), row.min_wait + 0.05);
        EXPECT_EQ(takes, row.takes);
    }
}

TEST(SimSerialPort, DiscardDropsOnlyWhatHasArrived) {
    VirtualClock clock;
    Instrument instrument(InstrumentModel::TAZ);
    SimSerialPort port(instrument, clock);
    port.open(1, "", {});
    port.write("*IDN?\r\n");
    port.discard_input();
    EXPECT_EQ(port.take_input(), "");
    instrument.faults.reply_delay = 1;
    port.write("*IDN?\r\n");
    port.discard_input();  // the slow answer is still on its way
    clock.advance(1);
    EXPECT_EQ(port.take_input(), kIdentity);
}

TEST(SimGpibDriver, OpensOnlyItsAddress) {
    VirtualClock clock;
    Instrument instrument(InstrumentModel::TAZ);
    SimGpibDriver any(instrument, clock);
    EXPECT_GE(any.ibdev(0, 5, 0, 13, 1, 0), 0);
    EXPECT_FALSE(any.status().failed());
    SimGpibDriver only12(instrument, clock, 12);
    EXPECT_LT(only12.ibdev(0, 5, 0, 13, 1, 0), 0);
    EXPECT_TRUE(only12.status().failed());
    const int ud = only12.ibdev(0, 12, 0, 13, 1, 0);
    EXPECT_GE(ud, 0);
    EXPECT_EQ(only12.register_globals(), 0);
    EXPECT_FALSE(only12.ibloc(ud) & SimGpibDriver::ERR);
    EXPECT_TRUE(only12.ibclr(ud + 1) & SimGpibDriver::ERR);  // not a device it opened
}

TEST(SimGpibDriver, WriteThenReadInPiecesOfTheBufferSize) {
    VirtualClock clock;
    Instrument instrument(InstrumentModel::TAZ);
    SimGpibDriver gpib(instrument, clock);
    const int ud = gpib.ibdev(0, 12, 0, 13, 1, 0);
    const std::string command = "*IDN?\r\n";  // a trailing CR LF is not part of the command
    EXPECT_EQ(gpib.ibwrt(ud, command.data(), static_cast<long>(command.size())),
              SimGpibDriver::CMPL);
    EXPECT_EQ(gpib.thread_ibcntl(), static_cast<long>(command.size()));
    char buffer[80];
    EXPECT_EQ(gpib.ibrd(ud, buffer, 10), SimGpibDriver::CMPL);  // more to come: no END
    EXPECT_EQ(std::string(buffer, 10), kIdentity.substr(0, 10));
    EXPECT_EQ(gpib.ibrd(ud, buffer, 80), SimGpibDriver::CMPL | SimGpibDriver::END);
    EXPECT_EQ(gpib.thread_ibcntl(), static_cast<long>(kIdentity.size() - 10));
    EXPECT_EQ(std::string(buffer, kIdentity.size() - 10), kIdentity.substr(10));
    EXPECT_TRUE(clock.pauses.empty());
}

TEST(SimGpibDriver, ReadsWaitForSlowRepliesAndTimeOut) {
    struct Row {
        const char* title;
        const char* command;
        double delay;
        int tmo;
        bool fails;
        double waited;
    };
    const Row rows[] = {
        {"no reply pending times out after T10s", "CRVDEL 21", 0, 13, true, 10},
        {"slow reply within the time-out", "*IDN?", 2.5, 13, false, 2.5},
        {"slow reply beyond T3s", "*IDN?", 5, 12, true, 3},
        {"prompt reply", "*IDN?", 0, 13, false, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.title);
        VirtualClock clock;
        Instrument instrument(InstrumentModel::TAZ);
        instrument.faults.reply_delay = row.delay;
        SimGpibDriver gpib(instrument, clock);
        const int ud = gpib.ibdev(0, 12, 0, row.tmo, 1, 0);
        gpib.ibwrt(ud, row.command, static_cast<long>(std::string(row.command).size()));
        char buffer[80];
        const int status = gpib.ibrd(ud, buffer, 80);
        EXPECT_EQ((status & SimGpibDriver::ERR) != 0, row.fails);
        EXPECT_EQ(gpib.status().failed(), row.fails);
        EXPECT_DOUBLE_EQ(clock.total_paused(), row.waited);
        if (row.fails) {
            EXPECT_EQ(gpib.thread_ibcntl(), 0);
        }
    }
}

TEST(SimGpibDriver, ClearFailsTheRequestedNumberOfTimes) {
    VirtualClock clock;
    Instrument instrument(InstrumentModel::TAZ);
    instrument.faults.clear_failures = 10;
    SimGpibDriver gpib(instrument, clock);
    const int ud = gpib.ibdev(0, 12, 0, 13, 1, 0);
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(gpib.ibclr(ud) & SimGpibDriver::ERR) << i;
    EXPECT_FALSE(gpib.ibclr(ud) & SimGpibDriver::ERR);
}

TEST(SimGpibDriver, WritesFailAfterTheRequestedCountAndSilenceFailsThemAll) {
    VirtualClock clock;
    Instrument instrument(InstrumentModel::TAZ);
    instrument.faults.write_fails_after = 2;
    SimGpibDriver gpib(instrument, clock);
    const int ud = gpib.ibdev(0, 12, 0, 13, 1, 0);
    const std::string command = "CRVDEL 21";
    const long size = static_cast<long>(command.size());
    EXPECT_FALSE(gpib.ibwrt(ud, command.data(), size) & SimGpibDriver::ERR);
    EXPECT_FALSE(gpib.ibwrt(ud, command.data(), size) & SimGpibDriver::ERR);
    EXPECT_TRUE(gpib.ibwrt(ud, command.data(), size) & SimGpibDriver::ERR);
    EXPECT_EQ(instrument.log().size(), 2u);  // the failed write never reached the instrument

    Instrument silent(InstrumentModel::TAZ);
    silent.faults.silent = true;
    SimGpibDriver dead(silent, clock);
    const int ud2 = dead.ibdev(0, 12, 0, 13, 1, 0);
    EXPECT_TRUE(dead.ibclr(ud2) & SimGpibDriver::ERR);
    EXPECT_TRUE(dead.ibwrt(ud2, command.data(), size) & SimGpibDriver::ERR);
}
