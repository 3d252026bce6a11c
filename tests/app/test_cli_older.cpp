// kelvara-cli write, read, list and delete against the older instruments, run as a user runs
// them: over a pseudo-terminal to kelvara-sim and through the simulated NI-488.2 library.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
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
    double seconds;
};

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void spill(const fs::path& p, const std::string& text) {
    std::ofstream(p, std::ios::binary) << text;
}

std::string quoted(const std::string& s) {
    return "'" + s + "'";
}

class Workspace {
  public:
    Workspace()
        : dir_(fs::temp_directory_path() / ("kelvara-older-" + std::to_string(::getpid()))) {
        fs::create_directories(dir_);
    }
    ~Workspace() { fs::remove_all(dir_); }
    fs::path path(const std::string& name) const { return dir_ / name; }

    // Runs kelvara-cli with `environment` ("NAME=value ...") in front.
    CliResult cli(const std::vector<std::string>& args, const std::string& environment = "") const {
        std::string command = environment + " " + quoted(KELVARA_CLI_PATH);
        for (const auto& a : args) command += " " + quoted(a);
        command += " >" + quoted(path("out").string()) + " 2>" + quoted(path("err").string()) +
                   " </dev/null";
        const auto start = std::chrono::steady_clock::now();
        const int raw = std::system(command.c_str());
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(path("out")), slurp(path("err")),
                took.count()};
    }

  private:
    fs::path dir_;
};

// A diode curve as the NAV-type file writer lays it out, so that a read-back file can be
// compared line for line.
std::string nav_file(const std::string& name, const std::string& serial,
                     const std::string& interpolation, const std::vector<std::string>& points) {
    std::string text = "Sensor Model:   " + name + "\r\nSerial Number:  " + serial +
                       "\r\nInterpolation Method:   " + interpolation +
                       "\r\nSetPoint Limit: 800.0      (Kelvin)\r\nData Format:    0      \r\n"
                       "Number of Breakpoints:   " +
                       std::to_string(points.size()) +
                       "\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n";
    for (const auto& p : points) text += p + "\r\n";
    return text;
}

const std::vector<std::string> kDiodeLines = {
    "  1  0.10800       475.0",
    "  2  0.50000       300.0",
    "  3  1.00000        77.3",
    "  4  1.60000         4.2",
};

// Writes the diode file, reads it back, lists, deletes and reads the empty location.
void round_trip(const Workspace& ws, const std::vector<std::string>& connection,
                const std::string& environment, int location,
                const std::string& read_back_interpolation) {
    const std::string in = ws.path("in.nav").string(), back = ws.path("back.nav").string();
    spill(in, nav_file("CLI-TEST", "SN77", "Unknown", kDiodeLines));
    const std::string loc = std::to_string(location);
    auto with = [&](std::vector<std::string> args) {
        args.insert(args.end(), connection.begin(), connection.end());
        return args;
    };

    CliResult r = ws.cli(with({"write", "--location", loc, in}), environment);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");

    r = ws.cli(with({"read", "--location", loc, back}), environment);
    ASSERT_EQ(r.status, 0) << r.err;
    // The name goes out unpadded, so the serial number follows it on the wire and the instrument's
    // field splits after nine characters on the way back.
    EXPECT_EQ(slurp(back), nav_file("CLI-TESTS", "N77", read_back_interpolation, kDiodeLines));

    r = ws.cli(with({"list"}), environment);
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string entry = (location < 10 ? "0" : "") + loc + " - CLI-TESTS\n";
    EXPECT_NE(r.out.find(entry), std::string::npos) << r.out;

    r = ws.cli(with({"delete", "--location", loc}), environment);
    ASSERT_EQ(r.status, 0) << r.err;
    r = ws.cli(with({"read", "--location", loc, back}), environment);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "No curve present.\n");
}

#ifdef KELVARA_SIM_GPIB_PATH
TEST(CliOlder, ThroughTheSimulatedGpibLibrary) {
    struct Row {
        const char* model;
        int location;
        const char* interpolation;  // as the read-back file names it
    };
    const Row rows[] = {
        {"NAV", 31, "Unknown"},
        {"KIP", 4, "Straight Line"},
        {"DUN", 6, "Straight Line"},
        {"ELK", 30, "Straight Line"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.model);
        Workspace ws;
        const std::string env = std::string("KELVARA_SIM_MODEL=") + row.model +
                                " KELVARA_SIM_STATE=" + quoted(ws.path("state").string());
        round_trip(ws,
                   {"--model", row.model, "--gpib", "12", "--gpib-library", KELVARA_SIM_GPIB_PATH},
                   env, row.location, row.interpolation);
    }
}

TEST(CliOlder, ScalingOptionsDecideWhatTheInstrumentHolds) {
    struct Row {
        std::vector<std::string> options;
        std::string first_line;  // first point as read back
    };
    // A platinum curve ending at 350 ohms: the default divides the ohms by 100.
    const Row rows[] = {
        {{}, "  1  0.20000        30.0"},
        {{"--no-scaling"}, "  1  20.0000        30.0"},
        {{"--units-factor", "0.001"}, "  1  0.02000        30.0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first_line);
        Workspace ws;
        const std::string env =
            "KELVARA_SIM_MODEL=ELK KELVARA_SIM_STATE=" + quoted(ws.path("state").string());
        const std::vector<std::string> link = {
            "--model", "ELK", "--gpib", "12", "--gpib-library", KELVARA_SIM_GPIB_PATH};
        spill(ws.path("pt.nav"), nav_file("PT-100", "P1", "Unknown",
                                          {"  1 20.00000        30.0", "  2 110.00000       273.2",
                                           "  3 350.00000       900.0"}));
        std::vector<std::string> write = {"write", "--location", "8"};
        write.insert(write.end(), row.options.begin(), row.options.end());
        write.insert(write.end(), link.begin(), link.end());
        write.push_back(ws.path("pt.nav").string());
        CliResult r = ws.cli(write, env);
        ASSERT_EQ(r.status, 0) << r.err;
        std::vector<std::string> read = {"read", "--location", "8", ws.path("back.nav").string()};
        read.insert(read.end(), link.begin(), link.end());
        r = ws.cli(read, env);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(slurp(ws.path("back.nav")).find(row.first_line + "\r\n"), std::string::npos)
            << slurp(ws.path("back.nav"));
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

TEST(CliOlder, OverAPseudoTerminalToTheSimulator) {
    struct Row {
        const char* model;
        int location;
        const char* interpolation;
    };
    const Row rows[] = {
        {"LUM", 11, "Unknown"},
        {"KIP", 7, "Straight Line"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.model);
        SimulatorProcess sim({"--model", row.model});
        ASSERT_FALSE(sim.device().empty());
        Workspace ws;
        round_trip(ws, {"--model", row.model, "--serial", sim.device()}, "", row.location,
                   row.interpolation);
    }
}

// HOX holds one curve; erasing it is the one transfer short enough to run for real.
TEST(CliOlder, HoxDeleteWaitsForTheErase) {
    SimulatorProcess sim({"--model", "HOX"});
    ASSERT_FALSE(sim.device().empty());
    Workspace ws;
    const CliResult r = ws.cli({"delete", "--model", "HOX", "--serial", sim.device()});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_GE(r.seconds, 20.1);
}
#endif

}  // namespace
