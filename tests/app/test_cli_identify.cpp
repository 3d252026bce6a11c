// kelvara-cli identify, run as a user runs it: against the simulator on a pseudo-terminal,
// through the simulated NI-488.2 library loaded at run time, and in-process with --simulate.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct CliResult {
    int status;
    std::string out;
    std::string err;
};

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

std::string quoted(const std::string& s) {
    return "'" + s + "'";
}

// Runs kelvara-cli with `environment` ("NAME=value ...") in front.
CliResult identify(const std::vector<std::string>& args, const std::string& environment = "") {
    const fs::path dir =
        fs::temp_directory_path() / ("kelvara-identify-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    std::string command = environment + " " + quoted(KELVARA_CLI_PATH) + " identify";
    for (const auto& a : args) command += " " + quoted(a);
    command += " >" + quoted((dir / "out").string()) + " 2>" + quoted((dir / "err").string()) +
               " </dev/null";
    const int raw = std::system(command.c_str());
    CliResult r{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(dir / "out"), slurp(dir / "err")};
    fs::remove_all(dir);
    return r;
}

const std::string kWrong =
    "Wrong model number received from instrument. Continuing to work offline.\n";

TEST(CliIdentify, UsageErrorsExitTwo) {
    struct Row {
        std::vector<std::string> args;
        std::string complaint;
    };
    const Row rows[] = {
        {{}, "--model"},
        {{"--simulate"}, "--model"},
        {{"--model", "XYZ", "--simulate"}, "XYZ"},
        {{"--model", "TAZ"}, "exactly one"},
        {{"--model", "TAZ", "--gpib", "12", "--port", "1"}, "exactly one"},
        {{"--model", "TAZ", "--simulate", "--serial", "/dev/null"}, "exactly one"},
        {{"--model", "TAZ", "--gpib", "0"}, "1 to 32"},
        {{"--model", "TAZ", "--gpib", "33"}, "1 to 32"},
        {{"--model", "TAZ", "--gpib", "12x"}, "1 to 32"},
        {{"--model", "TAZ", "--port", "17"}, "1 to 16"},
        {{"--model", "TAZ", "--port"}, "needs a value"},
        {{"--model", "TAZ", "--port", "2", "--gpib-library", "/x.so"}, "--gpib-library"},
        {{"--model", "TAZ", "--simulate", "extra"}, "extra"},
    };
    for (const auto& row : rows) {
        std::string joined;
        for (const auto& a : row.args) joined += a + " ";
        SCOPED_TRACE(joined);
        const CliResult r = identify(row.args);
        EXPECT_EQ(r.status, 2);
        EXPECT_NE(r.err.find(row.complaint), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
    }
}

// --simulate takes the interface the communication dialog preselects for the model.
TEST(CliIdentify, SimulateUsesTheModelsPreselectedInterface) {
    struct Row {
        const char* model;
        const char* out;
    };
    const Row rows[] = {
        {"taz", "TAZ identified on the simulated instrument over GPIB\n"},
        {"HOX", "HOX identified on the simulated instrument over RS-232\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.model);
        const CliResult r = identify({"--model", row.model, "--simulate"});
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, row.out);
        EXPECT_EQ(r.err, "");
    }
}

TEST(CliIdentify, MissingGpibLibraryWorksOffline) {
    const CliResult r =
        identify({"--model", "TAZ", "--gpib", "12", "--gpib-library", "/nonexistent/libgpib.so"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.substr(0, r.err.find('\n') + 1),
              "Problem talking to instrument (ildev). Continuing to work offline.\n");
    EXPECT_NE(r.err.find("/nonexistent/libgpib.so"), std::string::npos);
}

#ifdef KELVARA_SIM_GPIB_PATH
TEST(CliIdentify, ThroughTheSimulatedGpibLibrary) {
    struct Row {
        const char* name;
        std::string environment;
        const char* model;
        int status;
        std::string err;
    };
    const Row rows[] = {
        {"KipW2", "KELVARA_SIM_MODEL=KIP", "KIP", 0, ""},
        {"WrongModel", "KELVARA_SIM_MODEL=TAZ", "MEP", 1, kWrong},
        {"TenFailedClears", "KELVARA_SIM_MODEL=TAZ KELVARA_SIM_FAULTS=clear=10", "TAZ", 0, ""},
        {"ElevenFailedClears", "KELVARA_SIM_MODEL=TAZ KELVARA_SIM_FAULTS=clear=11", "TAZ", 1,
         "Problem talking to instrument (ilclr). Continuing to work offline.\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const CliResult r = identify(
            {"--model", row.model, "--gpib", "12", "--gpib-library", KELVARA_SIM_GPIB_PATH},
            row.environment);
        EXPECT_EQ(r.status, row.status);
        EXPECT_EQ(r.err, row.err);
        if (row.status == 0) {
            EXPECT_EQ(r.out, std::string(row.model) + " identified on GPIB address 12\n");
        }
    }
}
#endif

#ifdef KELVARA_SIM_PATH
// kelvara-sim serving one model on a pseudo-terminal for the life of the object.
class SimulatorProcess {
  public:
    explicit SimulatorProcess(const std::vector<std::string>& args) {
        int out[2];
        if (::pipe(out) != 0) return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(out[1], STDOUT_FILENO);
            ::close(out[0]);
            ::close(out[1]);
            std::vector<char*> argv{const_cast<char*>(KELVARA_SIM_PATH)};
            for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
            argv.push_back(nullptr);
            ::execv(KELVARA_SIM_PATH, argv.data());
            ::_exit(127);
        }
        ::close(out[1]);
        // The first line is the device to open.
        char c;
        while (::read(out[0], &c, 1) == 1 && c != '\n') device_ += c;
        ::close(out[0]);
    }
    ~SimulatorProcess() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGTERM);
        int status = 0;
        ::waitpid(pid_, &status, 0);
    }
    const std::string& device() const { return device_; }

  private:
    pid_t pid_ = -1;
    std::string device_;
};

TEST(CliIdentify, OverAPseudoTerminalToTheSimulator) {
    struct Row {
        const char* name;
        std::vector<std::string> sim_args;
        const char* model;
        int status;
        std::string err;
    };
    const Row rows[] = {
        {"Taz", {"--model", "TAZ"}, "TAZ", 0, ""},
        {"ReplyInPieces", {"--model", "ELK", "--faults", "split=4"}, "ELK", 0, ""},
        {"WrongModel", {"--model", "TAZ", "--identity", "TESSALY,MODEL FEN,1,1"}, "TAZ", 1, kWrong},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SimulatorProcess sim(row.sim_args);
        ASSERT_FALSE(sim.device().empty());
        const CliResult r = identify({"--model", row.model, "--serial", sim.device()});
        EXPECT_EQ(r.status, row.status);
        EXPECT_EQ(r.err, row.err);
        if (row.status == 0) {
            EXPECT_EQ(r.out.substr(0, r.out.find(" (")),
                      std::string(row.model) + " identified on " + sim.device());
        }
    }
}
#endif

}  // namespace
