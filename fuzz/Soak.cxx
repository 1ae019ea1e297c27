// A long run of every harness in one process, on random inputs: the heap in
// use is reported at intervals, and should stay flat apart from the leaks
// the library intends, of which the Delaunay scaffolds are counted.
//
//   ovSoak [rounds] [seed] [unit]
//
// With a unit named, only its harness runs: the growth of one family at a
// time, to set beside the leaks the leak checker reports at exit.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OVUTILITY_SOAK_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define OVUTILITY_SOAK_ASAN 1
#endif

#ifdef OVUTILITY_SOAK_ASAN
#include <sanitizer/allocator_interface.h>
#else
#include <malloc.h>
#endif

#define HARNESS(unit)                                                       \
    extern "C" int Soak_##unit(const std::uint8_t* data, std::size_t size); \
    extern "C" int SoakInit_##unit(int* argc, char*** argv);
#include "SoakHarnesses.def"
#undef HARNESS

namespace {
    struct Harness {
        const char* name;
        int (*init)(int*, char***);
        int (*run)(const std::uint8_t*, std::size_t);
        long calls;
    };

    // How often each harness is drawn.  They differ in cost by some four
    // orders of magnitude (a particle tracked on random bytes can take a
    // second sanitized, a line fit a tenth of a millisecond), so a uniform
    // draw would turn a million rounds into days of tracking.
    // With these shares no family takes more than a few minutes of a
    // million rounds, and the cheapest still see some 160 000 inputs each.
    unsigned Share(const std::string& name) {
        if (name == "ITrajectoryTracker") return 1;
        if (name == "IHoughLines") return 5;
        if (name == "IDelaunay2D") return 25;
        if (name == "IParticleFilter") return 30;
        return 300;
    }

    // The heap in use, as the allocator in charge counts it.
    std::size_t HeapInUse() {
#ifdef OVUTILITY_SOAK_ASAN
        return __sanitizer_get_current_allocated_bytes();
#else
        return mallinfo2().uordblks;
#endif
    }
}

int main(int argc, char** argv) {
    long rounds = argc > 1 ? std::atol(argv[1]) : 1000000;
    unsigned seed = argc > 2 ? static_cast<unsigned>(std::atol(argv[2])) : 1;
    std::vector<Harness> harnesses = {
#define HARNESS(unit) {#unit, SoakInit_##unit, Soak_##unit, 0},
#include "SoakHarnesses.def"
#undef HARNESS
    };
    if (argc > 3) {
        std::string only = argv[3];
        std::vector<Harness> chosen;
        for (const Harness& harness : harnesses)
            if (only == harness.name) chosen.push_back(harness);
        if (chosen.empty()) {
            std::fprintf(stderr, "ovSoak: no harness named %s\n", argv[3]);
            return 2;
        }
        harnesses = chosen;
    }
    for (Harness& harness : harnesses) harness.init(&argc, &argv);
    std::vector<unsigned> shares;
    for (const Harness& harness : harnesses) shares.push_back(Share(harness.name));
    std::discrete_distribution<std::size_t> draw(shares.begin(), shares.end());
    std::mt19937 random(seed);
    std::vector<std::uint8_t> input;
    // Warm up before the first reading: ROOT and the library fill their
    // caches and statics on the first calls.
    long warmUp = rounds / 100 + static_cast<long>(harnesses.size());
    std::size_t start = 0;
    long interval = rounds / 20 > 0 ? rounds / 20 : 1;
    for (long round = -warmUp; round < rounds; ++round) {
        if (round == 0) {
            // The header first: its write allocates the output's buffer.
            std::printf("%12s %14s %14s %12s\n", "round", "heap bytes", "growth", "meshes");
            std::fflush(stdout);
            start = HeapInUse();
        }
        Harness& harness = harnesses[draw(random)];
        input.resize(random() % 512);
        for (std::uint8_t& byte : input) byte = static_cast<std::uint8_t>(random());
        harness.run(input.data(), input.size());
        if (round >= 0) ++harness.calls;
        if (round >= 0 && ((round + 1) % interval == 0 || round + 1 == rounds)) {
            long meshes = 0;
            for (const Harness& h : harnesses)
                if (std::string(h.name) == "IDelaunay2D") meshes = h.calls;
            std::size_t heap = HeapInUse();
            std::printf("%12ld %14zu %14ld %12ld\n", round + 1, heap,
                        static_cast<long>(heap) - static_cast<long>(start), meshes);
            std::fflush(stdout);
        }
    }
    for (const Harness& h : harnesses) std::printf("%-20s %10ld calls\n", h.name, h.calls);
    // A leak check that fails at exit ends the process without flushing.
    std::fflush(stdout);
    return 0;
}
