// Runs kelvara-cli against misbehaving instruments in real time (kelvara-sim on a
// pseudo-terminal, the simulated GPIB library) and prints, per case, how the command ended, how
// long it took and the processor time it used.
//
//   bench_faults [--cli PATH] [--limit SECONDS] [--only TEXT]
//
// --cli runs another kelvara-cli against the same instruments (an older build, to compare);
// --limit ends a command that runs longer (default 60 s) and reports it as still running;
// --only runs the cases whose name holds TEXT.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

std::string cli_path = KELVARA_CLI_PATH;
double limit = 60;

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void put(const fs::path& p, const std::string& bytes) {
    std::ofstream(p, std::ios::binary) << bytes;
}

// A curve of n points in a simulated instrument's state file.
std::string state(const char* model, int location, int n, const char* header = "",
                  const char* format = "2") {
    std::string s = std::string("KELVARA-SIM-STATE 1\nMODEL ") + model + "\nCURVE " +
                    std::to_string(location) + "\nNAME BENCH\nSERIAL B1\nHEADER " + header +
                    "\nFORMAT " + format + "\nLIMIT 375\nCOEF 1\n";
    for (int k = 0; k < n; ++k) {
        char line[64];
        std::snprintf(line, sizeof line, "POINT\t%.5f\t%05.1f\n", 0.1 + 0.015 * k, 400 - 3.5 * k);
        s += line;
    }
    return s + "END\n";
}

std::string taz_file(int n) {
    std::string t =
        "Name: BENCH\r\nSerial number: B1\r\nFormat: 2             ; Volts vs. Kelvin\r\n"
        "Limit: 375\r\nCoefficient: 1        ; Negative\r\n";
    for (int i = 1; i <= n; ++i) {
        char line[64];
        std::snprintf(line, sizeof line, "Point %d: %.5f,%.3f\r\n", i, 0.1 * i, 400.0 - 10 * i);
        t += line;
    }
    return t;
}

std::string nav_file(int n) {
    std::string t =
        "Sensor Model:   BENCH\r\nSerial Number:  B1\r\nInterpolation Method:   Unknown\r\n"
        "SetPoint Limit: 800.0      (Kelvin)\r\nData Format:    0      \r\n"
        "Number of Breakpoints:   " +
        std::to_string(n) + "\r\n\r\nNo.   Units      Temperature (K)\r\n\r\n";
    for (int i = 1; i <= n; ++i) {
        char line[64];
        std::snprintf(line, sizeof line, "%3d  %.5f       %5.1f\r\n", i, 0.1 * i, 475.0 - i);
        t += line;
    }
    return t;
}

std::string hox_file() {
    std::string t = "HX-1\r\n";
    for (int k = 0; k < 192; ++k) t += "1.00,100.000\r\n";
    return t;
}

// kelvara-sim serving one instrument while the object lives.
class Simulator {
  public:
    explicit Simulator(const std::vector<std::string>& arguments) {
        int out[2];
        if (::pipe(out) != 0) return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(out[1], STDOUT_FILENO);
            const int null = ::open("/dev/null", O_WRONLY);
            ::dup2(null, STDERR_FILENO);
            std::vector<char*> argv{const_cast<char*>(KELVARA_SIM_PATH)};
            for (const auto& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
            argv.push_back(nullptr);
            ::execv(KELVARA_SIM_PATH, argv.data());
            ::_exit(127);
        }
        ::close(out[1]);
        char c;
        while (::read(out[0], &c, 1) == 1 && c != '\n') device_ += c;
        ::close(out[0]);
    }
    ~Simulator() {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    const std::string& device() const { return device_; }

  private:
    pid_t pid_ = -1;
    std::string device_;
};

struct Outcome {
    std::string how;  // "exit 1", "killed by signal 2", "still running after 60 s"
    double seconds = 0, cpu = 0;
    std::string last_message;
};

// Runs kelvara-cli in dir with the environment; `interrupt_after` > 0 sends SIGINT then and the
// time counts from the signal.
Outcome run_cli(const fs::path& dir, const std::vector<std::string>& arguments,
                const std::vector<std::string>& environment, double interrupt_after = 0) {
    auto start = Clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        if (::chdir(dir.c_str()) != 0) ::_exit(126);
        for (const auto& e : environment) ::putenv(const_cast<char*>(e.c_str()));
        ::dup2(::open(".out", O_WRONLY | O_CREAT | O_TRUNC, 0644), STDOUT_FILENO);
        ::dup2(::open(".err", O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
        ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
        std::vector<char*> argv{const_cast<char*>(cli_path.c_str())};
        for (const auto& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(cli_path.c_str(), argv.data());
        ::_exit(127);
    }
    Outcome o;
    bool interrupted = false, timed_out = false;
    int raw = 0;
    rusage usage{};
    for (;;) {
        const pid_t done = ::wait4(child, &raw, WNOHANG, &usage);
        if (done == child) break;
        const double t = std::chrono::duration<double>(Clock::now() - start).count();
        if (interrupt_after > 0 && !interrupted && t >= interrupt_after) {
            ::kill(child, SIGINT);
            interrupted = true;
            start = Clock::now();
        } else if (t >= limit && !timed_out) {
            timed_out = true;
            ::kill(child, SIGKILL);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    o.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    o.cpu = usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec +
            usage.ru_stime.tv_usec / 1e6;
    if (timed_out)
        o.how = "still running after " + std::to_string(static_cast<int>(limit)) + " s";
    else if (WIFEXITED(raw))
        o.how = "exit " + std::to_string(WEXITSTATUS(raw));
    else
        o.how = "killed by signal " + std::to_string(WTERMSIG(raw));
    std::string err = slurp(dir / ".err");
    while (!err.empty() && err.back() == '\n') err.pop_back();
    o.last_message = err.substr(err.find_last_of('\n') + 1);
    return o;
}

struct Case {
    const char* name;
    // Sets up the scratch directory and the instrument, runs the command, says what OUT holds.
    std::string (*run)(const fs::path& dir, Outcome& outcome);
};

const std::vector<std::string> kGpibBase = {"--gpib", "12", "--gpib-library",
                                            KELVARA_SIM_GPIB_PATH};

std::vector<std::string> with(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// What a read left in OUT (which held "OLD" before).
std::string out_state(const fs::path& out) {
    if (!fs::exists(out)) return "OUT absent";
    const std::string text = slurp(out);
    if (text == "OLD") return "OUT untouched";
    int lines = 0;
    for (char c : text) lines += c == '\n';
    // The last line shows whether the curve ends as the instrument holds it.
    std::string last = text.substr(0, text.find_last_not_of("\r\n") + 1);
    last = last.substr(last.find_last_of('\n') + 1);
    last = last.substr(last.find_first_not_of(' '));
    return "OUT replaced (" + std::to_string(lines) + " lines, last \"" + last + "\")";
}

// A 30-point TAZ curve in location 21 read over a pseudo-terminal that misbehaves.
std::string taz_pty_read(const fs::path& dir, Outcome& o, const std::string& faults) {
    put(dir / "taz.state", state("TAZ", 21, 30));
    put(dir / "out.tza", "OLD");
    Simulator sim({"--model", "TAZ", "--faults", faults, "--state", (dir / "taz.state").string()});
    o = run_cli(dir,
                {"read", "--model", "TAZ", "--serial", sim.device(), "--location", "21", "out.tza"},
                {});
    return out_state(dir / "out.tza");
}

const Case kCases[] = {
    {"read, silence after 8 lines (pty)",
     [](const fs::path& d, Outcome& o) { return taz_pty_read(d, o, "cut=8"); }},
    {"read, line hangs up after 8 lines (pty)",
     [](const fs::path& d, Outcome& o) { return taz_pty_read(d, o, "hangup=8"); }},
    {"read, garbage after 8 lines (pty)",
     [](const fs::path& d, Outcome& o) { return taz_pty_read(d, o, "after=8,garbage"); }},
    {"read, a byte every 0.5 s after 8 lines (pty)",
     [](const fs::path& d, Outcome& o) { return taz_pty_read(d, o, "after=8,trickle=0.5"); }},
    {"read, failing GPIB read after 8 reads",
     [](const fs::path& d, Outcome& o) {
         put(d / "taz.state", state("TAZ", 21, 30));
         put(d / "out.tza", "OLD");
         o = run_cli(d, with({"read", "--model", "TAZ", "--location", "21", "out.tza"}, kGpibBase),
                     {"KELVARA_SIM_MODEL=TAZ", "KELVARA_SIM_STATE=taz.state",
                      "KELVARA_SIM_FAULTS=readfail=8"});
         return out_state(d / "out.tza");
     }},
    {"read, data-format 1e400 in the header (GPIB)",
     [](const fs::path& d, Outcome& o) {
         put(d / "taz.state", state("TAZ", 21, 3, "", "1e400"));
         put(d / "out.tza", "OLD");
         o = run_cli(d, with({"read", "--model", "TAZ", "--location", "21", "out.tza"}, kGpibBase),
                     {"KELVARA_SIM_MODEL=TAZ", "KELVARA_SIM_STATE=taz.state"});
         return out_state(d / "out.tza");
     }},
    {"read, 97 pairs at 1200 baud (pty)",
     [](const fs::path& d, Outcome& o) {
         put(d / "kor.state", state("KOR", 11, 97, "S00FULLCURVESN1234"));
         put(d / "out.nav", "OLD");
         Simulator sim(
             {"--model", "KOR", "--faults", "speed", "--state", (d / "kor.state").string()});
         o = run_cli(
             d, {"read", "--model", "KOR", "--serial", sim.device(), "--location", "11", "out.nav"},
             {});
         return out_state(d / "out.nav");
     }},
    {"write, line hangs up after 8 lines (pty)",
     [](const fs::path& d, Outcome& o) {
         put(d / "in.tza", taz_file(30));
         Simulator sim({"--model", "TAZ", "--faults", "hangup=8"});
         o = run_cli(
             d, {"write", "--model", "TAZ", "--serial", sim.device(), "--location", "21", "in.tza"},
             {});
         return std::string();
     }},
    {"write, instrument busy forever (pty)",
     [](const fs::path& d, Outcome& o) {
         put(d / "in.tza", taz_file(3));
         Simulator sim({"--model", "TAZ", "--faults", "busy=forever"});
         o = run_cli(
             d, {"write", "--model", "TAZ", "--serial", sim.device(), "--location", "21", "in.tza"},
             {});
         return std::string();
     }},
    {"delete, line hangs up after the erase (pty)",
     [](const fs::path& d, Outcome& o) {
         Simulator sim({"--model", "TAZ", "--faults", "hangup=2"});
         o = run_cli(d, {"delete", "--model", "TAZ", "--serial", sim.device(), "--location", "21"},
                     {});
         return std::string();
     }},
    {"catalogue, line hangs up after 5 lines (pty)",
     [](const fs::path& d, Outcome& o) {
         Simulator sim({"--model", "TAZ", "--faults", "hangup=5"});
         o = run_cli(d, {"list", "--model", "TAZ", "--serial", sim.device()}, {});
         return std::string();
     }},
    {"write HOX, Ctrl-C 2 s in (time from the signal)",
     [](const fs::path& d, Outcome& o) {
         put(d / "in.hox", hox_file());
         Simulator sim({"--model", "HOX"});
         o = run_cli(d, {"write", "--model", "HOX", "--serial", sim.device(), "in.hox"}, {}, 2.0);
         return std::string();
     }},
    {"read HOX into a .TAZ file (pty)",
     [](const fs::path& d, Outcome& o) {
         Simulator sim({"--model", "HOX"});
         o = run_cli(d, {"read", "--model", "HOX", "--serial", sim.device(), "out.taz"}, {});
         return out_state(d / "out.taz");
     }},
    {"read ELK into a .DUN file (writer's notice)",
     [](const fs::path& d, Outcome& o) {
         o = run_cli(d, {"read", "--model", "ELK", "--simulate", "--location", "1", "out.dun"}, {});
         return out_state(d / "out.dun");
     }},
    {"write a 1-point curve to KOR",
     [](const fs::path& d, Outcome& o) {
         put(d / "one.nav", nav_file(1));
         o = run_cli(d, {"write", "--model", "KOR", "--simulate", "--location", "11", "one.nav"},
                     {});
         return std::string();
     }},
    {"write a 1-point curve to NAV",
     [](const fs::path& d, Outcome& o) {
         put(d / "one.nav", nav_file(1));
         o = run_cli(d, {"write", "--model", "NAV", "--simulate", "--location", "11", "one.nav"},
                     {});
         return std::string();
     }},
    {"write a 1-point curve to KIP",
     [](const fs::path& d, Outcome& o) {
         put(d / "one.nav", nav_file(1));
         o = run_cli(d, {"write", "--model", "KIP", "--simulate", "--location", "4", "one.nav"},
                     {});
         return std::string();
     }},
    {"--gpib for the KOR",
     [](const fs::path& d, Outcome& o) {
         o = run_cli(d, with({"list", "--model", "KOR"}, kGpibBase), {});
         return std::string();
     }},
    {"serial device that does not exist",
     [](const fs::path& d, Outcome& o) {
         o = run_cli(d, {"list", "--model", "TAZ", "--serial", "/dev/kelvara-none"}, {});
         return std::string();
     }},
    {"an option given twice",
     [](const fs::path& d, Outcome& o) {
         o = run_cli(
             d, {"delete", "--model", "TAZ", "--simulate", "--location", "21", "--location", "22"},
             {});
         return std::string();
     }},
};

}  // namespace

int main(int argc, char** argv) {
    std::string only;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--cli") {
            cli_path = argv[i + 1];
        } else if (option == "--limit") {
            limit = std::atof(argv[i + 1]);
        } else if (option == "--only") {
            only = argv[i + 1];
        } else {
            std::fprintf(stderr,
                         "usage: bench_faults [--cli PATH] [--limit SECONDS] [--only TEXT]\n");
            return 2;
        }
    }
    if (argc % 2 == 0) {
        std::fprintf(stderr, "usage: bench_faults [--cli PATH] [--limit SECONDS] [--only TEXT]\n");
        return 2;
    }
    std::printf("kelvara-cli: %s\n", cli_path.c_str());
    std::printf(
        "| case | outcome | seconds | CPU s | last message | OUT |\n|---|---|---|---|---|---|\n");
    std::fflush(stdout);
    int n = 0;
    for (const Case& c : kCases) {
        if (!only.empty() && std::string(c.name).find(only) == std::string::npos) continue;
        const fs::path dir =
            fs::temp_directory_path() /
            ("kelvara-bench-" + std::to_string(::getpid()) + "-" + std::to_string(n++));
        fs::create_directories(dir);
        Outcome o;
        const std::string out = c.run(dir, o);
        std::printf("| %s | %s | %.2f | %.2f | %s | %s |\n", c.name, o.how.c_str(), o.seconds,
                    o.cpu, o.last_message.c_str(), out.c_str());
        std::fflush(stdout);
        fs::remove_all(dir);
    }
    return 0;
}
