// kelvara-cli identify against the simulator on a pseudo-terminal, behind its simulated GPIB
// adapters (USB and TCP), through the simulated GPIB library loaded at run time, and in-process
// with --simulate; and the ways an opening fails.
#include <gtest/gtest.h>

#include "cli_runner.h"

namespace {

using namespace cli_test;

// kelvara-sim's arguments ("": none), the simulated GPIB library's environment, identify's
// arguments ("{dev}": what the simulator serves on), exit status, stdout on success else stderr
struct Row {
    std::string simulator, environment, arguments;
    int status;
    std::string text;
};

const std::string kIldev = "Problem talking to instrument (ildev). Continuing to work offline.\n";
const std::string kWrong =
    "Wrong model number received from instrument. Continuing to work offline.\n";
// clang-format off
const Row kRows[] = {
    {"--model TAZ", "", "--model TAZ --serial {dev}", 0, "TAZ identified on {dev} (9600,O,7,1)\n"},
    {"--model TAZ --identity 'TESSALY,MODEL FEN,1,1'", "", "--model TAZ --serial {dev}", 1, kWrong},
    {"", "KELVARA_SIM_MODEL=KIP", "--model KIP " + kGpib, 0, "KIP identified on GPIB address 12\n"},
    // "simulated" names the library installed with the program.
    {"", "KELVARA_SIM_MODEL=KIP", "--model KIP --gpib 12 --gpib-library simulated", 0,
     "KIP identified on GPIB address 12\n"},
    {"", "KELVARA_SIM_MODEL=KIP", "--model KIP --gpib 12 --gpib-library=simulated", 0,
     "KIP identified on GPIB address 12\n"},
    {"", "", "--model TAZ --gpib 12 --gpib-library /nonexistent/libgpib.so", 1,
     kIldev + "kelvara-cli identify: no GPIB library: /nonexistent/libgpib.so: cannot open shared "
     "object file: No such file or directory\n"},
    // --simulate takes the interface the communication dialog preselects for the model.
    {"", "", "--model taz --simulate", 0, "TAZ identified on the simulated instrument over GPIB\n"},
    {"", "", "--model HOX --simulate", 0,
     "HOX identified on the simulated instrument over RS-232\n"},
    {"--model TAZ --prologix", "", "--model TAZ --gpib 12 --prologix {dev}", 0,
     "TAZ identified on GPIB address 12 through the adapter on {dev} (Kelvara simulated "
     "GPIB-USB adapter version 1.0)\n"},
    {"--model KIP --prologix-tcp 0", "", "--model KIP --gpib 30 --prologix-host {dev}", 0,
     "KIP identified on GPIB address 30 through the adapter on {dev} (Kelvara simulated "
     "GPIB-ETHERNET adapter version 1.0)\n"},
    {"--model TAZ --prologix", "", "--model TAZ --gpib 31 --prologix {dev}", 1,
     kIldev + "kelvara-cli identify: GPIB adapter {dev}: GPIB address 31 is not one of the "
     "adapter's 0 to 30\n"},
    {"", "", "--model TAZ --gpib 12 --prologix-host 127.0.0.1:1", 1,
     kIldev + "kelvara-cli identify: GPIB adapter 127.0.0.1:1: Connection refused\n"},
    {"", "", "--model TAZ --gpib 12 --prologix /nonexistent/ttyUSB0", 1,
     kIldev + "kelvara-cli identify: GPIB adapter /nonexistent/ttyUSB0: No such file or "
     "directory\n"},
    {"", "", "--model TAZ --port 1 --prologix /dev/ttyUSB0", 2,
     "kelvara-cli identify: --gpib-library, --prologix and --prologix-host go with --gpib\n"},
    {"", "", "--model TAZ --gpib 1 --prologix /dev/ttyUSB0 --prologix-host lab", 2,
     "kelvara-cli identify: choose one of --gpib-library, --prologix and --prologix-host\n"},
};
// clang-format on

TEST(CliIdentify, AnswersAsTheModelOrWorksOffline) {
    in_parallel(kRows, [](const Row& row) {
        SCOPED_TRACE(row.simulator + " " + row.environment + " " + row.arguments);
        Scratch s;
        const Simulator sim(row.simulator);
        ASSERT_EQ(sim.device().empty(), row.simulator.empty());
        const CliRun r = s.cli("identify " + sim.put_device(row.arguments), row.environment);
        EXPECT_EQ(r.status, row.status);
        EXPECT_EQ(row.status == 0 ? r.out : r.err, sim.put_device(row.text));
        EXPECT_EQ(row.status == 0 ? r.err : r.out, "");
    });
}

}  // namespace
