// Keeping a simulated instrument's user curves in a file, so that separate processes (two runs
// of the command-line tool against the GPIB library, or restarts of kelvara-sim) see one
// instrument. The text layout is Instrument::save_state's.
#pragma once

#include <string>

#include "sim/instrument.h"

namespace kelvara::sim {

// Loads the curves when the file exists. A missing file is not an error (the instrument starts
// empty); an unreadable or malformed one is (error set, instrument unchanged).
bool load_state_file(Instrument& instrument, const std::string& path, std::string* error = nullptr);

// Writes the curves beside the file and renames the copy over it, so a reader never sees half a
// state. False when it cannot be written.
bool save_state_file(const Instrument& instrument, const std::string& path);

// Saves only when the curves changed since the last call (tracked by revision).
class StateKeeper {
  public:
    StateKeeper(Instrument& instrument, std::string path);
    bool load(std::string* error = nullptr);
    void save_if_changed();

  private:
    Instrument& instrument_;
    std::string path_;
    unsigned saved_revision_ = 0;
};

}  // namespace kelvara::sim
