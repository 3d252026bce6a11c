#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "link/clock.h"
#include "sim/sim_transports.h"

using kelvara::InstrumentModel;
using kelvara::VirtualClock;
using kelvara::sim::Instrument;
using kelvara::sim::SimGpibDriver;
using kelvara::sim::SimSerialPort;

namespace {

const std::string kIdentity = "TESSALY,MODEL TAZ,SIM000001,1.0";
const char* kHeader21 = "A              ,B         ,2,1,1";
const char* kEmpty = "               ,          ,0,0.000,0";
const char* kGarbled = "#?@!~%&*GARBLED*&%~!@?#";

enum Via { Direct, Serial, Gpib };

// One TAZ reachable directly, through a serial port and through a GPIB device with T3s.
struct Bench {
    VirtualClock clock;
    Instrument instrument{InstrumentModel::TAZ};
    SimSerialPort port{instrument, clock};
    SimGpibDriver gpib{instrument, clock};
    int ud = gpib.ibdev(0, 12, 0, 12, 1, 0);

    Bench() { port.open(1, "", {}); }

    // Takes input the way the link's serial reader does, until a line end or 5 s; the pieces
    // that arrived separately are joined by "|".
    std::string serial(const std::string& command) {
        port.write(command + "\r\n");
        std::string text;
        for (const double start = clock.now(); clock.now() - start < 5; clock.yield()) {
            const std::string piece = port.take_input();
            if (piece.empty()) continue;
            text += (text.empty() ? "" : "|") + piece;
            if (text.ends_with('\n')) break;
        }
        return text;
    }

    // What a GPIB program sees: "ERR" for a failed clear or write, "TIMEOUT" for a read that
    // timed out, "READ ERR" for one that failed otherwise, else the reply read into 80
    // characters.
    std::string bus(const std::string& command) {
        if (command == "clear") return gpib.ibclr(ud) & SimGpibDriver::ERR ? "ERR" : "";
        if (gpib.ibwrt(ud, command.data(), static_cast<long>(command.size())) & SimGpibDriver::ERR)
            return "ERR";
        char buffer[80];
        const int status = gpib.ibrd(ud, buffer, sizeof buffer);
        if (status & SimGpibDriver::TIMO) return "TIMEOUT";
        if (status & SimGpibDriver::ERR) return "READ ERR";
        return std::string(buffer, static_cast<std::size_t>(gpib.thread_ibcntl()));
    }

    // The outcome of one step without the reply's line end; "~" ends every fault.
    std::string step(Via via, const std::string& command) {
        if (command == "~") instrument.faults = {};
        if (command == "~") return "";
        std::string out = via == Serial ? serial(command)
                          : via == Gpib ? bus(command)
                                        : instrument.handle(command);
        if (out.ends_with("\r\n")) out.resize(out.size() - 2);
        return out;
    }
};

// The faults as given to --faults or KELVARA_SIM_FAULTS, the way in, virtual seconds the steps
// took, command lines that reached the instrument, and each step's command and outcome.
using Steps = std::vector<std::pair<const char*, std::string>>;
using FaultRow = std::tuple<const char*, Via, double, std::size_t, Steps>;

}  // namespace

TEST(InstrumentFaults, EachFaultShowsOnTheWire) {
    // clang-format off
    const FaultRow rows[] = {
        {"silent", Direct, 0, 2, {{"CRVHDR 21,A,B,2,1,1", ""}, {"~", ""}, {"CRVHDR? 21", kEmpty}}},
        {"silent", Gpib, 0, 0, {{"clear", "ERR"}, {"*IDN?", "ERR"}}},
        {"garbage", Direct, 0, 2, {{"*IDN?", "#?@!~%&*GARBLED*&%~!@?#"}, {"CRVDEL 21", ""}}},
        {"split=3", Serial, 0.02, 1, {{"*IDN?", "TESSALY,MOD|EL TAZ,SIM0|00001,1.0"}}},
        {"delay=1.5", Serial, 1.5, 1, {{"*IDN?", kIdentity}}},
        {" split=2, delay=0.5", Serial, 0.51, 1, {{"*IDN?", "TESSALY,MODEL TA|Z,SIM000001,1.0"}}},
        // A trailing CR LF is no part of the command.
        {"delay=2.5", Gpib, 2.5, 1, {{"*IDN?\r\n", kIdentity}}},
        {"delay=5", Gpib, 3, 1, {{"*IDN?", "TIMEOUT"}}},
        {"", Gpib, 3, 1, {{"CRVDEL 21", "TIMEOUT"}}},
        {"clear=2", Gpib, 0, 0, {{"clear", "ERR"}, {"clear", "ERR"}, {"clear", ""}}},
        {"writefail=2", Gpib, 0, 2, {{"*IDN?", kIdentity}, {"*IDN?", kIdentity}, {"*IDN?", "ERR"}}},
        {"cut=2", Direct, 0, 3, {{"CRVHDR 21,A,B,2,1,1", ""}, {"CRVHDR? 21", kHeader21},
                                 {"CRVHDR? 21", ""}, {"CRVDEL 21", ""}, {"~", ""},
                                 {"CRVHDR? 21", kHeader21}}},
        {"busy=2", Direct, 0, 4, {{"CRVSAV", ""}, {"BUSY?", "1"}, {"BUSY?", "1"}, {"BUSY?", "0"}}},
        {"busy=forever", Direct, 0, 4, {{"CRVSAV", ""}, {"BUSY?", "1"}, {"*RST", ""}, {"BUSY?", "0"}}},
        {"after=1,garbage", Direct, 0, 2, {{"*IDN?", kIdentity}, {"*IDN?", kGarbled}}},
        {"babble", Direct, 0, 1, {{"BUSY?", std::string(65536, '#')}}},
        // No line end: the reader gives up after its 5 s; over GPIB END never comes.
        {"noterm", Serial, 5, 1, {{"*IDN?", kIdentity}}},
        {"noterm", Gpib, 3, 1, {{"*IDN?", "TIMEOUT"}}},
        // "0", CR and LF one by one: 10 bits a character at 1200 baud, or half a second each.
        {"speed=1200", Serial, 0.02, 1, {{"BUSY?", "0|\r|\n"}}},
        {"trickle=0.5", Serial, 1.5, 1, {{"BUSY?", "0|\r|\n"}}},
        // After a hang-up the last reply still arrives; nothing more is taken or sent.
        {"hangup=1", Serial, 5, 1, {{"*IDN?", kIdentity}, {"BUSY?", ""}}},
        {"hangup=1", Gpib, 0, 1, {{"*IDN?", kIdentity}, {"*IDN?", "ERR"}}},
        // Stored wrongly: point 2 a kelvin off, the name a character short, the last point lost
        // unless another follows; numbers given back in exponent form.
        {"corrupt=2", Direct, 0, 4, {{"CRVPT 21,1,0.1,300", ""}, {"CRVPT 21,2,0.2,200", ""},
                                     {"CRVPT? 21,1", "0.1,300"}, {"CRVPT? 21,2", "0.2,201"}}},
        {"corrupt=header", Direct, 0, 2, {{"CRVHDR 21,A1,B,2,1,1", ""}, {"CRVHDR? 21", kHeader21}}},
        {"droplast", Direct, 0, 4, {{"CRVPT 21,1,0.1,300", ""}, {"CRVPT 21,2,0.2,200", ""},
                                    {"CRVPT? 21,1", "0.1,300"}, {"CRVPT? 21,2", "0.00000,0.000"}}},
        {"exponent", Direct, 0, 2, {{"CRVPT 21,1,0.1,300", ""}, {"CRVPT? 21,1", "1E-01,3E+02"}}},
        {"readfail=1", Gpib, 0, 2, {{"*IDN?", kIdentity}, {"*IDN?", "READ ERR"}}},
    };
    // clang-format on
    for (const auto& [faults, via, waited, logged, steps] : rows) {
        SCOPED_TRACE(faults);
        Bench bench;
        ASSERT_TRUE(bench.instrument.faults.parse(faults));
        for (const auto& [command, outcome] : steps)
            EXPECT_EQ(bench.step(via, command), outcome) << command;
        EXPECT_NEAR(bench.clock.now(), waited, 0.011);  // the reader looks every 10 ms
        EXPECT_EQ(bench.instrument.log().size(), logged);
    }
    for (const char* bad : {"loud", "split=x", "delay=-1", "cut=", "silent=1", "split=2,busy=1.5.2",
                            "busy=sometimes", "speed=0", "trickle=0", "noterm=1", "hangup=-1",
                            "corrupt=0", "corrupt=name", "droplast=1"}) {
        kelvara::sim::Faults f;
        EXPECT_FALSE(f.parse(bad)) << bad;
        EXPECT_EQ(f.split_pieces, 0) << bad;  // nothing taken from a rejected list
    }
}

TEST(SimSerialPort, LinesAreCutAtCrOrLfAcrossWritesAndDiscardKeepsWhatIsOnItsWay) {
    Bench bench;
    bench.port.write("CRVHDR 21,A,B,2,1,1\r\nCRVHD");  // the second line arrives in two writes
    bench.port.write("R? 21\r");
    bench.port.write("\n*IDN?\n");
    EXPECT_EQ(bench.port.take_input(), std::string(kHeader21) + "\r\n" + kIdentity + "\r\n");

    bench.port.write("*IDN?\r\n");
    bench.port.discard_input();
    EXPECT_EQ(bench.port.take_input(), "");
    bench.instrument.faults.reply_delay = 1;
    bench.port.write("*IDN?\r\n");
    bench.port.discard_input();  // the slow answer is still on its way
    bench.clock.advance(1);
    EXPECT_EQ(bench.port.take_input(), kIdentity + "\r\n");
}
