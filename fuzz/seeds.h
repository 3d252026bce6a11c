// Seed inputs for the reader fuzzer: curve files of every layout as the writers produce them,
// plus a few hand-made edge cases.
#pragma once

#include <string>
#include <vector>

namespace kelvara::fuzz {

struct Seed {
    std::string name;  // file name with the extension that selects the reader
    std::string bytes;
};

std::vector<Seed> make_seeds();

}  // namespace kelvara::fuzz
