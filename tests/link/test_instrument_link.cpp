// Opening and talking over GPIB and RS-232 against the simulated instrument on a virtual clock.
// Both transports are tapped to see the exact bytes written and the driver calls around them.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <tuple>

#include "link/instrument_link.h"
#include "sim/sim_transports.h"

namespace kelvara {
namespace {

using M = InstrumentModel;
using Texts = std::vector<std::string>;

struct TappedGpib : sim::SimGpibDriver {
    using SimGpibDriver::SimGpibDriver;
    int register_result = 0;     // of the first register_globals(); later ones succeed
    std::int32_t high_bits = 0;  // reported above the 16 bits of ibsta
    Texts log;

    int register_globals() override {
        log.push_back("register");
        return std::ranges::count(log, "register") == 1 ? register_result : 0;
    }
    void unregister_globals() override { log.push_back("unregister"); }
    int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) override {
        std::string call = "ibdev";
        for (int v : {board, pad, sad, tmo, eot, eos}) call += " " + std::to_string(v);
        log.push_back(call);
        return SimGpibDriver::ibdev(board, pad, sad, tmo, eot, eos);
    }
    int ibwrt(int ud, const char* text, long n) override {
        log.push_back("ibwrt " + std::string(text, n));
        return SimGpibDriver::ibwrt(ud, text, n);
    }
    int ibonl(int ud, int online) override {
        log.push_back("ibonl " + std::to_string(online));
        return SimGpibDriver::ibonl(ud, online);
    }
    std::int32_t thread_ibsta() override { return SimGpibDriver::thread_ibsta() | high_bits; }
};

struct TappedSerial : sim::SimSerialPort {
    using SimSerialPort::SimSerialPort;
    Texts writes;
    void write(const std::string& bytes) override {
        writes.push_back(bytes);
        SimSerialPort::write(bytes);
    }
};

// The instrument answers at GPIB address 12 only.
struct Rig {
    sim::Instrument instrument;
    VirtualClock clock;
    RecordingPrompts prompts;
    InstrumentLink link{clock, prompts};
    TappedGpib* gpib = new TappedGpib(instrument, clock, 12);
    TappedSerial* port = new TappedSerial(instrument, clock);
    SetupChoices choices;

    explicit Rig(M model) : instrument(model) {
        link.set_gpib_driver(std::unique_ptr<GpibDriver>(gpib));
        link.set_serial_port(std::unique_ptr<SerialPort>(port));
        choices.model = model;
    }
    void open(Interface bus) {
        bus == Interface::GPIB ? link.setup_488(choices) : link.setup_rs232(choices);
    }
};

const std::string kWrong =
    "Wrong model number received from instrument. Continuing to work offline.";
const std::string kImproper = "Improper ping response from instrument. Continuing to work offline.";
const std::string kInvalid = "Invalid instrument model number.";
const std::string kRs232 =
    "Error with RS232 interface with instrument. Continuing to work offline.";

std::string problem(const std::string& step) {
    return "Problem talking to instrument (" + step + "). Continuing to work offline.";
}

// The same reply judged after opening over each bus; every model is opened with its serial
// line settings and its own ping.
TEST(Opening, IdentifiesTheModelFromItsPingReply) {
    const std::string spaced = "T," + std::string(78, ' ') + "TAZ,1";  // TAZ past character 80
    // model, serial settings, ping, reply, messages over GPIB, messages over RS-232
    const std::tuple<M, std::string, std::string, std::string, Texts, Texts> rows[] = {
        {M::TAZ, "9600,O,7,1", "*IDN?", "TESSALY,MODEL TAZ,123,1.2", {}, {}},
        {M::FEN, "9600,O,7,1", "*IDN?", "TESSALY,MODEL TAZ,123,1.2", {kWrong}, {kWrong}},
        {M::TAZ, "9600,O,7,1", "*IDN?", "TAZ,MODEL FEN,TAZ", {kWrong}, {kWrong}},
        {M::TAZ, "9600,O,7,1", "*IDN?", "MODEL TAZ", {kWrong}, {kWrong}},
        {M::TAZ, "9600,O,7,1", "*IDN?", spaced, {kWrong}, {}},
        {M::MEP, "9600,O,7,1", "*IDN?", "TESSALY,MODEL MEP", {}, {}},
        {M::OBR, "9600,O,7,1", "*IDN?", "TESSALY,MODEL obr,1", {kWrong}, {kWrong}},
        {M::PIX, "9600,O,7,1", "*IDN?", "T,PIX", {}, {}},
        {M::WUN, "9600,O,7,1", "*IDN?", "T,WUN", {}, {}},
        {M::HOX, "9600,N,8,1", "*IDN?", "T,HOX", {}, {}},
        {M::KOR, "1200,O,7,1", "*IDN?", "T,KOR", {}, {}},
        {M::LUM, "1200,O,7,1", "*IDN?", "T,LUM", {}, {}},
        {M::NAV, "1200,O,7,1", "*IDN?", "T,NAV", {}, {}},
        {M::QUA_RIL, "57600,O,7,1", "*IDN?", "T,MODEL RIL,1", {}, {}},
        {M::QUA_RIL, "57600,O,7,1", "*IDN?", "T,MODEL QUA,1", {}, {}},
        {M::VEM, "57600,O,7,1", "*IDN?", "T,YIB,1", {}, {}},
        {M::VEM, "57600,O,7,1", "*IDN?", "T,MODEL VEM,1", {}, {}},
        {M::VEM, "57600,O,7,1", "*IDN?", "T,ZEK-2,1", {}, {}},
        {M::VEM, "57600,O,7,1", "*IDN?", "T,GIR,1", {kWrong}, {kWrong}},
        {M::GIR, "57600,O,7,1", "*IDN?", "T,GIR,1", {}, {}},
        {M::ZEK, "57600,O,7,1", "*IDN?", "T,VEM,1", {kWrong}, {kWrong}},
        // DAL has no GPIB command list: it is announced as unknown there, then asked anyway.
        {M::DAL, "9600,O,7,1", "*IDN?", "T,MODEL DAL,1", {kInvalid}, {}},
        {M::DAL, "9600,O,7,1", "*IDN?", "T,MODEL TAZ,1", {kInvalid, kWrong}, {kWrong}},
        {M::KIP, "1200,O,7,1", "W2", "0,1", {}, {}},
        {M::DUN, "1200,O,7,1", "W2", "12.5,3,K", {}, {}},
        {M::ELK, "1200,O,7,1", "W2", "12.5", {kImproper}, {kWrong}},
        {M::KIP, "1200,O,7,1", "W2", "", {kImproper}, {kWrong}},
    };
    for (const auto& [model, settings, ping, reply, over_gpib, over_rs232] : rows) {
        SCOPED_TRACE(std::string(designation(model)) + " " + reply);
        for (const auto bus : {Interface::GPIB, Interface::RS232}) {
            Rig rig(model);
            rig.instrument.set_identity(reply);
            rig.open(bus);
            const bool gpib = bus == Interface::GPIB;
            const Texts& messages = gpib ? over_gpib : over_rs232;
            EXPECT_EQ(rig.prompts.texts(), messages);
            const bool open = messages.empty() || messages == Texts{kInvalid};
            EXPECT_EQ(rig.choices.interface, open ? bus : Interface::None);
            if (gpib) {  // no terminator on GPIB; after a failure the descriptor is released
                const Texts tail = {"ibwrt " + ping, "ibonl 0"};
                EXPECT_EQ(Texts(rig.gpib->log.begin() + 2, rig.gpib->log.end()),
                          Texts(tail.begin(), tail.end() - open));
            } else {
                EXPECT_EQ(rig.port->writes, Texts{ping + "\r\n"});
                EXPECT_EQ(rig.port->settings().text(), settings);
            }
        }
    }
}

TEST(GpibOpening, RegistersThenStopsAtTheFirstFailingStep) {
    // library, registration result, calls before ibdev, address, failing clears, good writes
    // before they fail, failed step ("": opened), pauses
    using Row = std::tuple<bool, int, Texts, int, int, int, std::string, std::vector<double>>;
    const Texts once = {"register"}, undone = {"register", "unregister"};
    const Row rows[] = {
        {true, 0, once, 12, 0, -1, "", {0.25, 0.2}},
        {true, 0, once, 12, 10, -1, "", {0.25, 0.2}},
        {true, 0, once, 12, 11, -1, "ilclr", {}},
        {true, 0, once, 8, 0, -1, "ildev", {}},
        {false, 0, {}, 12, 0, -1, "ildev", {}},
        {true, 0, once, 12, 0, 0, "ping", {0.25}},
        {true, 1, {"register", "unregister", "register"}, 12, 0, -1, "", {0.25, 0.2}},
        // Unregistered, nothing the driver reports is seen: the error status stays.
        {true, 2, undone, 12, 0, -1, "ilclr", {}},
        {true, 3, undone, 12, 0, -1, "ilclr", {}},
        {true, 9, once, 12, 0, -1, "ilclr", {}},
    };
    for (const auto& [library, result, before_ibdev, address, failing_clears, good_writes, step,
                      pauses] : rows) {
        SCOPED_TRACE(step + " after " + std::to_string(failing_clears) + "/" +
                     std::to_string(result));
        Rig rig(M::TAZ);
        rig.gpib->register_result = result;
        rig.choices.gpib_address = address;
        rig.instrument.faults.clear_failures = failing_clears;
        rig.instrument.faults.write_fails_after = good_writes;
        if (!library) rig.link.set_gpib_driver(nullptr);
        rig.link.setup_488(rig.choices);
        EXPECT_EQ(rig.prompts.texts(), step.empty() ? Texts{} : Texts{problem(step)});
        EXPECT_EQ(rig.choices.interface, step.empty() ? Interface::GPIB : Interface::None);
        EXPECT_EQ(rig.clock.pauses, pauses);
        if (!library) continue;
        const auto& log = rig.gpib->log;
        const std::string ibdev = "ibdev 0 " + std::to_string(address) + " 0 13 1 0";
        EXPECT_EQ(Texts(log.begin(), std::ranges::find(log, ibdev)), before_ibdev);
        EXPECT_EQ(static_cast<std::uint32_t>(rig.link.status().ibcntl) == 0xDEAD37F0u, result > 1);
        const auto registers = std::ranges::count(log, "register");
        rig.link.setup_488(rig.choices);
        EXPECT_EQ(std::ranges::count(log, "register"), registers);  // once per driver
    }
}

TEST(GpibTraffic, ReadsIntoASpaceFilledBufferAndKeepsTheLow16StatusBits) {
    Rig rig(M::TAZ);
    rig.link.setup_488(rig.choices);
    rig.gpib->high_bits = 0x10000;
    rig.instrument.set_identity(std::string(70000, 'x'));
    EXPECT_TRUE(rig.link.send_command("*IDN?", false));
    EXPECT_EQ(rig.gpib->log.back(), "ibwrt *IDN?");  // as it is, without a terminator
    EXPECT_EQ(rig.link.read_reply(80), std::string(80, 'x'));
    rig.link.read_reply(69920);
    EXPECT_EQ(rig.link.status().ibsta, 0x0100);
    EXPECT_EQ(rig.link.status().ibcntl, 69920);
    EXPECT_EQ(rig.link.status().ibcnt, 69920 - 65536);
    EXPECT_EQ(rig.link.read_reply(80), "\r\n" + std::string(78, ' '));
    EXPECT_EQ(rig.link.read_reply(80), std::string(80, ' '));  // nothing left: times out
    EXPECT_TRUE(rig.link.status().failed());
    rig.instrument.faults.write_fails_after = 0;
    EXPECT_FALSE(rig.link.send_command("CRVDEL 21", false));
    rig.link.close();
    EXPECT_EQ(rig.gpib->log.back(), "ibonl 0");
    EXPECT_FALSE(rig.link.send_command("*IDN?", false));
}

TEST(SerialOpening, PingsASilentInstrumentAgainAfterElevenSeconds) {
    // reply delay (< 0: silent), seconds the opening takes, message
    const std::tuple<double, double, Texts> rows[] = {{-1, 22.0, {kRs232}}, {11.5, 12.0, {}}};
    for (const auto& [delay, seconds, messages] : rows) {
        SCOPED_TRACE(delay);
        Rig rig(M::TAZ);
        rig.instrument.faults.silent = delay < 0;
        rig.instrument.faults.reply_delay = delay;
        rig.link.setup_rs232(rig.choices);
        EXPECT_EQ(rig.port->writes, Texts(2, "*IDN?\r\n"));
        EXPECT_EQ(rig.clock.pauses, (std::vector<double>{1.0, 1.0}));
        EXPECT_NEAR(rig.clock.now(), seconds, 0.05);
        EXPECT_EQ(rig.prompts.texts(), messages);
        EXPECT_EQ(rig.port->is_open(), messages.empty());
    }
}

// Each command finds the reply to an earlier one waiting, which clear_input throws away.
TEST(SerialTraffic, JoinsPiecesUntilCrOrLfOrTenSeconds) {
    // reply, pieces, delay, clear_input, what is read, seconds it takes
    const std::tuple<std::string, int, double, bool, std::string, double> rows[] = {
        {"TESSALY,MODEL TAZ,1", 4, 0.5, true, "TESSALY,MODEL TAZ,1\r\n", 0.53},
        {"7\n9", 2, 0, true, "7\n", 0.01},
        {"5\r6", 2, 0, true, "5\r", 0.01},
        {"late", 1, 9.9, true, "late\r\n", 9.9},
        {"too late", 1, 10.5, true, "", 10.0},
        {"fresh", 1, 0.1, false, "stale\r\n", 0.01},
    };
    for (const auto& [reply, pieces, delay, clear_input, expected, seconds] : rows) {
        SCOPED_TRACE(reply);
        Rig rig(M::TAZ);
        rig.link.setup_rs232(rig.choices);
        rig.instrument.set_identity("stale");
        EXPECT_TRUE(rig.link.send_command("*IDN?", false));
        rig.clock.advance(1);
        rig.instrument.set_identity(reply);
        rig.instrument.faults.split_pieces = pieces;
        rig.instrument.faults.reply_delay = delay;
        EXPECT_TRUE(rig.link.send_command("*IDN?", clear_input));
        EXPECT_EQ(rig.port->writes.back(), "*IDN?\r\n");
        const double start = rig.clock.now();
        EXPECT_EQ(rig.link.read_reply(), expected);
        EXPECT_NEAR(rig.clock.now() - start, seconds, 0.02);
    }
}

// How a reply ended, for each way an instrument or a line can end it; the instrument's faults
// start after the identification. A reply may take as long as it keeps coming at the line's
// speed; silence, a reply longer than the command's longest, a trickle and a dead line end it.
TEST(ReplyEnds, EachLineBehaviourHasItsStatus) {
    const std::string idn = "TESSALY,MODEL TAZ,SIM000001,1.0";
    // bus, faults, longest reply taken, how it ended, characters read, seconds from the command on
    const std::tuple<Interface, std::string, int, ReplyStatus, std::size_t, double> rows[] = {
        {Interface::RS232, "", 80, ReplyStatus::Complete, idn.size() + 2, 0},
        // Up to the CR, 32 characters of 10 bits at 1200 baud; the LF follows on its own.
        {Interface::RS232, "speed=1200", 80, ReplyStatus::Complete, idn.size() + 1, 0.27},
        {Interface::RS232, "noterm", 80, ReplyStatus::Silent, idn.size(), 10},
        {Interface::RS232, "cut=1", 80, ReplyStatus::Silent, 0, 10},
        // Too long: more than `largest` characters before a line end (as many as have come).
        {Interface::RS232, "speed", 20, ReplyStatus::TooLong, 0, 0.03},
        {Interface::RS232, "babble,speed", 80, ReplyStatus::TooLong, 0, 0.09},
        // A byte every half second: at 9600 baud the reply has fallen two seconds behind at the
        // sixth byte, 3 s after the command.
        {Interface::RS232, "trickle=0.5", 80, ReplyStatus::Trickling, 6, 3.0},
        {Interface::GPIB, "", 80, ReplyStatus::Complete, 80, 0},
        {Interface::GPIB, "noterm", 80, ReplyStatus::Silent, 80, 10},
        {Interface::GPIB, "cut=1", 80, ReplyStatus::Silent, 80, 10},
        {Interface::GPIB, "", 20, ReplyStatus::TooLong, 20, 0},
        {Interface::GPIB, "readfail=1", 80, ReplyStatus::LineDead, 80, 0},
    };
    for (const auto& [bus, faults, largest, status, received, seconds] : rows) {
        SCOPED_TRACE((bus == Interface::GPIB ? "GPIB " : "RS-232 ") + faults);
        Rig rig(M::TAZ);
        rig.open(bus);
        ASSERT_EQ(rig.choices.interface, bus);
        ASSERT_TRUE(rig.instrument.faults.parse(faults + ",after=1"));
        const double start = rig.clock.now();
        EXPECT_TRUE(rig.link.send_command("*IDN?", true));
        const std::string reply = rig.link.read_reply(largest);
        EXPECT_EQ(rig.link.last_reply(), status);
        if (status == ReplyStatus::TooLong && bus == Interface::RS232) {
            EXPECT_GT(reply.size(), static_cast<std::size_t>(largest));
        } else {
            EXPECT_EQ(reply.size(), received);
        }
        EXPECT_NEAR(rig.clock.now() - start, seconds, 0.011);
        const bool dead = status == ReplyStatus::LineDead;
        EXPECT_EQ(rig.link.line_dead(), dead);
        EXPECT_EQ(rig.link.dead_reason().empty(), !dead);
        if (status != ReplyStatus::Complete) continue;
        // At the line's speed the LF of a CR LF may come after the reply was taken: it is not the
        // next reply.
        EXPECT_TRUE(rig.link.send_command("*IDN?", false));
        EXPECT_EQ(rig.link.read_reply(largest).substr(0, idn.size()), idn);
        EXPECT_EQ(rig.link.last_reply(), ReplyStatus::Complete);
    }
}

// After a hang-up the next command is refused and a read does not wait for anything; the link
// says why until it is opened again.
TEST(DeadLine, RefusesAtOnceAndSaysWhy) {
    for (const auto bus : {Interface::RS232, Interface::GPIB}) {
        SCOPED_TRACE(bus == Interface::GPIB ? "GPIB" : "RS-232");
        Rig rig(M::TAZ);
        rig.instrument.faults.hangup_after = 2;
        rig.open(bus);
        EXPECT_TRUE(rig.link.send_command("*IDN?", true));
        EXPECT_EQ(rig.link.last_reply(), ReplyStatus::Complete);
        rig.link.read_reply();
        EXPECT_FALSE(rig.link.line_dead());
        const double start = rig.clock.now();
        EXPECT_FALSE(rig.link.send_command("*IDN?", true));
        rig.link.read_reply();
        EXPECT_EQ(rig.link.last_reply(), ReplyStatus::LineDead);
        EXPECT_EQ(rig.clock.now(), start);
        EXPECT_EQ(rig.link.dead_reason(), bus == Interface::GPIB
                                              ? "the GPIB driver reported ENOL (no listener)"
                                              : "simulated port: the line hung up");
        rig.instrument.faults.hangup_after = -1;
        rig.open(bus);
        EXPECT_EQ(rig.choices.interface, bus);
        EXPECT_FALSE(rig.link.line_dead());
    }
}

TEST(Cancel, RefusesSendsAndEndsWaitsAndReads) {
    Rig rig(M::TAZ);
    rig.link.setup_rs232(rig.choices);
    rig.instrument.faults.cut_after = 1;
    EXPECT_TRUE(rig.link.send_command("*IDN?", true));
    rig.link.request_cancel();
    EXPECT_EQ(rig.link.read_reply(), "");
    EXPECT_EQ(rig.link.last_reply(), ReplyStatus::Cancelled);
    EXPECT_FALSE(rig.link.pause(20.1));
    EXPECT_FALSE(rig.link.send_command("*IDN?", true));
    EXPECT_EQ(rig.clock.now(), 1.0);  // only the identification's pause has passed
    EXPECT_EQ(rig.link.commands_sent(), 1);
    rig.link.setup_rs232(rig.choices);  // a new set-up starts afresh
    EXPECT_FALSE(rig.link.cancel_requested());
    EXPECT_EQ(rig.link.commands_sent(), 0);
}

// The real clock looks at the flag every 20 ms: a 20 s wait ends within a tenth of a second.
TEST(Cancel, RealClockPauseEndsSoonAfterTheRequest) {
    RealClock clock;
    std::atomic<bool> stop{false};
    std::thread cancel([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        stop.store(true);
    });
    const double start = clock.now();
    EXPECT_FALSE(clock.pause_unless(20.1, stop));
    cancel.join();
    EXPECT_LT(clock.now() - start, 0.15);
    EXPECT_TRUE(clock.pause_unless(0.01, std::atomic<bool>{false}));
}

TEST(GpibLibrary, LoadsTheSimulatorsButNotALibraryLackingACall) {
    std::string error;
    EXPECT_EQ(load_gpib_library(NI_NO_IBRD_PATH, &error), nullptr);
    EXPECT_NE(error.find("no ibrd"), std::string::npos) << error;
    const auto driver = load_gpib_library(SIM_GPIB_PATH, &error);
    ASSERT_NE(driver, nullptr) << error;
    EXPECT_GE(driver->ibdev(0, 12, 0, 13, 1, 0), 0);
}

}  // namespace
}  // namespace kelvara
