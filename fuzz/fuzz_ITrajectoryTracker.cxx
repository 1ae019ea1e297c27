// Particle paths between fuzzed pairs of trajectory points, in a fuzzed
// uniform field, written into a vector that may hold an earlier path.
#include <cstddef>
#include <cstdint>
#include <vector>

#include <TVector3.h>

#include <IFieldManager.hxx>
#include <ITrajectoryTracker.hxx>

#include "FuzzInput.hxx"

using namespace ORVEX;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ITrajectoryTracker tracker;
    fuzz::Input in(data, size);
    const double tesla = 0.001;
    IFieldManager::SetUniformField(tesla * TVector3(in.Finite(2), in.Finite(2), in.Finite(2)));
    std::vector<TVector3> points(in.Int(2, 40));
    for (int segment = in.Int(1, 3); segment > 0; --segment) {
        TVector3 start(in.Finite(100), in.Finite(100), in.Finite(100));
        TVector3 end(in.Finite(100), in.Finite(100), in.Finite(100));
        TVector3 momentum(in.Finite(50), in.Finite(50), in.Finite(50));
        double charge = in.Int(-2, 2);
        int first = in.Int(0, static_cast<int>(points.size()) - 2);
        int n = tracker.TrackParticle(start, end, momentum, charge, points, first);
        FUZZ_CHECK(n >= 1);
        FUZZ_CHECK(static_cast<std::size_t>(first) + n <= points.size());
        if (charge == 0.0 || momentum.Mag() == 0.0) {
            FUZZ_CHECK(n == 2 && points[first] == start && points[first + 1] == end);
        }
    }
    return 0;
}
