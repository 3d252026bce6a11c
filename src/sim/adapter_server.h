// A simulated GPIB adapter served to other programs: on a pseudo-terminal, as a GPIB-USB adapter
// appears, or on a TCP port of 127.0.0.1, as a GPIB-Ethernet adapter does (one client at a time;
// the next waits until the first has gone). The adapter decides what to send and when; the
// server only carries the bytes, every byte for the host through deliver(). When the adapter
// hangs up (the hang-up fault) the server closes the pseudo-terminal, or the connection and the
// listening socket, as a pulled adapter would, and stops.
#pragma once

#include <functional>
#include <string>

#include "link/clock.h"
#include "sim/prologix_adapter.h"

namespace kelvara::sim {

class AdapterServer {
  public:
    AdapterServer(PrologixAdapter& adapter, Clock& clock);
    ~AdapterServer();
    AdapterServer(const AdapterServer&) = delete;
    AdapterServer& operator=(const AdapterServer&) = delete;

    // A raw pseudo-terminal whose slave side the server keeps open, so clients may come and go.
    bool open_pty(std::string* error = nullptr);
    // Listens on 127.0.0.1:port; port 0 takes a free one.
    bool listen_tcp(int port, std::string* error = nullptr);
    // What a client opens: the device path, or "127.0.0.1:PORT".
    const std::string& address() const { return address_; }

    // Carries bytes until stop() or a hang-up.
    void serve();
    bool hung_up() const { return hung_up_; }
    // Safe from a signal handler or another thread.
    void stop();

    // Called after bytes from the host were taken in (the program keeps its state file with it).
    std::function<void()> after_input;

  private:
    void deliver(const std::string& bytes);
    void drop_client();
    void hang_up();

    PrologixAdapter& adapter_;
    Clock& clock_;
    int master_ = -1;
    int slave_ = -1;
    int listener_ = -1;
    int client_ = -1;
    int wake_[2] = {-1, -1};
    bool hung_up_ = false;
    std::string address_;
};

}  // namespace kelvara::sim
