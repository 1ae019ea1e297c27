// What a clusterer lets a caller observe, written out as text so that the
// library and a reference procedure can be compared on the same input:
// the result (members by their place in the input, combo charges and
// positions to the last bit), the debug stream, standard output, and an
// exception.  Also the random events those comparisons run on, drawn to hit
// ties, exact gap multiples, NaN, infinities and positions beyond the range.
#ifndef ovUtility_test_ClusterComparison_hxx_seen
#define ovUtility_test_ClusterComparison_hxx_seen

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>
#include <limits>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <TRandom3.h>

#include <IHandle.hxx>
#include <IHitKinds.hxx>
#include <IHitSelection.hxx>
#include <IORVEXLog.hxx>

namespace comparison {
    /// Every bit of a double, NaN included.
    inline std::string Exact(double value) {
        char text[64];
        std::snprintf(text, sizeof text, "%a", value);
        return text;
    }

    inline std::string Exact(const TVector3& v) {
        return "(" + Exact(v.X()) + " " + Exact(v.Y()) + " " + Exact(v.Z()) + ")";
    }

    /// The place of each hit in the input, by the object it points to.
    inline std::map<const TObject*, int> PlacesOf(const ORVEX::IHitSelection& input) {
        std::map<const TObject*, int> place;
        for (std::size_t i = 0; i < input.size(); ++i)
            place.emplace(input[i].GetPointerValue(), static_cast<int>(i));
        return place;
    }

    /// A hit of the result: a combo hit with its members by input place, or
    /// a single hit by its own place.
    inline std::string DescribeHit(const ORVEX::IHandle<ORVEX::IHit>& hit,
                                   const std::map<const TObject*, int>& place) {
        std::ostringstream text;
        ORVEX::IHandle<ORVEX::IComboHit> combo(hit);
        if (combo) {
            text << "combo [";
            for (const ORVEX::IHandle<ORVEX::IHit>& member : combo->GetHits())
                text << " " << place.at(member.GetPointerValue());
            text << " ]";
        } else {
            text << "hit " << place.at(hit.GetPointerValue());
        }
        text << " q " << Exact(hit->GetCharge()) << " at " << Exact(hit->GetPosition()) << "\n";
        return text.str();
    }

    inline std::string DescribeSelection(const ORVEX::IHitSelection& selection,
                                         const std::map<const TObject*, int>& place) {
        std::string text = std::string(selection.GetName()) + " (" + selection.GetTitle() + ") " +
                           std::to_string(selection.size()) + "\n";
        for (const ORVEX::IHandle<ORVEX::IHit>& hit : selection) text += DescribeHit(hit, place);
        return text;
    }

    /// The debug stream with the source file and line of each message left
    /// out: the reference writes its messages from another file.
    inline std::string WithoutSourceLines(const std::string& debug) {
        static const std::regex where("(ERROR|WARNING|DEBUG|LOG|INFO): [^ ]*:[0-9]+: ");
        return std::regex_replace(debug, where, "$1: <where>: ");
    }

    /// What one run showed: its description (or exception), its debug text
    /// and its standard output.
    struct Observed {
        std::string result;
        std::string debug;
        std::string out;
    };

    /// Runs `describe`, which clusters and writes out its result, with the
    /// debug stream and standard output captured.  The library and the
    /// host write to standard output through std::cout only, so its buffer
    /// is swapped, which is much cheaper than capturing the file.
    template <class Describe>
    Observed Observe(Describe describe) {
        Observed seen;
        std::ostringstream debug;
        ORVEX::IORVEXLog::SetDebugStream(&debug);
        std::ostringstream out;
        std::streambuf* terminal = std::cout.rdbuf(out.rdbuf());
        try {
            seen.result = describe();
        } catch (const ORVEX::EHandleBadReference&) {
            seen.result = "EHandleBadReference";
        }
        std::cout.rdbuf(terminal);
        seen.out = out.str();
        ORVEX::IORVEXLog::SetDebugStream(NULL);
        seen.debug = WithoutSourceLines(debug.str());
        return seen;
    }

    inline void ExpectSame(const Observed& library, const Observed& reference,
                           const std::string& context) {
        EXPECT_EQ(library.result, reference.result) << context;
        EXPECT_EQ(library.debug, reference.debug) << context;
        EXPECT_EQ(library.out, reference.out) << context;
    }

    /// A single hit that measures only the axes it is told.
    struct MeasuringHit : public ORVEX::ISingleHit {
        MeasuringHit(int id, double charge, const TVector3& position, bool x, bool y, bool z)
            : ORVEX::ISingleHit(id, charge, position) {
            SetMeasures(x, y, z);
        }
    };

    /// Values drawn to make the hard cases frequent: coarse steps, so that
    /// ties and distances exactly on a gap come up, and now and then NaN,
    /// infinities, huge values and values just at or beyond the range.
    class HardDraws {
    public:
        explicit HardDraws(unsigned int seed) : fRandom(seed) {}

        TRandom3& Random() { return fRandom; }

        double Coordinate(double step) {
            switch (fRandom.Integer(60)) {
            case 0:
                return std::numeric_limits<double>::quiet_NaN();
            case 1:
                return std::numeric_limits<double>::infinity();
            case 2:
                return -std::numeric_limits<double>::infinity();
            case 3:
                return 100000.0;
            case 4:
                return -2e5;
            case 5:
                return 1e17;
            case 6:
                return fRandom.Uniform(-3, 3);
            default:
                return step * (static_cast<int>(fRandom.Integer(13)) - 6);
            }
        }

        double Charge() {
            switch (fRandom.Integer(50)) {
            case 0:
                return std::numeric_limits<double>::quiet_NaN();
            case 1:
                return std::numeric_limits<double>::infinity();
            case 2:
                return 12.0;  // 1.2 times 10
            case 3:
                return fRandom.Uniform(0, 10);
            default:
                return static_cast<int>(fRandom.Integer(12)) - 2.0;
            }
        }

        double Gap() {
            switch (fRandom.Integer(30)) {
            case 0:
                return 0.0;
            case 1:
                return -1.0;
            case 2:
                return 1e-300;
            case 3:
                return std::numeric_limits<double>::quiet_NaN();
            case 4:
                return std::numeric_limits<double>::infinity();
            case 5:
                return 1e6;
            default:
                return 0.5 * fRandom.Integer(5);
            }
        }

        /// Mostly small events; now and then a larger one so that clusters
        /// grow long and many cells are in use.
        int Size() {
            return fRandom.Integer(50) == 0 ? 40 + fRandom.Integer(60) : fRandom.Integer(30);
        }

        /// An input of `n` hits; now and then a null handle among them.
        ORVEX::IHitSelection Hits(int n) {
            ORVEX::IHitSelection hits("random", "Random hits");
            const double step = fRandom.Integer(3) == 0 ? 1.0 : 0.5;
            for (int i = 0; i < n; ++i) {
                if (fRandom.Integer(400) == 0) {
                    hits.push_back(ORVEX::IHandle<ORVEX::IHit>());
                    continue;
                }
                const double charge = Charge();
                const TVector3 position(Coordinate(step), Coordinate(step), Coordinate(step));
                hits.push_back(ORVEX::IHandle<ORVEX::IHit>(
                    new MeasuringHit(i, charge, position, fRandom.Integer(4) != 0,
                                     fRandom.Integer(4) != 0, fRandom.Integer(4) != 0)));
                // A copy of an earlier hit at the same place.
                if (i > 0 && fRandom.Integer(10) == 0) {
                    hits.push_back(hits[fRandom.Integer(hits.size())]);
                    ++i;
                }
            }
            return hits;
        }

    private:
        TRandom3 fRandom;
    };
}

#endif
