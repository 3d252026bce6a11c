// Opening over RS-232 and the serial traffic: line settings per model, identification, the
// silent instrument, replies in pieces, the CR LF terminator and discarding stale input.
#include <gtest/gtest.h>

#include "link_fakes.h"

namespace kelvara {
namespace {

using M = InstrumentModel;
using Answer = test::FakeSerial::Answer;
using Texts = std::vector<std::string>;

const std::string kWrong =
    "Wrong model number received from instrument. Continuing to work offline.";
const std::string kRs232 =
    "Error with RS232 interface with instrument. Continuing to work offline.";

TEST(SerialOpening, UsesEachModelsLineSettingsAndPing) {
    struct Row {
        const char* settings;
        const char* ping;
        std::vector<M> models;
    };
    const Row rows[] = {
        {"9600,O,7,1", "*IDN?", {M::DAL, M::FEN, M::MEP, M::OBR, M::PIX, M::TAZ, M::WUN}},
        {"9600,N,8,1", "*IDN?", {M::HOX}},
        {"1200,O,7,1", "*IDN?", {M::KOR, M::LUM, M::NAV}},
        {"57600,O,7,1", "*IDN?", {M::QUA_RIL, M::VEM, M::GIR, M::ZEK}},
        {"1200,O,7,1", "W2", {M::KIP, M::DUN, M::ELK}},
    };
    std::size_t models = 0;
    for (const auto& row : rows)
        for (M model : row.models) {
            SCOPED_TRACE(std::string(designation(model)));
            ++models;
            test::Rig rig(model);
            rig.port->answers = {{{0.1, "T," + std::string(designation(model)) + ",1\r\n"}}};
            rig.link.setup_rs232(rig.choices);
            EXPECT_EQ(rig.port->settings.text(), row.settings);
            EXPECT_EQ(rig.port->device, "/dev/pts/9");
            // Over RS-232 every line ends in CR LF.
            EXPECT_EQ(rig.port->writes, Texts{std::string(row.ping) + "\r\n"});
            EXPECT_EQ(rig.prompts.texts(), Texts{});
            EXPECT_EQ(rig.choices.interface, Interface::RS232);
        }
    EXPECT_EQ(models, model_profiles().size());
}

TEST(SerialOpening, IdentifiesTheModelFromTheFirstAnsweredPing) {
    struct Row {
        M model;
        std::deque<Answer> answers;
        Texts messages;
    };
    const Row rows[] = {
        {M::FEN, {{{0.1, "TESSALY,MODEL TAZ,1,1\r\n"}}}, {kWrong}},
        {M::TAZ, {{{0.1, "TAZ\r\n"}}}, {kWrong}},
        {M::GIR, {{}, {{0.1, "T,GIR,1,1\r\n"}}}, {}},
        {M::GIR, {{}, {{0.1, "T,ZEK,1,1\r\n"}}}, {kWrong}},
        // Only what came up to the first line end counts: "TAZ" arrives too late to be seen.
        {M::TAZ, {{{0.1, "TESSALY,MODEL \n"}, {3.0, "TAZ,1\r\n"}}}, {kWrong}},
        // A W2 reply without a comma gets the same message as a wrong model.
        {M::ELK, {{{0.1, "12.5\r\n"}}}, {kWrong}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(designation(row.model)));
        test::Rig rig(row.model);
        rig.port->answers = row.answers;
        rig.link.setup_rs232(rig.choices);
        EXPECT_EQ(rig.prompts.texts(), row.messages);
        EXPECT_EQ(rig.port->is_open(), row.messages.empty());
        EXPECT_EQ(rig.port->writes.size(), std::max<std::size_t>(row.answers.size(), 1));
    }
}

TEST(SerialOpening, SilentInstrumentIsPingedTwiceOverAbout22Seconds) {
    test::Rig rig(M::TAZ);
    rig.link.setup_rs232(rig.choices);
    EXPECT_EQ(rig.clock.pauses, (std::vector<double>{1.0, 1.0}));
    EXPECT_NEAR(rig.clock.now(), 22.0, 0.05);
    EXPECT_EQ(rig.port->writes, (Texts{"*IDN?\r\n", "*IDN?\r\n"}));
    EXPECT_EQ(rig.port->discards, 2);  // before each ping
    EXPECT_FALSE(rig.port->is_open());
    EXPECT_EQ(rig.prompts.texts(), Texts{kRs232});
    EXPECT_EQ(rig.choices.interface, Interface::None);
}

struct Opened : test::Rig {
    Opened() : Rig(M::TAZ) {
        port->answers = {{{0.1, "T,TAZ,1\r\n"}}};
        link.setup_rs232(choices);
        port->writes.clear();
    }
};

TEST(SerialTraffic, DiscardsWaitingInputOnlyWhenAsked) {
    for (bool clear_input : {true, false}) {
        SCOPED_TRACE(clear_input);
        Opened rig;
        rig.port->coming = {{0.0, "stale\r\n"}};
        rig.port->answers = {{{0.1, "1\r\n"}}};
        EXPECT_TRUE(rig.link.send_command("BUSY?", clear_input));
        EXPECT_EQ(rig.port->writes, Texts{"BUSY?\r\n"});
        EXPECT_EQ(rig.link.read_reply(), clear_input ? "1\r\n" : "stale\r\n");
    }
}

TEST(SerialTraffic, JoinsPiecesUntilCrOrLfOrTenSeconds) {
    struct Row {
        Answer answer;
        std::string expected;
        double elapsed;
    };
    const Row rows[] = {
        {{{0.5, "TESSAL"}, {1.5, "Y,MODEL T"}, {4.0, "AZ,1\r\n"}}, "TESSALY,MODEL TAZ,1\r\n", 4.0},
        {{{0.3, "7"}, {0.6, "\n9"}}, "7\n9", 0.6},
        {{{0.3, "5\r"}, {0.6, "6\n"}}, "5\r", 0.3},
        {{{2.0, "12"}, {9.9, "34"}}, "1234", 10.0},
        {{}, "", 10.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expected);
        Opened rig;
        rig.port->answers = {row.answer};
        rig.link.send_command("CRVPT? 21,1", true);
        const double start = rig.clock.now();
        EXPECT_EQ(rig.link.read_reply(), row.expected);
        EXPECT_NEAR(rig.clock.now() - start, row.elapsed, 0.02);
    }
}

}  // namespace
}  // namespace kelvara
