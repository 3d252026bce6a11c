#include "sim/state_file.h"

#include <cstdio>
#include <fstream>
#include <sstream>

namespace kelvara::sim {

bool load_state_file(Instrument& instrument, const std::string& path, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::FILE* probe = std::fopen(path.c_str(), "r");
        if (!probe) return true;  // no file yet
        std::fclose(probe);
        if (error) *error = "cannot read " + path;
        return false;
    }
    std::stringstream text;
    text << in.rdbuf();
    if (!instrument.load_state(text.str())) {
        if (error) *error = path + " is not a state file of this model";
        return false;
    }
    return true;
}

bool save_state_file(const Instrument& instrument, const std::string& path) {
    const std::string temporary = path + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << instrument.save_state();
        out.flush();
        if (!out) return false;
    }
    return std::rename(temporary.c_str(), path.c_str()) == 0;
}

StateKeeper::StateKeeper(Instrument& instrument, std::string path)
    : instrument_(instrument), path_(std::move(path)), saved_revision_(instrument.revision()) {}

bool StateKeeper::load(std::string* error) {
    if (path_.empty()) return true;
    const bool ok = load_state_file(instrument_, path_, error);
    saved_revision_ = instrument_.revision();
    return ok;
}

void StateKeeper::save_if_changed() {
    if (path_.empty() || instrument_.revision() == saved_revision_) return;
    if (save_state_file(instrument_, path_)) saved_revision_ = instrument_.revision();
}

}  // namespace kelvara::sim
