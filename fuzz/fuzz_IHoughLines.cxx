// Hough spaces over small rectangles: fuzzed points added, shared points
// resolved, points kept on one line, the space cleared and filled again.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <set>

#include <EovUtility.hxx>
#include <IHoughLines.hxx>

#include "FuzzInput.hxx"

using namespace ORVEX;

namespace {
    class Point : public IHoughPoint {
    public:
        Point(double x, double y, double weight) : fX(x), fY(y), fWeight(weight) {}
        double GetX() const override { return fX; }
        double GetY() const override { return fY; }
        double GetWeight() const override { return fWeight; }

    private:
        double fX, fY, fWeight;
    };

    // RemoveShared sorts all its lines of three points or more again after
    // treating each of them, so its time grows as the square of their
    // number: 10 s at 22 000 of them, which a fine grid under a long
    // coherence length gives from a hundred points.  That price is known and
    // measured by the benchmarks; such spaces are not resolved here.
    bool Crowded(IHoughLines& space) {
        std::size_t crowded = 0;
        // Read through const lines, which leave their lists unsorted.
        for (const IHoughLine& line : space.GetLines())
            if (line.GetPoints().size() > 2) ++crowded;
        return crowded > 2000;
    }

    // A point names only lines whose lists hold it, and every point on a
    // line is one of the space's.  (The converse may fail: a point put twice
    // on one line, as bins clamped to the edge of the grid do, is named
    // once, and taking it off erases one copy.)
    void CheckLinks(IHoughLines& space) {
        std::set<IHoughPoint*> points(space.GetPoints().begin(), space.GetPoints().end());
        FUZZ_CHECK(points.size() == space.GetPoints().size());
        for (IHoughLine& line : space.GetLines())
            for (IHoughPoint* point : line.GetPoints()) FUZZ_CHECK(points.count(point) == 1);
        for (IHoughPoint* point : space.GetPoints())
            for (IHoughLine* line : point->GetLines()) {
                const IHoughLine::Points& held = line->GetPoints();
                FUZZ_CHECK(std::find(held.begin(), held.end(), point) != held.end());
            }
    }
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    double xmin = in.Grid(40), ymin = in.Grid(40);
    double xmax = xmin + in.Int(1, 80), ymax = ymin + in.Int(1, 80);
    // Widths are kept to a few thousand lines, or are hostile values the
    // constructor must refuse or default.
    double lineWidth = in.Byte() < 16 ? in.Hostile(2) : in.Int(2, 32) / 4.0;
    double overSampling = in.Byte() < 16 ? in.Hostile(2) : in.Int(1, 4);
    double coherence = in.Hostile(200);
    try {
        IHoughLines space(xmin, ymin, xmax, ymax, lineWidth, overSampling, coherence);
        std::size_t operations = 0;
        while (!in.Empty() && ++operations < 100) {
            int op = in.Byte() % 8;
            if (op < 5) {
                IHoughPoint* point = new Point(in.Hostile(60), in.Hostile(60), in.Int(1, 4));
                std::size_t before = space.GetPoints().size();
                try {
                    space.AddPoint(point);
                } catch (const EovUtility&) {
                    FUZZ_CHECK(point->GetLines().empty());
                }
                FUZZ_CHECK(space.GetPoints().size() == before + 1);
                FUZZ_CHECK(space.GetPoints().back() == point);
            } else if (op == 5) {
                if (Crowded(space)) continue;
                double threshold = in.Int(0, 10) / 10.0;
                space.RemoveShared(threshold);
                if (threshold >= 0.999)
                    for (IHoughPoint* point : space.GetPoints())
                        FUZZ_CHECK(point->GetLines().size() <= 1);
            } else if (op == 6 && !space.GetPoints().empty()) {
                IHoughPoint* point =
                    space.GetPoints()[in.Int(0, static_cast<int>(space.GetPoints().size()) - 1)];
                if (point->GetLines().empty()) continue;
                auto line = point->GetLines().begin();
                std::advance(line, in.Int(0, static_cast<int>(point->GetLines().size()) - 1));
                IHoughLine* kept = *line;
                point->KeepLine(kept);
                FUZZ_CHECK(point->GetLines().size() == 1 && *point->GetLines().begin() == kept);
            } else if (op == 7 && in.Byte() < 32) {
                space.Clear();
                FUZZ_CHECK(space.GetPoints().empty());
            }
        }
        // Once, at the end: a space may hold many thousand lines.
        CheckLinks(space);
    } catch (const EovUtility&) {
    }
    return 0;
}
