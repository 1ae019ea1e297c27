// The point sets the Delaunay mesh is measured on: uniform random points in
// the unit square, and a jittered square grid in rows or in a random order.
#ifndef ovUtility_DelaunayBenchPoints_hxx_seen
#define ovUtility_DelaunayBenchPoints_hxx_seen

#include <cmath>
#include <utility>
#include <vector>

#include <TRandom3.h>

namespace ovBench {
    typedef std::vector<std::pair<double, double> > Points;

    inline Points Uniform(int count) {
        TRandom3 random(1234);
        Points points;
        for (int i = 0; i < count; ++i) {
            points.emplace_back(random.Uniform(), random.Uniform());
        }
        return points;
    }

    /// A square grid in row order, each point moved by up to a tenth of the
    /// spacing so that no four are co-circular.
    inline Points JitteredGridInRows(int count) {
        TRandom3 random(4321);
        const int side = static_cast<int>(std::lround(std::sqrt(double(count))));
        const double spacing = 1.0 / side;
        Points points;
        for (int i = 0; i < side; ++i) {
            for (int j = 0; j < side; ++j) {
                points.emplace_back((i + random.Uniform(-0.1, 0.1)) * spacing,
                                    (j + random.Uniform(-0.1, 0.1)) * spacing);
            }
        }
        return points;
    }

    /// The jittered grid in a random order.
    inline Points JitteredGrid(int count) {
        Points points = JitteredGridInRows(count);
        TRandom3 random(987);
        for (std::size_t i = points.size(); i > 1; --i) {
            std::swap(points[i - 1], points[random.Integer(i)]);
        }
        return points;
    }
}

#endif
