// kelvara-cli write, read, list and delete against the simulator, in real time: over a
// pseudo-terminal served by kelvara-sim, and over GPIB through the simulated NI-488.2 library.
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

#if defined(KELVARA_SIM_PATH) && defined(KELVARA_SIM_GPIB_PATH)

namespace {

namespace fs = std::filesystem;

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

struct CliRun {
    int status;
    std::string out, err;
};

// kelvara-sim on a pseudo-terminal; the device path is the first line it prints.
class SimProcess {
  public:
    SimProcess(const std::string& model, const std::string& state) {
        int fds[2];
        if (::pipe(fds) != 0) return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(fds[1], STDOUT_FILENO);
            ::close(fds[0]);
            ::close(fds[1]);
            ::execl(KELVARA_SIM_PATH, KELVARA_SIM_PATH, "--model", model.c_str(), "--state",
                    state.c_str(), static_cast<char*>(nullptr));
            ::_exit(127);
        }
        ::close(fds[1]);
        char c;
        while (::read(fds[0], &c, 1) == 1 && c != '\n') device_ += c;
        out_ = fds[0];
    }
    ~SimProcess() {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            ::waitpid(pid_, nullptr, 0);
        }
        if (out_ >= 0) ::close(out_);
    }
    const std::string& device() const { return device_; }

  private:
    pid_t pid_ = -1;
    int out_ = -1;
    std::string device_;
};

struct Row {
    const char* model;
    bool gpib;
    int location;
    bool list;  // also list the catalogue (only where it is quick)
};

class CliInstrument : public ::testing::TestWithParam<Row> {
  protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("kelvara-cli-instrument-" + std::to_string(::getpid()) + "-" +
                std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
                std::to_string(counter_++));
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string path(const std::string& name) const { return (dir_ / name).string(); }

    CliRun run(std::vector<std::string> args) const {
        std::string command = "'" KELVARA_CLI_PATH "'";
        for (const auto& a : args) command += " '" + a + "'";
        command += " >'" + path("stdout") + "' 2>'" + path("stderr") + "'";
        const int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(path("stdout")),
                slurp(path("stderr"))};
    }

    fs::path dir_;
    static inline int counter_ = 0;
};

const std::string kCurve =
    "Sensor Model:   E2E-CURVE\r\nSerial Number:  SN-7\r\n"
    "Data Format:    3      (Ohms vs. Kelvin)\r\nSetPoint Limit: 325.0      (Kelvin)\r\n"
    "Temperature coefficient:  1 (Negative)\r\nNumber of Breakpoints:   3\r\n\r\n"
    "No.   Units      Temperature (K)\r\n\r\n"
    "  1  1.23456        4.200\r\n  2  100.500       77.350\r\n  3  1500.50       300.000\r\n";

TEST_P(CliInstrument, WriteThenReadBackThenDelete) {
    const Row& row = GetParam();
    const std::string state = path("state");
    std::vector<std::string> bus;
    std::unique_ptr<SimProcess> sim;
    if (row.gpib) {
        ::setenv("KELVARA_SIM_MODEL", row.model, 1);
        ::setenv("KELVARA_SIM_STATE", state.c_str(), 1);
        bus = {"--gpib", "12", "--gpib-library", KELVARA_SIM_GPIB_PATH};
    } else {
        sim = std::make_unique<SimProcess>(row.model, state);
        ASSERT_FALSE(sim->device().empty());
        bus = {"--serial", sim->device()};
    }
    auto with_bus = [&](std::vector<std::string> args) {
        args.insert(args.begin() + 1, {"--model", row.model});
        args.insert(args.end(), bus.begin(), bus.end());
        return args;
    };
    const std::string in = path("in.taz"), out = path("out.taz");
    std::ofstream(in, std::ios::binary) << kCurve;
    const std::string n = std::to_string(row.location);

    CliRun w = run(with_bus({"write", "--location", n, in}));
    ASSERT_EQ(w.status, 0) << w.err;

    CliRun r = run(with_bus({"read", "--location", n, out}));
    ASSERT_EQ(r.status, 0) << r.err;
    // The curve read back is the curve written (the coefficient recomputed: rising, positive).
    CliRun shown_in = run({"show", "--model", row.model, in});
    CliRun shown_out = run({"show", "--model", row.model, out});
    ASSERT_EQ(shown_in.status, 0) << shown_in.err;
    std::string expected = shown_in.out;
    const std::string negative = "\"temperature_coefficient\":1";
    if (const auto at = expected.find(negative); at != std::string::npos)
        expected.replace(at, negative.size(), "\"temperature_coefficient\":2");
    EXPECT_EQ(shown_out.out, expected);

    if (row.list) {
        CliRun l = run(with_bus({"list"}));
        ASSERT_EQ(l.status, 0) << l.err;
        EXPECT_NE(l.out.find("\n" + n + " - E2E-CURVE  SN-7\n"), std::string::npos) << l.out;
    }

    CliRun d = run(with_bus({"delete", "--location", n}));
    EXPECT_EQ(d.status, 0) << d.err;
    CliRun gone = run(with_bus({"read", "--location", n, path("gone.taz")}));
    EXPECT_EQ(gone.status, 1);
    EXPECT_FALSE(fs::exists(path("gone.taz")));
}

INSTANTIATE_TEST_SUITE_P(Buses, CliInstrument,
                         ::testing::Values(Row{"TAZ", false, 21, false},
                                           Row{"FEN", false, 28, true}, Row{"TAZ", true, 60, true},
                                           Row{"QUA/RIL", true, 21, false}),
                         [](const auto& info) {
                             std::string m = info.param.model;
                             if (m == "QUA/RIL") m = "QUA_RIL";
                             return m + (info.param.gpib ? "_GPIB" : "_PTY");
                         });

TEST(CliInstrumentUsage, BadLocationsAndArgumentsAreUsageErrors) {
    struct Case {
        std::vector<std::string> args;
        int status;
        const char* err;
    };
    const std::vector<Case> cases = {
        {{"read", "--model", "TAZ", "--simulate", "--location", "61", "x.taz"}, 2, "location 61"},
        {{"write", "--model", "TAZ", "--simulate", "--location", "20", "x.taz"}, 2, "location 20"},
        {{"delete", "--model", "DAL", "--simulate", "--location", "1"}, 2, "location 1"},
        {{"delete", "--model", "TAZ", "--simulate"}, 2, "--location"},
        {{"read", "--model", "TAZ", "--simulate", "--location", "5"}, 2, "OUT"},
        {{"write", "--model", "KOR", "--simulate", "--location", "11", "--no-scaling",
          "--units-factor", "2", "x.nav"},
         2,
         "--no-scaling"},
        {{"list", "--model", "TAZ", "--simulate", "--location", "x"}, 2, "--location"},
        {{"write", "--model", "TAZ", "--simulate", "--location", "21", "/nonexistent/x.taz"},
         1,
         ""},
    };
    for (const Case& c : cases) {
        std::string command = "'" KELVARA_CLI_PATH "'";
        for (const auto& a : c.args) command += " '" + a + "'";
        command += " 2>&1";
        FILE* p = ::popen(command.c_str(), "r");
        ASSERT_NE(p, nullptr);
        std::string output;
        char buffer[256];
        while (size_t got = std::fread(buffer, 1, sizeof buffer, p)) output.append(buffer, got);
        const int raw = ::pclose(p);
        SCOPED_TRACE(command + "\n" + output);
        EXPECT_EQ(WEXITSTATUS(raw), c.status);
        EXPECT_NE(output.find(c.err), std::string::npos);
    }
}

}  // namespace

#endif
