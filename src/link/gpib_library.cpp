// The GPIB driver library, loaded at run time so that the program starts (and works offline or
// over RS-232) on machines without one. Any NI-488.2-compatible library will do: linux-gpib's
// libgpib.so.0 or NI's libgpibapi.so, or the simulator's.
#include <dlfcn.h>

#include <cstdint>
#include <vector>

#include "link/gpib_driver.h"

namespace kelvara {

namespace {

// The C calling conventions of the NI-488.2 entry points.
extern "C" {
using IbdevFn = int (*)(int, int, int, int, int, int);
using IbudFn = int (*)(int);
using IbwrtFn = int (*)(int, const void*, long);
using IbrdFn = int (*)(int, void*, long);
using IbonlFn = int (*)(int, int);
using ThreadIntFn = int (*)(void);
using ThreadLongFn = long (*)(void);
using RegisterFn = unsigned int (*)(int*, int*, int*, long*);
using UnregisterFn = unsigned int (*)(void);
}

const std::vector<std::string> kDefaultLibraries = {"libgpib.so.0", "libgpibapi.so.1",
                                                    "libgpibapi.so"};

template <typename Fn>
Fn symbol(void* handle, const char* name) {
    return reinterpret_cast<Fn>(dlsym(handle, name));
}

class LoadedGpibLibrary : public GpibDriver {
  public:
    explicit LoadedGpibLibrary(void* handle) : handle_(handle) {}
    ~LoadedGpibLibrary() override {
        if (registered_ && unregister_) unregister_();
        dlclose(handle_);
    }

    bool resolve(std::string* missing) {
        ibdev_ = symbol<IbdevFn>(handle_, "ibdev");
        ibclr_ = symbol<IbudFn>(handle_, "ibclr");
        ibwrt_ = symbol<IbwrtFn>(handle_, "ibwrt");
        ibrd_ = symbol<IbrdFn>(handle_, "ibrd");
        ibloc_ = symbol<IbudFn>(handle_, "ibloc");
        ibonl_ = symbol<IbonlFn>(handle_, "ibonl");
        const std::pair<const char*, bool> required[] = {
            {"ibdev", ibdev_ != nullptr}, {"ibclr", ibclr_ != nullptr},
            {"ibwrt", ibwrt_ != nullptr}, {"ibrd", ibrd_ != nullptr},
            {"ibloc", ibloc_ != nullptr}, {"ibonl", ibonl_ != nullptr}};
        for (const auto& [name, found] : required)
            if (!found) {
                *missing = name;
                return false;
            }
        thread_ibsta_ = symbol<ThreadIntFn>(handle_, "ThreadIbsta");
        thread_iberr_ = symbol<ThreadIntFn>(handle_, "ThreadIberr");
        thread_ibcntl_ = symbol<ThreadLongFn>(handle_, "ThreadIbcntl");
        global_ibsta_ = symbol<int*>(handle_, "ibsta");
        global_iberr_ = symbol<int*>(handle_, "iberr");
        global_ibcntl_ = symbol<long*>(handle_, "ibcntl");
        register_ = symbol<RegisterFn>(handle_, "RegisterGpibGlobalsForThread");
        unregister_ = symbol<UnregisterFn>(handle_, "UnregisterGpibGlobalsForThread");
        return true;
    }

    int register_globals() override {
        if (!register_) return 0;  // a library without registration keeps per-thread status itself
        const int result = static_cast<int>(register_(&ibsta_, &iberr_, &ibcnt_, &ibcntl_));
        if (result == 0 || result == 1) registered_ = true;
        return result;
    }
    void unregister_globals() override {
        if (unregister_) unregister_();
        registered_ = false;
    }

    int ibdev(int board, int pad, int sad, int tmo, int eot, int eos) override {
        return ibdev_(board, pad, sad, tmo, eot, eos);
    }
    int ibclr(int ud) override { return ibclr_(ud); }
    int ibwrt(int ud, const char* buffer, long count) override { return ibwrt_(ud, buffer, count); }
    int ibrd(int ud, char* buffer, long count) override { return ibrd_(ud, buffer, count); }
    int ibloc(int ud) override { return ibloc_(ud); }
    int ibonl(int ud, int online) override { return ibonl_(ud, online); }

    // The thread's own status functions first, then the variables registered for this thread,
    // then the library's plain globals.
    std::int32_t thread_ibsta() override {
        if (thread_ibsta_) return thread_ibsta_();
        if (registered_) return ibsta_;
        return global_ibsta_ ? *global_ibsta_ : 0;
    }
    std::int32_t thread_iberr() override {
        if (thread_iberr_) return thread_iberr_();
        if (registered_) return iberr_;
        return global_iberr_ ? *global_iberr_ : 0;
    }
    std::int32_t thread_ibcntl() override {
        if (thread_ibcntl_) return static_cast<std::int32_t>(thread_ibcntl_());
        if (registered_) return static_cast<std::int32_t>(ibcntl_);
        return global_ibcntl_ ? static_cast<std::int32_t>(*global_ibcntl_) : 0;
    }

  private:
    void* handle_;
    IbdevFn ibdev_ = nullptr;
    IbudFn ibclr_ = nullptr;
    IbwrtFn ibwrt_ = nullptr;
    IbrdFn ibrd_ = nullptr;
    IbudFn ibloc_ = nullptr;
    IbonlFn ibonl_ = nullptr;
    ThreadIntFn thread_ibsta_ = nullptr;
    ThreadIntFn thread_iberr_ = nullptr;
    ThreadLongFn thread_ibcntl_ = nullptr;
    int* global_ibsta_ = nullptr;
    int* global_iberr_ = nullptr;
    long* global_ibcntl_ = nullptr;
    RegisterFn register_ = nullptr;
    UnregisterFn unregister_ = nullptr;

    bool registered_ = false;
    int ibsta_ = 0;
    int iberr_ = 0;
    int ibcnt_ = 0;
    long ibcntl_ = 0;
};

}  // namespace

std::unique_ptr<GpibDriver> load_gpib_library(const std::string& path, std::string* error) {
    const std::vector<std::string> candidates =
        path.empty() ? kDefaultLibraries : std::vector<std::string>{path};
    std::string reasons;
    for (const auto& name : candidates) {
        void* handle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            const char* why = dlerror();
            reasons += (reasons.empty() ? "" : "; ") + std::string(why ? why : name);
            continue;
        }
        auto library = std::make_unique<LoadedGpibLibrary>(handle);
        std::string missing;
        if (library->resolve(&missing)) return library;
        reasons += (reasons.empty() ? "" : "; ") + name + ": no " + missing;
    }
    if (error) *error = reasons.empty() ? "no GPIB library" : reasons;
    return nullptr;
}

}  // namespace kelvara
