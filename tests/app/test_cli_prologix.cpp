// kelvara-cli through kelvara-sim's simulated GPIB adapters, on a pseudo-terminal (USB) and on
// TCP (Ethernet), in real time: every GPIB model's write, read, catalogue and delete, and the
// ways an opening fails. The runs wait mostly on the instruments' pauses, so they go side by side.
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <vector>

#include "cli_runner.h"

namespace {

using namespace cli_test;

// In the layout the file writer gives, so that a curve reads back byte for byte.
const std::string kTaz =
    "Sensor Model:   E2E\r\nSerial Number:  SN-7\r\n"
    "Data Format:    3      (Ohms vs. Kelvin)\r\nSetPoint Limit: 325.0      (Kelvin)\r\n"
    "Temperature coefficient:  2 (Positive)\r\nNumber of Breakpoints:   3\r\n\r\n"
    "No.   Units      Temperature (K)\r\n\r\n"
    "  1  1.23456         4.200\r\n  2  100.500        77.350\r\n  3  1000.00       300.000\r\n";
// The older instruments keep name and serial number in one field and split it after nine.
std::string nav(const std::string& interpolation) {
    return "Sensor Model:   CLI-TESTS\r\nSerial Number:  N77\r\nInterpolation Method:   " +
           interpolation +
           "\r\nSetPoint Limit: 800.0      (Kelvin)\r\nData Format:    0      \r\n"
           "Number of Breakpoints:   3\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n"
           "  1  0.10800       475.0\r\n  2  1.00000        77.4\r\n  3  1.60000         4.2\r\n";
}

struct Model {
    std::string name;
    int location;  // the last user location
    std::string file, back;
};

const std::vector<Model> kModels = {
    {"TAZ", 60, kTaz, kTaz},
    {"FEN", 28, kTaz, kTaz},
    {"GIR", 59, kTaz, kTaz},
    {"MEP", 35, kTaz, kTaz},
    {"OBR", 41, kTaz, kTaz},
    {"PIX", 41, kTaz, kTaz},
    {"QUA", 59, kTaz, kTaz},
    {"VEM", 59, kTaz, kTaz},
    {"WUN", 20, kTaz, kTaz},
    {"ZEK", 59, kTaz, kTaz},
    {"NAV", 31, nav("Straight Line"), nav("Unknown")},
    {"KIP", 15, nav("Straight Line"), nav("Straight Line")},
    {"DUN", 31, nav("Straight Line"), nav("Straight Line")},
    {"ELK", 31, nav("Straight Line"), nav("Straight Line")},
};

// kelvara-sim's adapter and the options that reach it.
struct Adapter {
    std::unique_ptr<Simulator> sim;
    std::string options;
    Adapter(const std::string& model, bool tcp, const std::string& more = "") {
        sim = std::make_unique<Simulator>("--model " + model +
                                          (tcp ? " --prologix-tcp 0" : " --prologix") + more);
        options = (tcp ? " --prologix-host " : " --prologix ") + sim->device();
    }
};

// Writes, reads back, lists and deletes; "" when all went as it should, else what did not.
std::string round_trip(const Scratch& s, const Model& m, bool tcp) {
    Adapter adapter(m.name, tcp);
    if (adapter.sim->device().empty()) return "no simulator";
    const std::string link = " --model " + m.name + " --gpib 7" + adapter.options;
    const std::string at = " --location " + std::to_string(m.location) + " ";
    const std::string ext = m.file == kTaz ? "taz" : "nav";
    s.put("in." + ext, m.file);
    const auto step = [&](const std::string& what, int status) -> std::string {
        const CliRun r = s.cli(what);
        if (r.status != status)
            return what + ": exit " + std::to_string(r.status) + ", stderr: " + r.err;
        return {};
    };
    std::string failed = step("write" + link + at + "in." + ext, 0);
    if (failed.empty()) failed = step("read" + link + at + "back." + ext, 0);
    if (failed.empty() && s.get("back." + ext) != m.back)
        failed = "read back:\n" + s.get("back." + ext);
    if (failed.empty()) failed = step("list" + link, 0);
    if (failed.empty()) {
        const std::string name = m.file == kTaz ? "E2E" : "CLI-TESTS";
        const std::string listed = s.get(".out");
        bool found = false;
        for (std::size_t at_line = 0; at_line < listed.size();) {
            const std::size_t end = listed.find('\n', at_line);
            const std::string line = listed.substr(at_line, end - at_line);
            found = found ||
                    (std::atoi(line.c_str()) == m.location && line.find(name) != std::string::npos);
            at_line = end == std::string::npos ? end : end + 1;
        }
        if (!found) failed = "not listed:\n" + listed;
    }
    if (failed.empty()) failed = step("delete" + link + at, 0);
    if (failed.empty()) failed = step("read" + link + at + "gone." + ext, 1);
    return failed;
}

TEST(CliPrologix, EveryGpibModelRoundTripsThroughBothAdapterKinds) {
    std::vector<std::unique_ptr<Scratch>> dirs;
    std::vector<std::pair<std::string, std::future<std::string>>> runs;
    for (const bool tcp : {false, true})
        for (const Model& m : kModels) {
            dirs.push_back(std::make_unique<Scratch>());
            runs.emplace_back(m.name + (tcp ? " over TCP" : " over a pty"),
                              std::async(std::launch::async, round_trip, std::cref(*dirs.back()),
                                         std::cref(m), tcp));
        }
    for (auto& [name, run] : runs) EXPECT_EQ(run.get(), "") << name;
}

TEST(CliPrologix, IdentifiesOrNamesTheAdapterThatCouldNotBeUsed) {
    const std::string ildev =
        "Problem talking to instrument (ildev). Continuing to work offline.\n";
    struct Row {
        std::string simulator;  // kelvara-sim's arguments ("": none)
        std::string arguments;  // "{dev}": what the simulator serves on
        int status;
        std::string text;  // stdout on success, else stderr
    };
    const Row rows[] = {
        {"--model TAZ --prologix", "--model TAZ --gpib 12 --prologix {dev}", 0,
         "TAZ identified on GPIB address 12 through the adapter on {dev} (Kelvara simulated "
         "GPIB-USB adapter version 1.0)\n"},
        {"--model KIP --prologix-tcp 0", "--model KIP --gpib 30 --prologix-host {dev}", 0,
         "KIP identified on GPIB address 30 through the adapter on {dev} (Kelvara simulated "
         "GPIB-ETHERNET adapter version 1.0)\n"},
        // The instrument itself on the line: nobody answers "++ver" for five seconds.
        {"--model TAZ", "--model TAZ --gpib 12 --prologix {dev}", 1,
         ildev + "kelvara-cli identify: GPIB adapter {dev}: no reply to ++ver: no "
                 "Prologix-compatible adapter there\n"},
        {"--model TAZ --prologix", "--model TAZ --gpib 31 --prologix {dev}", 1,
         ildev + "kelvara-cli identify: GPIB adapter {dev}: GPIB address 31 is not one of the "
                 "adapter's 0 to 30\n"},
        {"", "--model TAZ --gpib 12 --prologix-host 127.0.0.1:1", 1,
         ildev + "kelvara-cli identify: GPIB adapter 127.0.0.1:1: Connection refused\n"},
        {"", "--model TAZ --gpib 12 --prologix /nonexistent/ttyUSB0", 1,
         ildev + "kelvara-cli identify: GPIB adapter /nonexistent/ttyUSB0: No such file or "
                 "directory\n"},
        // The adapter answers, the instrument behind it does not: an empty reply after 10 s.
        {"--model TAZ --faults silent --prologix-tcp 0",
         "--model TAZ --gpib 9 --prologix-host {dev}", 1,
         "Wrong model number received from instrument. Continuing to work offline.\n"},
        {"", "--model TAZ --port 1 --prologix /dev/ttyUSB0", 2,
         "kelvara-cli identify: --gpib-library, --prologix and --prologix-host go with --gpib\n"},
        {"", "--model TAZ --gpib 1 --prologix /dev/ttyUSB0 --prologix-host lab", 2,
         "kelvara-cli identify: choose one of --gpib-library, --prologix and --prologix-host\n"},
    };
    std::vector<std::unique_ptr<Scratch>> dirs;
    std::vector<std::future<void>> runs;
    for (const Row& row : rows) {
        dirs.push_back(std::make_unique<Scratch>());
        runs.push_back(std::async(std::launch::async, [&row, &s = *dirs.back()] {
            std::unique_ptr<Simulator> sim;
            std::string arguments = row.arguments, text = row.text;
            if (!row.simulator.empty()) sim = std::make_unique<Simulator>(row.simulator);
            for (std::string* t : {&arguments, &text})
                for (std::size_t at; sim && (at = t->find("{dev}")) != std::string::npos;)
                    t->replace(at, 5, sim->device());
            const CliRun r = s.cli("identify " + arguments);
            EXPECT_EQ(r.status, row.status) << arguments;
            EXPECT_EQ(row.status == 0 ? r.out : r.err, text) << arguments;
        }));
    }
    for (auto& run : runs) run.get();
}

}  // namespace
