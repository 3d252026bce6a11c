// The NI-488.2 calls the link uses. The real implementation loads an NI-488.2-compatible library
// at run time (linux-gpib's libgpib.so.0, NI's libgpibapi.so); tests use the simulator's.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace kelvara {

struct GpibStatus {
    std::int16_t ibsta = 0;
    std::int16_t iberr = 0;
    std::int16_t ibcnt = 0;
    std::int32_t ibcntl = 0;
    static constexpr std::int16_t ERR = static_cast<std::int16_t>(0x8000);
    bool failed() const { return (ibsta & ERR) != 0; }
};

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
};

// Loads the library: `path` when not empty, else libgpib.so.0, libgpibapi.so.1, libgpibapi.so.
// nullptr (and `error` set) when none can be loaded or it lacks the calls.
std::unique_ptr<GpibDriver> load_gpib_library(const std::string& path,
                                              std::string* error = nullptr);

}  // namespace kelvara
