// Kalman filters of four state components with fuzzed measurement rows,
// matrices and values, driven by a fuzzed sequence of predictions and
// updates.
#include <cmath>
#include <cstddef>
#include <cstdint>

#include <TError.h>

#include <IKalmanFilter.hxx>

#include "FuzzInput.hxx"

using namespace ORVEX;

namespace {
    IKalmanFilter::Matrix Read(fuzz::Input& in, int rows, int cols) {
        IKalmanFilter::Matrix m(rows, cols);
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < cols; ++j) m(i, j) = in.Byte() < 128 ? (i == j) : in.Hostile(3);
        return m;
    }

    IKalmanFilter::Vector ReadVector(fuzz::Input& in, int rows) {
        IKalmanFilter::Vector v(rows);
        for (int i = 0; i < rows; ++i) v(i) = in.Hostile(10);
        return v;
    }

    bool Finite(const IKalmanFilter::Vector& v) {
        for (int i = 0; i < v.GetNrows(); ++i)
            if (!std::isfinite(v(i))) return false;
        return true;
    }
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Singular matrices are expected; ROOT need not say so.
    gErrorIgnoreLevel = kFatal;
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    const int n = 4;
    const int m = in.Int(1, 4);
    IKalmanFilter filter(Read(in, n, n), Read(in, m, n), ReadVector(in, n), Read(in, n, n));
    std::size_t operations = 0;
    while (!in.Empty() && ++operations < 50) {
        switch (in.Byte() % 5) {
        case 0:
            filter.Predict(Read(in, n, n));
            break;
        case 1:
            filter.Predict(Read(in, n, n), Read(in, n, n));
            break;
        case 2: {
            double interval = in.Hostile(50);
            filter.SetInterval(interval);
            const IKalmanFilter::Matrix& a = filter.GetSystemMatrix();
            FUZZ_CHECK(std::isnan(interval) || (a(0, 2) == interval && a(1, 3) == interval));
            break;
        }
        case 3:
            filter.SetMeasurementMatrix(Read(in, m, n));
            break;
        default: {
            // A measurement equal to the predicted one leaves nothing to
            // correct: the innovation is zero.
            bool predicted = in.Bool();
            IKalmanFilter::Vector state = filter.GetState();
            IKalmanFilter::Vector measurement =
                predicted ? IKalmanFilter::Vector(filter.GetMeasurementMatrix() * state)
                          : ReadVector(in, m);
            filter.Update(measurement, Read(in, m, m));
            const IKalmanFilter& read = filter;
            FUZZ_CHECK(read.GetInnovation().GetNrows() == m);
            FUZZ_CHECK(read.GetFilterGain().GetNrows() == n);
            FUZZ_CHECK(read.GetFilterGain().GetNcols() == m);
            if (predicted && Finite(measurement))
                for (int i = 0; i < m; ++i) FUZZ_CHECK(read.GetInnovation()(i) == 0.0);
            break;
        }
        }
        FUZZ_CHECK(filter.GetState().GetNrows() == n);
        FUZZ_CHECK(filter.GetCovariance().GetNrows() == n);
        FUZZ_CHECK(filter.GetCovariance().GetNcols() == n);
    }
    return 0;
}
