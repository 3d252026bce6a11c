// kelvara-cli against misbehaving instruments in real time, where the time itself is the point:
// a whole curve at 1200 baud, a hang-up noticed at once, the processor left alone while the
// program waits, Ctrl-C of a ten-minute HOX write. And the checks that fail a command before it
// talks to any instrument.
#include <gtest/gtest.h>

#include <memory>

#include "cli_runner.h"

namespace {

using namespace cli_test;

const std::string kProblem = "Problem talking to instrument.\n";
const std::string kOld = "OLD CONTENT\n";

// A KOR holding a curve of 97 points (the most it takes) in location 11.
std::string kor_state() {
    std::string s =
        "KELVARA-SIM-STATE 1\nMODEL KOR\nCURVE 11\nNAME \nSERIAL \n"
        "HEADER S00FULLCURVESN1234\nFORMAT \nLIMIT \nCOEF \n";
    for (int k = 0; k < 97; ++k) {
        char line[64];
        std::snprintf(line, sizeof line, "POINT\t%.5f\t%05.1f\n", 0.1 + 0.015 * k, 400 - 3.5 * k);
        s += line;
    }
    return s + "END\n";
}

struct Row {
    std::string what;
    std::string sim;        // kelvara-sim's arguments ({state}: a KOR with a 97-point curve)
    std::string gpib_env;   // the simulated GPIB library's environment
    std::string arguments;  // {dev} is the pseudo-terminal
    int signal;             // sent 2 s after the start (0: none)
    int status;
    std::string err;   // stderr holds this
    bool out_written;  // OUT replaced; otherwise it keeps its old content
    double min_seconds, max_seconds;
    double cpu_share;  // of the time taken, at most
};

class CliFaults : public ::testing::TestWithParam<Row> {};

TEST_P(CliFaults, EndInTimeWithoutBurningTheProcessor) {
    const Row& row = GetParam();
    Scratch s;
    s.put("out.nav", kOld);
    s.put("out.taz", kOld);
    s.put("kor.state", kor_state());
    std::string hox = "HX-1\r\n";
    for (int k = 0; k < 192; ++k) hox += "1.00,100.000\r\n";
    s.put("in.hox", hox);
    std::unique_ptr<Simulator> sim;
    std::string arguments = row.arguments;
    if (!row.sim.empty()) {
        std::string options = row.sim;
        if (const auto at = options.find("{state}"); at != std::string::npos)
            options.replace(at, 7, "'" + s.path("kor.state") + "'");
        sim = std::make_unique<Simulator>(options);
        ASSERT_FALSE(sim->device().empty());
        arguments.replace(arguments.find("{dev}"), 5, sim->device());
    }
    const CliRun r = s.cli_timed(arguments, row.gpib_env, row.signal, 2.0);
    EXPECT_EQ(r.status, row.status) << r.err;
    EXPECT_NE(r.err.find(row.err), std::string::npos) << r.err;
    EXPECT_GE(r.seconds, row.min_seconds);
    EXPECT_LE(r.seconds, row.max_seconds);
    EXPECT_LE(r.cpu_seconds, row.cpu_share * std::max(r.seconds, 1.0)) << r.cpu_seconds;
    const std::string out =
        s.get(arguments.find("out.nav") != std::string::npos ? "out.nav" : "out.taz");
    EXPECT_EQ(out != kOld, row.out_written);
    if (row.out_written) {
        EXPECT_NE(out.find(" 97 "), std::string::npos);  // the 97th point is there
    }
}

const std::string kRead = "read --model ";
// clang-format off
const Row kRows[] = {
    // 1 s for the identification, 1.1 s of pause, then 1410 characters at 120 a second.
    {"whole curve at 1200 baud", "--model KOR --faults speed --state {state}", "",
     kRead + "KOR --serial {dev} --location 11 out.nav", 0, 0, "", true, 12.5, 16, 0.05},
    {"hang-up on the pseudo-terminal", "--model TAZ --faults hangup=4", "",
     kRead + "TAZ --serial {dev} --location 1 out.taz", 0, 1,
     kProblem + "kelvara-cli read: the connection to the instrument was lost: ", false, 1, 2.5, 0.2},
    {"silence mid-curve", "--model TAZ --faults cut=3", "",
     kRead + "TAZ --serial {dev} --location 1 out.taz", 0, 1, kProblem, false, 11, 13.5, 0.05},
    {"failing GPIB read", "", "KELVARA_SIM_MODEL=TAZ KELVARA_SIM_FAULTS=readfail=3",
     kRead + "TAZ " + kGpib + " --location 1 out.taz", 0, 1,
     kProblem + "kelvara-cli read: the connection to the instrument was lost: the GPIB driver "
     "reported EBUS", false, 0.2, 2, 0.5},
    // Behind a simulated adapter the pseudo-terminal, or the connection, closes once the fourth
    // reply has gone out.
    {"hang-up behind a USB adapter", "--model TAZ --faults hangup=4 --prologix", "",
     kRead + "TAZ --gpib 12 --prologix {dev} --location 1 out.taz", 0, 1,
     kProblem + "kelvara-cli read: the connection to the instrument was lost: GPIB adapter /dev/",
     false, 0.2, 2.5, 0.2},
    {"hang-up behind an Ethernet adapter", "--model FEN --faults hangup=4 --prologix-tcp 0", "",
     kRead + "FEN --gpib 12 --prologix-host {dev} --location 1 out.taz", 0, 1,
     kProblem + "kelvara-cli read: the connection to the instrument was lost: GPIB adapter "
     "127.0.0.1:", false, 0.2, 2.5, 0.2},
    // Within a second of Ctrl-C, counted from the signal.
    {"Ctrl-C during a HOX write", "--model HOX", "", "write --model HOX --serial {dev} in.hox",
     SIGINT, 130, "Writing cancelled. The instrument may now hold a partial curve.\n", false, 0, 1,
     0.2},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(RealTime, CliFaults, ::testing::ValuesIn(kRows),
                         [](const auto& info) { return "case" + std::to_string(info.index); });

// What fails before any instrument is asked anything, and the writer's notice that is no
// failure.
TEST(CliEarly, RefusedBeforeTheTransferOrNotAtAll) {
    Scratch s;
    s.put("one.nav",
          "Sensor Model:   ONE\r\nSerial Number:  S1\r\nInterpolation Method:   Unknown\r\n"
          "SetPoint Limit: 800.0      (Kelvin)\r\nData Format:    0      \r\n"
          "Number of Breakpoints:   1\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n"
          "  1  0.10800       475.0\r\n");
    s.put("kept.taz", kOld);
    struct Early {
        std::string arguments;
        int status;
        std::string err, out;
    };
    // clang-format off
    const Early rows[] = {
        {"read --model TAZ --simulate --location 1 x.nav", 1,
         "read: Wrong file type. Must use file with '.TAZ' or '.TZA' extension.\n", ""},
        {"read --model TAZ --simulate --location 1 no/x.taz", 1,
         "read: cannot write no/x.taz: the folder no does not exist\n", ""},
        {"read --model KOR --gpib 12 --location 11 x.nav", 2,
         "the KOR has no GPIB: it is reached over RS-232 (--serial PATH or --port N)", ""},
        {"list --model HOX --gpib 3", 2, "the HOX has no GPIB", ""},
        {"delete --model TAZ --simulate --location 21 --location 22", 2,
         "delete: --location given more than once\n", ""},
        {"list --model TAZ --model FEN --simulate", 2, "--model given more than once", ""},
        {"list --model TAZ --serial /dev/null --serial /dev/zero", 2,
         "--serial given more than once", ""},
        {"write --model KOR --simulate --location 11 --no-scaling --no-scaling one.nav", 2,
         "--no-scaling given more than once", ""},
        // The system's reason why the device would not open.
        {"list --model TAZ --serial /nonexistent/tty", 1,
         "kelvara-cli list: /nonexistent/tty: No such file or directory\n", ""},
        // A one-point curve cannot go to the older instruments: nothing is sent, and that fails.
        {"write --model KOR --simulate --location 11 one.nav", 1,
         "Nothing was sent to the instrument: it takes curves of at least 2 points.\n", ""},
        {"write --model KIP --simulate --location 4 one.nav", 1, "Nothing was sent", ""},
        // The .DUN writer's notice is printed; the read succeeded.
        {"read --model ELK --simulate --location 1 e.dun", 0,
         "Warning. Setting 3rd character in header field to 0.\n", ""},
    };
    // clang-format on
    for (const Early& row : rows) {
        SCOPED_TRACE(row.arguments);
        const CliRun r = s.cli_timed(row.arguments);
        EXPECT_EQ(r.status, row.status);
        EXPECT_NE(r.err.find(row.err), std::string::npos) << r.err;
        EXPECT_EQ(r.out, row.out);
        EXPECT_LT(r.seconds, 5);
    }
    EXPECT_TRUE(s.exists("e.dun"));
    EXPECT_FALSE(s.exists("x.nav"));
}

// An instrument's curve name holding terminal control bytes reaches the terminal as text.
TEST(CliEarly, ControlBytesAreEscaped) {
    Scratch s;
    s.put("fen.state",
          "KELVARA-SIM-STATE 1\nMODEL FEN\nCURVE 21\nNAME A\x1b[2JB\x07\nSERIAL S\x9b"
          "1\nHEADER \nFORMAT 2\nLIMIT 375\nCOEF 1\nEND\n");
    const CliRun r = s.cli_timed("list --model FEN " + kGpib,
                                 "KELVARA_SIM_MODEL=FEN KELVARA_SIM_STATE=fen.state");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("21 - A\\x1B[2JB\\x07  S\\x9B1\n"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find('\x1b'), std::string::npos);
}

}  // namespace
