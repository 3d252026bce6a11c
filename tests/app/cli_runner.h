// Runs kelvara-cli as a user runs it, from a scratch directory of its own, and kelvara-sim on a
// pseudo-terminal or a TCP port.
#pragma once
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace cli_test {

namespace fs = std::filesystem;

struct CliRun {
    int status;
    std::string out, err;
    double seconds = 0;      // wall time, from the start (or from the signal, when one was sent)
    double cpu_seconds = 0;  // user and system time the program used
};

// A scratch directory, removed with the object.
class Scratch {
  public:
    Scratch()
        : dir_(fs::temp_directory_path() /
               ("kelvara-app-" + std::to_string(::getpid()) + "-" + std::to_string(count_++))) {
        fs::create_directories(dir_);
    }
    ~Scratch() { fs::remove_all(dir_); }

    void put(const std::string& name, const std::string& bytes) const {
        std::ofstream(dir_ / name, std::ios::binary) << bytes;
    }
    std::string get(const std::string& name) const {
        std::ifstream in(dir_ / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    bool exists(const std::string& name) const { return fs::exists(dir_ / name); }
    std::string path(const std::string& name) const { return (dir_ / name).string(); }

    // Runs kelvara-cli in the scratch directory; the shell splits `arguments`, and `environment`
    // ("NAME=value ...") goes in front.
    CliRun cli(const std::string& arguments, const std::string& environment = "", int signal = 0,
               double signal_after = 0) const {
        return run(environment + " exec '" KELVARA_CLI_PATH "' " + arguments, signal, signal_after);
    }

    // Runs a shell command in the scratch directory. With signal > 0 the signal is sent after
    // `signal_after` seconds and `seconds` counts from then.
    CliRun run(const std::string& shell_command, int signal = 0, double signal_after = 0) const {
        const std::string command =
            "cd '" + dir_.string() + "' && " + shell_command + " >.out 2>.err </dev/null";
        using clock = std::chrono::steady_clock;
        auto start = clock::now();
        const pid_t child = ::fork();
        if (child == 0) {
            ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
            ::_exit(127);
        }
        if (signal > 0) {
            std::this_thread::sleep_for(std::chrono::duration<double>(signal_after));
            ::kill(child, signal);
            start = clock::now();
        }
        int raw = 0;
        rusage usage{};
        ::wait4(child, &raw, 0, &usage);
        const double seconds = std::chrono::duration<double>(clock::now() - start).count();
        const auto cpu = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, get(".out"), get(".err"), seconds,
                cpu(usage.ru_utime) + cpu(usage.ru_stime)};
    }

  private:
    fs::path dir_;
    static inline std::atomic<int> count_ = 0;
};

// kelvara-sim serving one instrument while the object lives; `arguments` are split by the shell,
// and none start nothing.
class Simulator {
  public:
    explicit Simulator(const std::string& arguments)
        : out_(arguments.empty()
                   ? nullptr
                   : ::popen(("echo $$; exec '" KELVARA_SIM_PATH "' " + arguments).c_str(), "re")) {
        // The shell's process id becomes the simulator's; then it prints the device to open.
        char line[256];
        if (out_ && std::fgets(line, sizeof line, out_)) pid_ = std::atoi(line);
        if (pid_ > 0 && std::fgets(line, sizeof line, out_))
            device_.assign(line, std::strcspn(line, "\n"));
    }
    ~Simulator() {
        if (pid_ > 0) ::kill(pid_, SIGTERM);
        if (out_) ::pclose(out_);
    }
    const std::string& device() const { return device_; }

    // `text` with every "{dev}" replaced by the device.
    std::string put_device(std::string text) const {
        for (std::size_t at; (at = text.find("{dev}")) != std::string::npos;)
            text.replace(at, 5, device_);
        return text;
    }

  private:
    FILE* out_;
    pid_t pid_ = 0;
    std::string device_;
};

// The options that reach the instrument at GPIB address 12 through the simulated library.
inline const std::string kGpib = "--gpib 12 --gpib-library '" KELVARA_SIM_GPIB_PATH "'";

// A curve in the layout the file writer gives, so that it reads back byte for byte.
inline const std::string kE2eTaz =
    "Sensor Model:   E2E\r\nSerial Number:  SN-7\r\n"
    "Data Format:    3      (Ohms vs. Kelvin)\r\nSetPoint Limit: 325.0      (Kelvin)\r\n"
    "Temperature coefficient:  2 (Positive)\r\nNumber of Breakpoints:   3\r\n\r\n"
    "No.   Units      Temperature (K)\r\n\r\n"
    "  1  1.23456         4.200\r\n  2  100.500        77.350\r\n  3  1000.00       300.000\r\n";

// Runs `run` on every row at once: the programs spend their time in the instruments' pauses.
template <typename Rows, typename Run>
void in_parallel(const Rows& rows, Run run) {
    std::vector<std::future<void>> runs;
    for (const auto& row : rows)
        runs.push_back(std::async(std::launch::async, [&run, &row] { run(row); }));
    for (auto& r : runs) r.get();
}

}  // namespace cli_test
