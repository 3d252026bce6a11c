#include <algorithm>
#include <charconv>
#include <filesystem>
#include <tuple>

#include "link/serial_port.h"

namespace kelvara {

namespace {

const std::string_view kGroups[] = {"ttyUSB", "ttyACM", "ttyS"};

// (group, number) of a device name; group -1 for names that are no serial port.
std::pair<int, long> rank(const std::string& path) {
    const auto slash = path.find_last_of('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    for (int g = 0; g < 3; ++g) {
        const auto prefix = kGroups[g];
        if (name.size() <= prefix.size() || name.compare(0, prefix.size(), prefix) != 0) continue;
        const std::string digits = name.substr(prefix.size());
        if (digits.empty() || digits.size() > 6 ||
            !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
            continue;
        long number = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
        return {g, number};
    }
    return {-1, 0};
}

}  // namespace

double seconds_per_character(const SerialSettings& s) {
    const int bits = 1 + s.data_bits + (s.parity == 'N' ? 0 : 1) + s.stop_bits;
    return s.baud > 0 ? static_cast<double>(bits) / s.baud : 0;
}

void sort_serial_devices(std::vector<std::string>& devices) {
    std::erase_if(devices, [](const std::string& d) { return rank(d).first < 0; });
    std::sort(devices.begin(), devices.end(),
              [](const std::string& a, const std::string& b) { return rank(a) < rank(b); });
}

std::vector<std::string> serial_devices(const std::string& dir) {
    std::vector<std::string> out;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(dir, ec))
        out.push_back(entry.path().string());
    sort_serial_devices(out);
    return out;
}

std::string serial_device_for_port(int port, const std::vector<std::string>& devices) {
    if (port < 1 || port > static_cast<int>(devices.size())) return {};
    return devices[static_cast<std::size_t>(port - 1)];
}

std::string serial_device_for_port(int port) {
    return serial_device_for_port(port, serial_devices());
}

}  // namespace kelvara
