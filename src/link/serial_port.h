// The serial port as the link uses it (what the MSComm control offered): open with line
// settings, discard input, write text, take what has arrived.
#pragma once

#include <memory>
#include <string>

#include "curve/model_profile.h"

namespace kelvara {

class SerialPort {
public:
    virtual ~SerialPort() = default;
    // port: 1..16, or a device path in `device` that wins. False when the port cannot be opened.
    virtual bool open(int port, const std::string& device, const SerialSettings& settings) = 0;
    virtual void close() = 0;
    virtual bool is_open() const = 0;
    virtual void discard_input() = 0;
    virtual void write(const std::string& bytes) = 0;
    // Everything received so far and not yet taken (non-blocking).
    virtual std::string take_input() = 0;
    // Human-readable device the port number reaches ("/dev/ttyS0"), for the window.
    virtual std::string device_name(int port) const = 0;
};

// The Linux device that serial port n of the window reaches: /dev/ttyS(n-1), or /dev/ttyUSB(k)
// style devices listed first when present. Deterministic for a given machine.
std::string serial_device_for_port(int port);

}  // namespace kelvara
