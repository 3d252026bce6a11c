// Opening over RS-232 and the serial traffic: line settings per model, identification, the
// silent instrument, replies in pieces, the CR LF terminator and discarding stale input.
#include <gtest/gtest.h>

#include <cmath>

#include "link/instrument_link.h"
#include "link_fakes.h"

namespace kelvara {
namespace {

using test::ScriptedSerial;
using Answer = ScriptedSerial::Answer;

const std::string kWrong =
    "Wrong model number received from instrument. Continuing to work offline.";
const std::string kRs232 =
    "Error with RS232 interface with instrument. Continuing to work offline.";

struct Rig {
    VirtualClock clock;
    RecordingPrompts prompts;
    InstrumentLink link{clock, prompts};
    ScriptedSerial* port = nullptr;
    SetupChoices choices;

    explicit Rig(InstrumentModel model) {
        auto p = std::make_unique<ScriptedSerial>(clock);
        port = p.get();
        link.set_serial_port(std::move(p));
        choices.model = model;
        choices.interface = Interface::RS232;
        choices.serial_port = 3;
        choices.serial_device = "/dev/pts/9";
    }
    void answer(const std::string& reply, double delay = 0.1) {
        port->answers.push_back({{delay, reply}});
    }
};

// The line settings and ping of every selectable model, as the instruments are set up.
TEST(SerialOpening, UsesEachModelsLineSettingsAndPing) {
    struct Row {
        InstrumentModel model;
        const char* settings;
        const char* ping;
        const char* reply;
    };
    const Row rows[] = {
        {InstrumentModel::DAL, "9600,O,7,1", "*IDN?", "T,DAL,1,1\r\n"},
        {InstrumentModel::FEN, "9600,O,7,1", "*IDN?", "T,FEN,1,1\r\n"},
        {InstrumentModel::MEP, "9600,O,7,1", "*IDN?", "T,MEP,1,1\r\n"},
        {InstrumentModel::OBR, "9600,O,7,1", "*IDN?", "T,OBR,1,1\r\n"},
        {InstrumentModel::PIX, "9600,O,7,1", "*IDN?", "T,PIX,1,1\r\n"},
        {InstrumentModel::TAZ, "9600,O,7,1", "*IDN?", "T,TAZ,1,1\r\n"},
        {InstrumentModel::WUN, "9600,O,7,1", "*IDN?", "T,WUN,1,1\r\n"},
        {InstrumentModel::HOX, "9600,N,8,1", "*IDN?", "T,HOX,1,1\r\n"},
        {InstrumentModel::KOR, "1200,O,7,1", "*IDN?", "T,KOR,1,1\r\n"},
        {InstrumentModel::LUM, "1200,O,7,1", "*IDN?", "T,LUM,1,1\r\n"},
        {InstrumentModel::NAV, "1200,O,7,1", "*IDN?", "T,NAV,1,1\r\n"},
        {InstrumentModel::QUA_RIL, "57600,O,7,1", "*IDN?", "T,RIL,1,1\r\n"},
        {InstrumentModel::VEM, "57600,O,7,1", "*IDN?", "T,YIB,1,1\r\n"},
        {InstrumentModel::GIR, "57600,O,7,1", "*IDN?", "T,GIR,1,1\r\n"},
        {InstrumentModel::ZEK, "57600,O,7,1", "*IDN?", "T,ZEK,1,1\r\n"},
        {InstrumentModel::KIP, "1200,O,7,1", "W2", "0,0\r\n"},
        {InstrumentModel::DUN, "1200,O,7,1", "W2", "0,0\r\n"},
        {InstrumentModel::ELK, "1200,O,7,1", "W2", "0,0\r\n"},
    };
    ASSERT_EQ(std::size(rows), model_profiles().size());
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(designation(row.model)));
        Rig rig(row.model);
        rig.answer(row.reply);
        rig.link.setup_rs232(rig.choices);
        EXPECT_EQ(rig.port->settings.text(), row.settings);
        EXPECT_EQ(rig.port->opened_port, 3);
        EXPECT_EQ(rig.port->opened_device, "/dev/pts/9");
        ASSERT_EQ(rig.port->writes.size(), 1u);
        EXPECT_EQ(rig.port->writes[0].what, std::string(row.ping) + "\r\n");
        EXPECT_TRUE(rig.prompts.shown.empty());
        EXPECT_EQ(rig.choices.interface, Interface::RS232);
        EXPECT_TRUE(rig.port->is_open());
    }
}

struct IdRow {
    const char* name;
    InstrumentModel model;
    Answer first;
    Answer second;
    std::vector<std::string> messages;
    std::size_t pings;
};

class SerialIdentification : public ::testing::TestWithParam<IdRow> {};

TEST_P(SerialIdentification, OpensOrGoesOffline) {
    const IdRow& row = GetParam();
    Rig rig(row.model);
    rig.port->answers = {row.first, row.second};
    rig.link.setup_rs232(rig.choices);

    EXPECT_EQ(rig.prompts.texts(), row.messages);
    const bool open = row.messages.empty();
    EXPECT_EQ(rig.choices.interface, open ? Interface::RS232 : Interface::None);
    EXPECT_EQ(rig.port->is_open(), open);
    EXPECT_EQ(rig.port->writes.size(), row.pings);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SerialIdentification,
    ::testing::Values(
        IdRow{"Accepted", InstrumentModel::TAZ, {{0.1, "TESSALY,MODEL TAZ,1,1\r\n"}}, {}, {}, 1},
        IdRow{"OtherModel",
              InstrumentModel::FEN,
              {{0.1, "TESSALY,MODEL TAZ,1,1\r\n"}},
              {},
              {kWrong},
              1},
        IdRow{"NoComma", InstrumentModel::TAZ, {{0.1, "TAZ\r\n"}}, {}, {kWrong}, 1},
        IdRow{"PiecesJoined",
              InstrumentModel::TAZ,
              {{0.5, "TESSAL"}, {1.5, "Y,MODEL T"}, {2.0, "AZ,1"}, {4.0, ",1\r\n"}},
              {},
              {},
              1},
        // Only the first piece up to a line end counts: "TAZ" arrives too late to be seen.
        IdRow{"StopsAtFirstLineEnd",
              InstrumentModel::TAZ,
              {{0.1, "TESSALY,MODEL \n"}, {3.0, "TAZ,1\r\n"}},
              {},
              {kWrong},
              1},
        IdRow{"LineFeedAloneEndsTheReply", InstrumentModel::TAZ, {{0.1, "T,TAZ\n"}}, {}, {}, 1},
        IdRow{
            "CarriageReturnAloneEndsTheReply", InstrumentModel::TAZ, {{0.1, "T,TAZ\r"}}, {}, {}, 1},
        IdRow{"SecondPingAnswered", InstrumentModel::GIR, {}, {{0.1, "T,GIR,1,1\r\n"}}, {}, 2},
        IdRow{"SecondPingWrongModel",
              InstrumentModel::GIR,
              {},
              {{0.1, "T,ZEK,1,1\r\n"}},
              {kWrong},
              2},
        IdRow{
            "ReplyAfterNineSecondsInTime", InstrumentModel::TAZ, {{9.9, "T,TAZ,1\r\n"}}, {}, {}, 1},
        IdRow{"Silent", InstrumentModel::TAZ, {}, {}, {kRs232}, 2},
        // Over RS-232 a W2 reply without a comma gets the same message as a wrong model.
        IdRow{"W2WithoutComma", InstrumentModel::ELK, {{0.1, "12.5\r\n"}}, {}, {kWrong}, 1},
        IdRow{"W2WithComma", InstrumentModel::DUN, {{0.1, "1,2\r\n"}}, {}, {}, 1}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(SerialOpening, SilentInstrumentIsPingedTwiceOverAbout22Seconds) {
    Rig rig(InstrumentModel::TAZ);
    rig.link.setup_rs232(rig.choices);
    EXPECT_EQ(rig.clock.pauses, (std::vector<double>{1.0, 1.0}));
    EXPECT_NEAR(rig.clock.now(), 22.0, 0.05);
    ASSERT_EQ(rig.port->writes.size(), 2u);
    EXPECT_NEAR(rig.port->writes[1].time - rig.port->writes[0].time, 11.0, 0.05);
    // Input is discarded before each ping; the port ends closed.
    EXPECT_EQ(test::whats(rig.port->events),
              (std::vector<std::string>{"open", "discard", "discard", "close"}));
    EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kRs232});
}

TEST(SerialOpening, UnknownModelFallsBackTo9600AndIdn) {
    Rig rig(InstrumentModel::Invalid);
    rig.answer("T,TAZ,1,1\r\n");
    rig.link.setup_rs232(rig.choices);
    EXPECT_EQ(rig.port->settings.text(), "9600,O,7,1");
    EXPECT_EQ(rig.port->writes.at(0).what, "*IDN?\r\n");
    EXPECT_EQ(rig.prompts.texts(),
              (std::vector<std::string>{"Invalid instrument model number.", kWrong}));
}

TEST(SerialOpening, PortThatCannotOpenGoesOffline) {
    Rig rig(InstrumentModel::HOX);
    rig.port->can_open = false;
    rig.link.setup_rs232(rig.choices);
    EXPECT_EQ(rig.prompts.texts(), std::vector<std::string>{kRs232});
    EXPECT_EQ(rig.choices.interface, Interface::None);
    EXPECT_TRUE(rig.port->writes.empty());
}

struct Opened : Rig {
    Opened() : Rig(InstrumentModel::TAZ) {
        answer("T,TAZ,1\r\n");
        link.setup_rs232(choices);
        EXPECT_EQ(choices.interface, Interface::RS232);
        port->writes.clear();
    }
};

TEST(SerialTraffic, AppendsCrLfAndDiscardsOnlyWhenAsked) {
    struct Row {
        bool clear_input;
        std::string expected_reply;
    };
    for (const Row& row : {Row{true, "1\r\n"}, Row{false, "stale\r\n"}}) {
        SCOPED_TRACE(row.clear_input);
        Opened rig;
        rig.port->arrive_now("stale\r\n");
        rig.answer("1\r\n");
        EXPECT_TRUE(rig.link.send_command("BUSY?", row.clear_input));
        EXPECT_EQ(rig.port->writes.at(0).what, "BUSY?\r\n");
        EXPECT_EQ(rig.link.read_reply(), row.expected_reply);
    }
}

TEST(SerialTraffic, ReplyTimesOutAfterTenSecondsWithWhatArrived) {
    struct Row {
        Answer answer;
        std::string expected;
        double elapsed;
    };
    const Row rows[] = {
        {{}, "", 10.0},
        {{{2.0, "12"}, {5.0, "34"}}, "1234", 10.0},
        {{{0.3, "7"}, {0.6, "\n9"}}, "7\n9", 0.6},
        {{{0.3, "5\r"}, {0.6, "6\n"}}, "5\r", 0.3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expected);
        Opened rig;
        rig.port->answers.push_back(row.answer);
        rig.link.send_command("CRVPT? 21,1", true);
        const double start = rig.clock.now();
        EXPECT_EQ(rig.link.read_reply(), row.expected);
        EXPECT_NEAR(rig.clock.now() - start, row.elapsed, 0.02);
    }
}

TEST(SerialTraffic, Rs232PathWorksWhateverTheInterface) {
    Opened rig;
    rig.link.set_interface(Interface::GPIB);  // no GPIB driver: the GPIB path fails
    EXPECT_FALSE(rig.link.send_command("XDT", false));
    rig.answer("ok\r\n");
    EXPECT_TRUE(rig.link.send_command_rs232("XDT", false));
    EXPECT_EQ(rig.link.read_reply_rs232(), "ok\r\n");
    rig.link.close();
    EXPECT_FALSE(rig.port->is_open());
    EXPECT_FALSE(rig.link.send_command_rs232("XDT", false));
}

}  // namespace
}  // namespace kelvara
