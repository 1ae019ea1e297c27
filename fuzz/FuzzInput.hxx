// Reading a fuzzer's bytes as the values a harness feeds the library, and
// the check that stops a run when an invariant fails.
#ifndef ovUtility_fuzz_FuzzInput_hxx_seen
#define ovUtility_fuzz_FuzzInput_hxx_seen

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>

#include <TSystem.h>

#include <IORVEXLog.hxx>

namespace fuzz {
    /// Done once, before the first input.  ROOT, started when the library
    /// loads, has put its own signal handlers in place of the sanitizers',
    /// and libFuzzer keeps a handler it finds: ROOT's go, or crashes and
    /// timeouts would pass unreported.  The library's
    /// log and standard output go nowhere: the harnesses check results, and
    /// millions of runs would otherwise fill the disk.
    inline int Setup() {
        gSystem->ResetSignals();
        static std::ostream nowhere(nullptr);
        ORVEX::IORVEXLog::SetDebugStream(&nowhere);
        ORVEX::IORVEXLog::SetLogStream(&nowhere);
        std::cout.rdbuf(nullptr);
        return 0;
    }

    /// Consumes the input from the front; once it is used up every value
    /// reads as zero, so a short input is still a complete case.
    class Input {
    public:
        Input(const std::uint8_t* data, std::size_t size) : fData(data), fSize(size) {}

        bool Empty() const { return fSize == 0; }

        std::uint8_t Byte() {
            if (fSize == 0) return 0;
            --fSize;
            return *fData++;
        }

        bool Bool() { return Byte() & 1; }

        /// An integer in [lo, hi].
        int Int(int lo, int hi) {
            std::uint32_t raw = Byte();
            raw = raw << 8 | Byte();
            return lo + static_cast<int>(raw % static_cast<std::uint32_t>(hi - lo + 1));
        }

        /// A value on a grid of quarter units in [-range, range]: exact ties,
        /// collinear and co-circular sets come often.
        double Grid(int range) { return Int(-4 * range, 4 * range) / 4.0; }

        /// Any double at all, NaN and infinities included.
        double Raw() {
            std::uint64_t bits = 0;
            for (int i = 0; i < 8; ++i) bits = bits << 8 | Byte();
            double value;
            std::memcpy(&value, &bits, sizeof value);
            return value;
        }

        /// A finite value: a grid value most of the time, a raw one made
        /// finite otherwise.
        double Finite(int range) {
            if (Byte() < 224) return Grid(range);
            double value = Raw();
            return std::isfinite(value) ? value : 0.0;
        }

        /// Mostly a grid value, now and then a special one.
        double Hostile(int range) {
            switch (Byte() % 16) {
            case 0:
                return std::numeric_limits<double>::quiet_NaN();
            case 1:
                return std::numeric_limits<double>::infinity();
            case 2:
                return -std::numeric_limits<double>::infinity();
            case 3:
                return 1e308;
            case 4:
                return Raw();
            default:
                return Grid(range);
            }
        }

    private:
        const std::uint8_t* fData;
        std::size_t fSize;
    };
}

/// Ends the run with the failed invariant named: libFuzzer keeps the input,
/// and a replay test fails.
#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: invariant failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                          \
        }                                                                                          \
    } while (0)

#endif
