// Line fits through fuzzed sequences of added and removed points.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include <ILineFit.hxx>

#include "FuzzInput.hxx"

using namespace ORVEX;

namespace {
    // The same bits, NaN included.
    bool Same(double a, double b) {
        return std::memcmp(&a, &b, sizeof a) == 0;
    }

    bool SameFit(const ILineFit& a, const ILineFit& b) {
        return a.GetNumberOfPoints() == b.GetNumberOfPoints() && a.IsValid() == b.IsValid() &&
               Same(a.GetSlope(), b.GetSlope()) && Same(a.GetIntercept(), b.GetIntercept()) &&
               Same(a.GetSlopeUncertainty(), b.GetSlopeUncertainty()) &&
               Same(a.GetInterceptUncertainty(), b.GetInterceptUncertainty()) &&
               Same(a.GetCentralIndependent(), b.GetCentralIndependent());
    }
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    ILineFit fit;
    std::vector<double> xs, ys, sigmas;
    int expected = 0;
    while (!in.Empty()) {
        bool add = in.Byte() < 192;
        double x = in.Hostile(20), y = in.Hostile(20);
        double sigma = in.Byte() < 224 ? in.Int(1, 8) / 4.0 : in.Hostile(2);
        // A sigma of zero or less is dropped; NaN is not.
        bool taken = !(sigma <= 0.0);
        if (add) {
            fit.AddPoint(x, y, sigma);
            if (taken) ++expected;
            xs.push_back(x);
            ys.push_back(y);
            sigmas.push_back(sigma);
        } else {
            fit.RemovePoint(x, y, sigma);
            if (taken) expected = expected <= 1 ? 0 : expected - 1;
        }
        FUZZ_CHECK(fit.GetNumberOfPoints() == expected);
        if (!fit.IsValid()) FUZZ_CHECK(fit.GetSlope() == 0.0);
        if (expected == 0) {
            FUZZ_CHECK(fit.GetIntercept() == 0.0 && fit.GetValue(1.0) == 0.0);
            FUZZ_CHECK(fit.GetCentralIndependent() == 0.0);
        }
    }
    // The array constructor is the same sequence of additions.
    ILineFit added;
    for (std::size_t i = 0; i < xs.size(); ++i) added.AddPoint(xs[i], ys[i], sigmas[i]);
    ILineFit built(static_cast<int>(xs.size()), xs.data(), ys.data(), sigmas.data());
    FUZZ_CHECK(SameFit(added, built));
    return 0;
}
