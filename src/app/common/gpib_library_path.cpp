#include "gpib_library_path.h"

#include <filesystem>
#include <system_error>

namespace kelvara::app {

std::string resolve_gpib_library(const std::string& value) {
    if (value != kSimulatedGpibLibrary) return value;
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path bin = error ? fs::path(".") : program.parent_path();
    const fs::path installed =
        (bin / KELVARA_PRIVATE_LIBDIR_FROM_BIN / KELVARA_SIM_GPIB_NAME).lexically_normal();
    const fs::path built =
        (bin / KELVARA_SIM_GPIB_FROM_BUILT_PROGRAM / KELVARA_SIM_GPIB_NAME).lexically_normal();
    if (!fs::exists(installed, error) && fs::exists(built, error)) return built.string();
    return installed.string();
}

}  // namespace kelvara::app
