// The Kalman filter: one Predict and one Update of the four-component
// model, and each on its own.
#include <benchmark/benchmark.h>

#include <IKalmanFilter.hxx>

using ORVEX::IKalmanFilter;
typedef IKalmanFilter::Matrix Matrix;
typedef IKalmanFilter::Vector Vector;

namespace {
    struct Model {
        IKalmanFilter filter;
        Matrix process;
        Vector measurement;
        Matrix resolution;
    };

    Model MakeModel() {
        std::pair<Matrix, Matrix> matrices = FilterComponentInitializer();
        Vector start(4);
        Matrix covariance(4, 4);
        covariance.UnitMatrix();
        Model model{IKalmanFilter(matrices.first, matrices.second, start, covariance), Matrix(4, 4),
                    Vector(2), Matrix(2, 2)};
        model.process(2, 2) = model.process(3, 3) = 1e-6;
        model.measurement(0) = 1.0;
        model.measurement(1) = -2.0;
        model.resolution.UnitMatrix();
        return model;
    }

    void BM_PredictAndUpdate(benchmark::State& state) {
        Model model = MakeModel();
        for (auto _ : state) {
            model.filter.Predict(model.process);
            model.filter.Update(model.measurement, model.resolution);
        }
        benchmark::DoNotOptimize(model.filter.GetFilterGain());
    }
    BENCHMARK(BM_PredictAndUpdate);

    void BM_Predict(benchmark::State& state) {
        Model model = MakeModel();
        model.filter.SetInterval(0.0);  // keeps the state from running away
        for (auto _ : state) model.filter.Predict(model.process);
        benchmark::DoNotOptimize(model.filter.GetFilterGain());
    }
    BENCHMARK(BM_Predict);

    void BM_Update(benchmark::State& state) {
        Model model = MakeModel();
        for (auto _ : state) model.filter.Update(model.measurement, model.resolution);
        benchmark::DoNotOptimize(model.filter.GetFilterGain());
    }
    BENCHMARK(BM_Update);
}
