// Runs a fuzz function without libFuzzer: every seed, then deterministic mutations of them (byte
// flips, inserted separators, digits and out-of-range numbers, cut and repeated spans). Built
// with the address and undefined-behaviour sanitizers as CTest smoke tests.
//   reader_fuzz_smoke [MUTATIONS] [FILE...]   (reply_fuzz_smoke alike)
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "seeds.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

struct Rng {
    std::uint64_t state = 0x9e3779b97f4a7c15ull;
    std::uint64_t next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    std::size_t below(std::size_t n) { return n ? static_cast<std::size_t>(next() % n) : 0; }
};

void feed(const std::string& bytes) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::string mutate(std::string s, Rng& rng) {
    static const std::string interesting = ",:*\r\n\t 1019.e-E+X";
    int steps = 1 + static_cast<int>(rng.below(4));
    for (int k = 0; k < steps; ++k) {
        std::size_t at = rng.below(s.size() + 1);
        switch (rng.below(7)) {
            case 0:
                if (!s.empty()) s[rng.below(s.size())] = static_cast<char>(rng.next());
                break;
            case 1:
                s.insert(at, 1, interesting[rng.below(interesting.size())]);
                break;
            case 2:
                s.erase(at, rng.below(16));
                break;
            case 3:
                s.resize(at);
                break;
            case 4: {
                std::size_t from = rng.below(s.size() + 1);
                std::string span = s.substr(from, rng.below(64));
                for (int r = static_cast<int>(rng.below(40)); r > 0; --r) s.insert(at, span);
                break;
            }
            case 5: {
                // Numbers no field can hold, and the NUL that ends a scripted reply.
                static const std::string tokens[] = {"e400", "-1e400", "99999999999", "nan",
                                                     std::string(1, '\0')};
                s.insert(at, tokens[rng.below(std::size(tokens))]);
                break;
            }
            default:
                s.insert(at, std::to_string(rng.next() % 100000));
                break;
        }
    }
    return s;
}

}  // namespace

int main(int argc, char** argv) {
    long mutations = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 3000;
    std::vector<std::string> corpus;
    for (const auto& seed : kelvara::fuzz::make_seeds()) corpus.push_back(seed.bytes);
    for (int i = 2; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        corpus.emplace_back((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    }
    corpus.push_back("");
    for (const auto& bytes : corpus) feed(bytes);
    Rng rng;
    for (long i = 0; i < mutations; ++i) feed(mutate(corpus[rng.below(corpus.size())], rng));
    std::printf("replayed %zu seeds and %ld mutations\n", corpus.size(), mutations);
    return 0;
}
