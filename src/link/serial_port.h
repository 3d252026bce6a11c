// The serial port as the link uses it (what the MSComm control offered): open with line
// settings, discard input, write text, take what has arrived.
#pragma once

#include <memory>
#include <string>
#include <vector>

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
    // True once the line is gone for good: hung up, the device removed, an I/O error. Nothing
    // more will arrive and writes go nowhere; error() says why.
    virtual bool line_dead() const { return false; }
    // Why the last open() failed or why the line died ("" when neither).
    virtual std::string error() const { return {}; }
    // Human-readable device the port number reaches ("/dev/ttyS0"), for the window.
    virtual std::string device_name(int port) const = 0;
};

// Seconds one character takes on a line: start bit, data bits, parity bit, stop bits.
double seconds_per_character(const SerialSettings& settings);

// The Linux device that serial port n of the window reaches: the n-th of the machine's serial
// devices, USB adapters first (/dev/ttyUSB0, 1, ..., then /dev/ttyACM0, 1, ..., then /dev/ttyS0,
// 1, ...), each group in numeric order. So on a machine without adapters port 1 is /dev/ttyS0,
// and a plugged-in adapter becomes port 1. "" when there is no such port.
std::string serial_device_for_port(int port);
std::string serial_device_for_port(int port, const std::vector<std::string>& devices);

// The serial devices present in `dir` (normally /dev) in the order above, as full paths.
std::vector<std::string> serial_devices(const std::string& dir = "/dev");
// The same order applied to a list of device names.
void sort_serial_devices(std::vector<std::string>& devices);

}  // namespace kelvara
