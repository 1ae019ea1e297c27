// The Kalman filter: one straight track through a stack of planes, followed
// plane by plane with the four-component model.
#include "TourSection.hxx"

#include <cmath>
#include <cstdio>
#include <iostream>

#include <TRandom3.h>

#include <IKalmanFilter.hxx>
#include <ILineFit.hxx>

using namespace ORVEX;

namespace {
    typedef IKalmanFilter::Matrix Matrix;
    typedef IKalmanFilter::Vector Vector;

    // The planes stand 30 mm apart along x, the model's own interval; each
    // measures y and z of the track.  The state is (y, z, dy/dx, dz/dx).
    void FollowTrack() {
        const double y0 = -12.0, z0 = 40.0, ty = 0.25, tz = -0.1, resolution = 0.5;
        const int planes = 15;
        TRandom3 random(52);

        std::pair<Matrix, Matrix> model = FilterComponentInitializer();
        Vector start(4);  // nothing known: at the origin with a wide covariance
        Matrix covariance(4, 4);
        covariance(0, 0) = covariance(1, 1) = 1e4;
        covariance(2, 2) = covariance(3, 3) = 1.0;
        IKalmanFilter filter(model.first, model.second, start, covariance);

        Matrix process(4, 4);
        process(2, 2) = process(3, 3) = 1e-8;  // a little scattering in the slopes
        Matrix measurementCovariance(2, 2);
        measurementCovariance(0, 0) = measurementCovariance(1, 1) = resolution * resolution;

        ILineFit fitY, fitZ;
        std::cout << "plane   measured y, z        filtered y, z       slopes dy/dx, dz/dx"
                  << std::endl;
        for (int plane = 1; plane <= planes; ++plane) {
            double x = 30.0 * plane;
            Vector measured(2);
            measured(0) = y0 + ty * x + random.Gaus(0.0, resolution);
            measured(1) = z0 + tz * x + random.Gaus(0.0, resolution);
            fitY.AddPoint(x, measured(0), resolution);
            fitZ.AddPoint(x, measured(1), resolution);
            filter.Predict(process);
            filter.Update(measured, measurementCovariance);
            const Vector& state = static_cast<const IKalmanFilter&>(filter).GetState();
            if (plane <= 3 || plane % 4 == 0 || plane == planes) {
                std::printf("%5d  %8.2f %8.2f   %8.2f %8.2f   %8.4f %8.4f\n", plane, measured(0),
                            measured(1), state(0), state(1), state(2), state(3));
            }
        }
        const Vector& state = static_cast<const IKalmanFilter&>(filter).GetState();
        const Matrix& errors = static_cast<const IKalmanFilter&>(filter).GetCovariance();
        std::printf(
            "true slopes %.4f %.4f; filter %.4f +- %.4f, %.4f +- %.4f; "
            "line fits %.4f, %.4f\n",
            ty, tz, state(2), std::sqrt(errors(2, 2)), state(3), std::sqrt(errors(3, 3)),
            fitY.GetSlope(), fitZ.GetSlope());
    }

    tour::Register kalmanSection(52, "Kalman filter: one track, plane by plane", FollowTrack);
}
