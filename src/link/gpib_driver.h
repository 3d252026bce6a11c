// The NI-488.2 calls the link uses. The real implementation loads an NI-488.2-compatible library
// at run time (linux-gpib's libgpib.so.0, NI's libgpibapi.so); tests use the simulator's.
#pragma once

#include <cstdint>
#include <iterator>
#include <memory>
#include <string>

namespace kelvara {

class GpibDriver {
  public:
    virtual ~GpibDriver() = default;
    // 0 registered, 1 already registered, 2/3 failures (libraries without registration: 0).
    virtual int register_globals() = 0;
    virtual void unregister_globals() = 0;
    virtual int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) = 0;
    virtual int ibclr(int ud) = 0;
    virtual int ibwrt(int ud, const char* buffer, long count) = 0;
    virtual int ibrd(int ud, char* buffer, long count) = 0;
    virtual int ibloc(int ud) = 0;
    virtual int ibonl(int ud, int online) = 0;
    // Why the device stopped working, in words, when the driver knows more than its error code
    // says (an adapter's device or connection that went away); "" otherwise.
    virtual std::string failure() const { return {}; }
    // The calling thread's status after the last call (32-bit values, as the library keeps them).
    virtual std::int32_t thread_ibsta() = 0;
    virtual std::int32_t thread_iberr() = 0;
    virtual std::int32_t thread_ibcntl() = 0;

    // Status bits and error codes as NI-488.2 defines them.
    static constexpr int CMPL = 0x0100;
    static constexpr int END = 0x2000;
    static constexpr int TIMO = 0x4000;
    static constexpr int ERR = 0x8000;
    static constexpr int EDVR = 0;
    static constexpr int ENOL = 2;
    static constexpr int EARG = 4;
    static constexpr int EABO = 6;
    static constexpr int EBUS = 14;
};

struct GpibStatus {
    std::int16_t ibsta = 0;
    std::int16_t iberr = 0;
    std::int16_t ibcnt = 0;
    std::int32_t ibcntl = 0;
    bool failed() const { return (ibsta & GpibDriver::ERR) != 0; }
    // The status a call leaves, as a driver reports it; returns ibsta.
    int set(int sta, int err, long count) {
        ibsta = static_cast<std::int16_t>(sta);
        iberr = static_cast<std::int16_t>(err);
        ibcntl = static_cast<std::int32_t>(count);
        ibcnt = static_cast<std::int16_t>(count);
        return sta;
    }
};

// A driver that runs in this process rather than in a library (an adapter's, the simulator's):
// nothing to register, and one status that every thread sees.
class InProcessGpibDriver : public GpibDriver {
  public:
    int register_globals() override { return 0; }
    void unregister_globals() override {}
    std::int32_t thread_ibsta() override { return static_cast<std::uint16_t>(status_.ibsta); }
    std::int32_t thread_iberr() override { return status_.iberr; }
    std::int32_t thread_ibcntl() override { return status_.ibcntl; }
    const GpibStatus& status() const { return status_; }

  protected:
    int finish(int ibsta, int iberr, long count) { return status_.set(ibsta, iberr, count); }

  private:
    GpibStatus status_;
};

// Seconds of an NI-488.2 time-out code, T10us (1) to T1000s (17); 0 for "none" and any other code.
inline double gpib_timeout_seconds(int code) {
    constexpr double kSeconds[] = {0,      10e-6,  30e-6, 100e-6, 300e-6, 1e-3, 3e-3, 10e-3, 30e-3,
                                   100e-3, 300e-3, 1,     3,      10,     30,   100,  300,   1000};
    if (code < 0 || code >= static_cast<int>(std::size(kSeconds))) return 0;
    return kSeconds[code];
}

// Loads the library: `path` when not empty, else libgpib.so.0, libgpibapi.so.1, libgpibapi.so.
// nullptr (and `error` set) when none can be loaded or it lacks the calls.
std::unique_ptr<GpibDriver> load_gpib_library(const std::string& path,
                                              std::string* error = nullptr);

}  // namespace kelvara
