// Writes the fuzzer's seed corpus: kelvara_fuzz_seeds OUTDIR
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "seeds.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: kelvara_fuzz_seeds OUTDIR\n");
        return 2;
    }
    std::filesystem::create_directories(argv[1]);
    int n = 0;
    for (const auto& seed : kelvara::fuzz::make_seeds()) {
        std::ofstream(std::filesystem::path(argv[1]) / seed.name, std::ios::binary) << seed.bytes;
        ++n;
    }
    std::printf("%d seeds in %s\n", n, argv[1]);
    return 0;
}
