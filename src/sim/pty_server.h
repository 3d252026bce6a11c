// A simulated instrument on a pseudo-terminal: programs open the slave device as they would a
// serial port. Lines end at CR or LF; replies go back with "\r\n", at the line's speed or a
// trickle when told so. A hang-up fault closes the pseudo-terminal: its clients read end-of-file
// and the server stops.
#pragma once

#include <functional>
#include <string>

#include "sim/instrument.h"

namespace kelvara::sim {

// Sets `error` (when given) to the call that failed and errno's text; returns false.
bool failed_call(std::string* error, const char* what);

// A pseudo-terminal in raw mode with both sides open: a server that keeps the slave side itself
// lets clients come and go without the line hanging up. False, with `error` naming the call that
// failed; whatever was opened is left in master and slave for the caller to close.
bool open_raw_pty(int& master, int& slave, std::string& slave_path, std::string* error);
// The pipe a server's stop() writes to, to wake its poll; the write end never blocks.
bool open_wake_pipe(int (&wake)[2], std::string* error);
// Safe from a signal handler or another thread.
void wake_server(const int (&wake)[2]);

class PtyServer {
  public:
    explicit PtyServer(Instrument& instrument);
    ~PtyServer();
    PtyServer(const PtyServer&) = delete;
    PtyServer& operator=(const PtyServer&) = delete;

    // Creates the pseudo-terminal in raw mode. The server keeps the slave side open itself, so
    // clients may come and go without the line hanging up.
    bool open(std::string* error = nullptr);
    const std::string& slave_path() const { return slave_path_; }

    // Answers commands until stop() or a hang-up. Slow and split replies block this loop (one
    // instrument answers one command at a time).
    void serve();
    bool hung_up() const { return hung_up_; }

    // Safe from a signal handler or another thread.
    void stop();

    // Called after every command line (the program keeps its state file up to date with it).
    std::function<void()> after_command;

  private:
    void handle_bytes(const char* data, long count);
    void send(const std::string& reply);
    bool write_all(const char* data, std::size_t size);
    void pause(double seconds);
    void hang_up();

    Instrument& instrument_;
    int master_ = -1;
    int slave_ = -1;
    int wake_[2] = {-1, -1};
    bool stopping_ = false;
    bool hung_up_ = false;
    std::string slave_path_;
    std::string partial_;
};

}  // namespace kelvara::sim
