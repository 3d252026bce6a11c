// Opening over GPIB: identification per model, the failing steps, registration of the status
// variables, and the traffic afterwards.
#include <gtest/gtest.h>

#include "link_fakes.h"

namespace kelvara {
namespace {

using M = InstrumentModel;
using Texts = std::vector<std::string>;

const std::string kWrong =
    "Wrong model number received from instrument. Continuing to work offline.";
const std::string kImproper = "Improper ping response from instrument. Continuing to work offline.";
const std::string kInvalid = "Invalid instrument model number.";
const std::string kTaz = "TESSALY,MODEL TAZ,1234567,1.2\r\n";

std::string problem(const std::string& step) {
    return "Problem talking to instrument (" + step + "). Continuing to work offline.";
}

TEST(GpibOpening, IdentifiesTheModelFromItsPingReply) {
    struct Row {
        M model;
        std::string reply;  // "": nothing arrives
        std::string ping;
        Texts messages;
    };
    const Row rows[] = {
        {M::TAZ, kTaz, "*IDN?", {}},
        {M::FEN, kTaz, "*IDN?", {kWrong}},
        {M::TAZ, "TAZ,MODEL FEN,TAZ\r\n", "*IDN?", {kWrong}},  // only the second field counts
        {M::FEN, "TESSALY,X,FEN\r\n", "*IDN?", {kWrong}},
        {M::MEP, "TESSALY,MODEL MEP\n", "*IDN?", {}},
        {M::OBR, "TESSALY,MODEL obr,1\r\n", "*IDN?", {kWrong}},
        {M::TAZ, "MODEL TAZ\r\n", "*IDN?", {kWrong}},
        {M::QUA_RIL, "T,MODEL RIL,1,1\r\n", "*IDN?", {}},
        {M::QUA_RIL, "T,MODEL QUA,1,1\r\n", "*IDN?", {}},
        {M::VEM, "T,YIB,1,1\r\n", "*IDN?", {}},
        {M::VEM, "T,MODEL VEM,1,1\r\n", "*IDN?", {}},
        {M::VEM, "T,ZEK-2,1,1\r\n", "*IDN?", {}},
        {M::VEM, "T,GIR,1,1\r\n", "*IDN?", {kWrong}},
        {M::ZEK, "T,VEM,1,1\r\n", "*IDN?", {kWrong}},
        // DAL has no GPIB command list: it is announced as unknown, then asked *IDN? anyway.
        {M::DAL, "T,MODEL DAL,1,1\r\n", "*IDN?", {kInvalid}},
        {M::DAL, kTaz, "*IDN?", {kInvalid, kWrong}},
        {M::KIP, "0,1\r\n", "W2", {}},
        {M::DUN, "12.5,3,K\r\n", "W2", {}},
        {M::ELK, "12.5\r\n", "W2", {kImproper}},
        {M::KIP, "", "W2", {kImproper}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(designation(row.model)) + " " + row.reply);
        test::Rig rig(row.model);
        if (!row.reply.empty()) rig.gpib->replies.push_back(row.reply);
        rig.link.setup_488(rig.choices);

        EXPECT_EQ(rig.prompts.texts(), row.messages);
        const bool open = row.messages.empty() || row.messages == Texts{kInvalid};
        EXPECT_EQ(rig.choices.interface, open ? Interface::GPIB : Interface::None);
        // The ping goes out without a terminator; its reply is read into 80 characters.
        EXPECT_EQ(rig.gpib->log.at(3), "ibwrt " + row.ping);
        EXPECT_EQ(rig.gpib->log.at(4), "ibrd 80");
        if (!open) {
            EXPECT_EQ(rig.gpib->log.back(), "ibonl 0");  // the descriptor is released
        }
    }
}

TEST(GpibOpening, StopsAtTheFirstFailingStep) {
    struct Row {
        bool library;
        int descriptor;
        int clear_failures;
        bool ping_fails;
        std::string failed_step;  // "": opened
        long clears;
        std::vector<double> pauses;
    };
    const Row rows[] = {
        {true, 5, 0, false, "", 1, {0.25, 0.2}}, {true, 5, 10, false, "", 11, {0.25, 0.2}},
        {true, 5, 11, false, "ilclr", 11, {}},   {true, -1, 0, false, "ildev", 0, {}},
        {false, 5, 0, false, "ildev", 0, {}},    {true, 5, 0, true, "ping", 1, {0.25}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.failed_step + " after " + std::to_string(row.clear_failures));
        test::Rig rig(M::TAZ);
        rig.gpib->descriptor = row.descriptor;
        rig.gpib->clear_failures = row.clear_failures;
        rig.gpib->write_fails = {row.ping_fails};
        rig.gpib->replies = {kTaz};
        if (!row.library) rig.link.set_gpib_driver(nullptr);
        rig.link.setup_488(rig.choices);

        const bool open = row.failed_step.empty();
        EXPECT_EQ(rig.prompts.texts(), open ? Texts{} : Texts{problem(row.failed_step)});
        EXPECT_EQ(rig.choices.interface, open ? Interface::GPIB : Interface::None);
        EXPECT_EQ(rig.clock.pauses, row.pauses);
        if (!row.library) continue;
        EXPECT_EQ(rig.gpib->log.at(1), "ibdev 0 7 0 13 1 0");
        EXPECT_EQ(rig.gpib->count("ibclr"), row.clears);
    }
}

TEST(GpibOpening, RegistersTheStatusVariablesOnceBeforeTheFirstCall) {
    struct Row {
        int result;
        Texts before_ibdev;
        bool opens;
    };
    const Row rows[] = {
        {0, {"register"}, true},
        {1, {"register", "unregister", "register"}, true},
        {2, {"register", "unregister"}, false},
        {3, {"register", "unregister"}, false},
        {9, {"register"}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.result);
        test::Rig rig(M::TAZ);
        rig.gpib->register_results = {row.result, 0};
        rig.gpib->replies = {kTaz, kTaz};
        rig.link.setup_488(rig.choices);

        const auto& log = rig.gpib->log;
        EXPECT_EQ(Texts(log.begin(), std::ranges::find(log, "ibdev 0 7 0 13 1 0")),
                  row.before_ibdev);
        EXPECT_EQ(rig.choices.interface, row.opens ? Interface::GPIB : Interface::None);
        if (!row.opens) {
            // Nothing the driver reports can be seen: the error status stays, so the clear fails.
            EXPECT_EQ(rig.prompts.texts(), Texts{problem("ilclr")});
            EXPECT_EQ(rig.link.status().ibsta, GpibStatus::ERR);
            EXPECT_EQ(static_cast<std::uint32_t>(rig.link.status().ibcntl), 0xDEAD37F0u);
        }
        const long registers = rig.gpib->count("register");
        rig.link.setup_488(rig.choices);
        EXPECT_EQ(rig.gpib->count("register"), registers);
    }
}

TEST(GpibTraffic, KeepsTheLow16BitsOfTheDriversStatus) {
    test::Rig rig(M::TAZ);
    rig.gpib->replies = {kTaz, std::string(70000, 'x')};
    rig.link.setup_488(rig.choices);
    rig.gpib->high_bits = 0x10000;
    rig.gpib->write_fails = {false, true};
    EXPECT_TRUE(rig.link.send_command("CRVHDR? 21", true));
    EXPECT_EQ(rig.link.status().ibsta, 0x0100);
    EXPECT_FALSE(rig.link.send_command("CRVDEL 21", false));
    EXPECT_EQ(rig.link.status().ibsta, GpibStatus::ERR);
    EXPECT_EQ(rig.gpib->log.back(), "ibwrt CRVDEL 21");
    rig.link.read_reply(70000);
    EXPECT_EQ(rig.link.status().ibcntl, 70000);
    EXPECT_EQ(rig.link.status().ibcnt, 70000 - 65536);
}

TEST(GpibTraffic, ReadsIntoASpaceFilledBufferCutAtItsSize) {
    const std::pair<std::string, std::string> rows[] = {
        {"+1.234\r\n", "+1.234\r\n" + std::string(72, ' ')},
        {std::string(50, 'a') + std::string(50, 'b'), std::string(50, 'a') + std::string(30, 'b')},
        {"", std::string(80, ' ')},
    };
    for (const auto& [arriving, expected] : rows) {
        SCOPED_TRACE(arriving);
        test::Rig rig(M::TAZ);
        rig.gpib->replies = {kTaz};
        rig.link.setup_488(rig.choices);
        if (!arriving.empty()) rig.gpib->replies.push_back(arriving);
        EXPECT_EQ(rig.link.read_reply(80), expected);
    }
}

TEST(GpibTraffic, CloseReturnsToLocalAndGoesOffline) {
    test::Rig rig(M::TAZ);
    rig.gpib->replies = {kTaz};
    rig.link.setup_488(rig.choices);
    rig.link.close();
    EXPECT_EQ(Texts(rig.gpib->log.end() - 2, rig.gpib->log.end()), (Texts{"ibloc", "ibonl 0"}));
    EXPECT_FALSE(rig.link.send_command("*IDN?", false));
    EXPECT_EQ(rig.link.read_reply(80), "");
}

}  // namespace
}  // namespace kelvara
