// The simulated GPIB adapter as a host sees it, byte for byte, on the virtual clock: the settings
// it starts with, the "++" commands, the escaping, its reads and their time-outs, and the
// instrument's faults behind it.
#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "sim/prologix_adapter.h"
#include "sim/simulated_transports.h"

namespace kelvara::sim {
namespace {

using Kind = BusEvent::Kind;
const std::string kId = "TESSALY,MODEL TAZ,SIM000001,1.0\r\n";
// A controller at the instrument's address that reads only when asked, EOI marked by EOT.
const std::string kController =
    "++mode 1\n++auto 0\n++eot_enable 1\n++eot_char 4\n++read_tmo_ms 1000\n++addr 5\n";

struct Bench {
    VirtualClock clock;
    Instrument instrument{InstrumentModel::TAZ};
    PrologixAdapter adapter{instrument, clock};

    // Sends the lines, then lets `seconds` pass and returns what came back meanwhile, pieces that
    // arrived at different times joined by "|".
    std::string talk(const std::string& bytes, double seconds = 0) {
        adapter.receive(bytes);
        std::string out = adapter.take_output();
        for (const double end = clock.now() + seconds; clock.now() < end - 1e-9;) {
            clock.advance(0.01);
            const std::string piece = adapter.take_output();
            if (!piece.empty()) out += (out.empty() ? "" : "|") + piece;
        }
        return out;
    }
};

TEST(PrologixAdapter, StartsAsAnotherProgramMightHaveLeftIt) {
    Bench b;
    // Device mode: data and reads go nowhere.
    EXPECT_EQ(b.talk("*IDN?\n++read eoi\n", 1), "");
    EXPECT_TRUE(b.instrument.log().empty());
    // Controller mode, still at address 0 where nobody listens, CR LF appended, no EOI.
    EXPECT_EQ(b.talk("++mode 1\n*IDN?\n", 1), "");
    EXPECT_EQ(b.adapter.bus.back(), (BusEvent{Kind::Data, 0, "*IDN?\r\n", false}));
    EXPECT_TRUE(b.instrument.log().empty());
    // At an address the instrument answers, and read after write sends the reply unasked.
    EXPECT_EQ(b.talk("++addr 12\n*IDN?\n", 0.6), kId);
    EXPECT_EQ(b.instrument.log(), std::vector<std::string>{"*IDN?"});
    EXPECT_EQ(b.adapter.memory_writes, 2);  // mode and address, saved as they changed
}

TEST(PrologixAdapter, HonoursTheSettingsTheHostGives) {
    Bench b;
    const std::string setup =
        "++savecfg 0\n++mode 1\n++auto 0\n++eoi 1\n++eos 3\n++eot_enable 1\n++eot_char 4\n"
        "++read_tmo_ms 1000\n++addr 12\n";
    EXPECT_EQ(b.talk(setup + "++addr\n++addr 31\n++addr\n++ver\n"),
              "12\r\n12\r\nKelvara simulated GPIB-USB adapter version 1.0\r\n");
    EXPECT_EQ(b.adapter.memory_writes, 0);
    // ESC makes CR, LF, ESC and "+" data; a lone ESC is dropped.
    EXPECT_EQ(b.talk("\x1b+\x1b+x\x1b\r\x1b\nA\x1b\x1b\x1bZ;\n++clr\n++loc\n"), "");
    EXPECT_EQ(b.adapter.bus, (std::vector<BusEvent>{{Kind::Data, 12, "++x\r\nA\x1bZ;", true},
                                                    {Kind::Clear, 12, "", false},
                                                    {Kind::Local, 12, "", false}}));
    EXPECT_EQ(b.talk("*IDN?\n"), "");  // no read after write any more
    EXPECT_EQ(b.talk("++read eoi\n"), kId + "\x04");
    // Nothing to read: the adapter waits out its second and only then takes the next line.
    EXPECT_EQ(b.talk("++read eoi\n++ver\n", 0.99), "");
    EXPECT_EQ(b.talk("", 0.02), "Kelvara simulated GPIB-USB adapter version 1.0\r\n");
}

TEST(PrologixAdapter, CarriesTheInstrumentsFaults) {
    // faults, what two reads bring within 2 s, lines the instrument heard
    const std::tuple<std::string, std::string, std::size_t> rows[] = {
        {"split=3", "TESSALY,MOD|EL TAZ,SIM0|00001,1.0\r\n\x04", 1},
        {"delay=1.5", kId + "\x04", 1},  // too late for the first read, there for the second
        {"silent", "", 1},
        {"writefail=0", "", 0},
    };
    for (const auto& [faults, read, heard] : rows) {
        SCOPED_TRACE(faults);
        Bench b;
        ASSERT_TRUE(b.instrument.faults.parse(faults));
        b.talk(kController);
        std::string out = b.talk("*IDN?\n++read eoi\n", 1.2);
        out += b.talk("++read eoi\n", 0.8);
        EXPECT_EQ(out, read);
        EXPECT_EQ(b.instrument.log().size(), heard);
    }
}

// The line faults behind the adapter: what has arrived so many seconds after one "++read eoi",
// EOT standing for EOI; and when the line hangs up.
TEST(PrologixAdapter, PacesAndEndsRepliesAsTheLineFaultsSay) {
    const std::string id = kId.substr(0, kId.size() - 2);
    // faults, seconds, what has arrived by then
    const std::tuple<std::string, double, std::string> rows[] = {
        // 8N1 at 1200 baud: 8.3 ms a byte, the 34th (EOT) there at 0.283 s.
        {"speed=1200", 0.275, kId.substr(0, 33)},
        {"speed=1200", 0.285, kId + "\x04"},
        {"trickle=0.5", 1.01, "TES"},
        {"trickle=1.5", 5, "T"},  // the adapter's read ends at the first gap over 1 s
        {"noterm", 2, id},        // no EOI, so no end mark
        {"after=1,noterm", 2, kId + "\x04"},
        {"after=1,delay=0.5", 0.1, kId + "\x04"},
        {"delay=0.5", 0.45, ""},
        {"readfail=0", 2, ""},
        {"readfail=1", 2, kId + "\x04"},
    };
    for (const auto& [faults, seconds, arrived] : rows) {
        SCOPED_TRACE(faults + " after " + std::to_string(seconds));
        Bench b;
        ASSERT_TRUE(b.instrument.faults.parse(faults));
        b.talk(kController);
        std::string out = b.talk("*IDN?\n++read eoi\n", seconds);
        std::erase(out, '|');
        EXPECT_EQ(out, arrived);
        EXPECT_FALSE(b.adapter.hung_up());
    }
    // Hang-up after two command lines: once the second one's reply has gone out.
    Bench b;
    b.instrument.faults.hangup_after = 2;
    b.talk(kController + "*IDN?\n++read eoi\n");
    b.talk("*IDN?\n");
    EXPECT_FALSE(b.adapter.hung_up());
    EXPECT_EQ(b.talk("++read eoi\n"), kId + "\x04");
    EXPECT_TRUE(b.adapter.hung_up());
}

// What --simulate hands the window: the adapters reach the one instrument of the model, on the
// real clock as the program runs, and waiting for them sleeps instead of spinning.
TEST(SimulatedTransports, AdaptersReachTheModelsInstrumentWithoutSpinning) {
    RealClock clock;
    RecordingPrompts prompts;
    SimulatedTransports transports;
    InstrumentLink link(clock, prompts);
    SetupChoices choices;
    choices.model = InstrumentModel::FEN;
    choices.interface = Interface::GPIB;
    transports.instrument(InstrumentModel::FEN).faults.reply_delay = 0.4;  // a read must wait
    const std::clock_t cpu = std::clock();
    for (const auto route : {GpibRoute::UsbAdapter, GpibRoute::EthernetAdapter}) {
        choices.gpib_route = route;
        transports.attach(link, choices);
        link.setup_488(choices);
        EXPECT_EQ(choices.interface, Interface::GPIB) << int(route);
    }
    EXPECT_LT(double(std::clock() - cpu) / CLOCKS_PER_SEC, 0.1);  // of 1.3 s waited
    EXPECT_TRUE(prompts.texts().empty());
    EXPECT_EQ(transports.find(InstrumentModel::FEN)->log(), std::vector<std::string>(2, "*IDN?"));
    EXPECT_EQ(transports.find(InstrumentModel::TAZ), nullptr);
}

}  // namespace
}  // namespace kelvara::sim
