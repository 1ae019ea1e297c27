// Drifts of one cloud in a fuzzed uniform field with fuzzed step bounds,
// tolerances and limits, in both set-ups and both limit modes.
#include <cstddef>
#include <cstdint>

#include <TVector3.h>

#include <IDriftManager.hxx>
#include <IElectronCloud.hxx>
#include <IFieldManager.hxx>

#include "FuzzInput.hxx"

using namespace ORVEX;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    const double tesla = 0.001;
    // A mobility of zero or a drift speed near the largest double make the
    // velocities NaN, which an adaptive drift refuses with an exception.
    IFieldManager::SetUniformField(tesla * TVector3(in.Grid(2), in.Grid(2), in.Grid(2)));
    double omegaTau = in.Grid(2), mu = in.Int(0, 16) / 8.0 * (in.Bool() ? 1 : -1);
    double velocity = in.Byte() < 16 ? 1e308 : in.Int(1, 200);
    double initial = in.Int(1, 64) / 16.0;
    bool adaptive = in.Bool();
    int maxSteps = adaptive ? in.Int(1, 2000) : 1000;
    IDriftManager manager;
    if (adaptive) {
        double minStep = in.Int(1, 64) / 64.0;
        double maxStep = minStep + in.Int(0, 64) / 16.0;
        double tolerance = in.Int(1, 1000) / 1000.0;
        manager.InitializeFromDB(true, maxStep, minStep, maxSteps, tolerance, initial, omegaTau, mu,
                                 velocity);
    } else {
        manager.InitializeFromDB(initial, omegaTau, mu, velocity);
    }
    TVector3 start(in.Grid(435), in.Grid(435), in.Grid(435));
    IElectronCloud cloud(in.Int(1, 100), start, TVector3(), in.Grid(10), in.Bool() ? 1 : -1);
    bool untilX = in.Bool();
    double lim = untilX ? in.Grid(435) : in.Grid(100);
    double startTime = cloud.GetTime();
    bool reached = false;
    try {
        reached = untilX ? manager.DriftUntilXLim(cloud, lim) : manager.DriftUntilTLim(cloud, lim);
    } catch (const EDriftNotANumber&) {
        FUZZ_CHECK(adaptive && !cloud.IsDrifted());
        FUZZ_CHECK(cloud.GetTime() == startTime && cloud.GetPosition() == start);
        return 0;
    }
    // The step count is written by a drift that ran, and means nothing before.
    if (cloud.IsDrifted())
        FUZZ_CHECK(cloud.NumberDriftSteps() >= 0 && cloud.NumberDriftSteps() <= maxSteps);
    // The refused drifts leave the cloud where it was.
    if ((!untilX && lim < 0.0) || (untilX && start.X() < 0.0 && lim > 0.0)) {
        FUZZ_CHECK(!reached);
        FUZZ_CHECK(cloud.GetTime() == startTime && cloud.GetPosition() == start);
    }
    return 0;
}
