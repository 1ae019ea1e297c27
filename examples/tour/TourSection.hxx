#ifndef ovUtility_TourSection_hxx_seen
#define ovUtility_TourSection_hxx_seen

// The tour is one program with a section per family of the library.  Each
// section is a file of its own that registers a function with an order key;
// main runs the sections in the order of their keys.

#include <map>
#include <string>
#include <vector>

#include <IHitSelection.hxx>

namespace tour {
    typedef void (*Section)();

    /// The sections by order key.
    std::map<int, std::pair<std::string, Section> >& Sections();

    struct Register {
        Register(int order, const char* title, Section section) {
            Sections()[order] = std::make_pair(std::string(title), section);
        }
    };

    /// Where the tour writes its pictures.
    std::string OutputPath(const std::string& file);

    /// Draws the hits of `event` in the (z, x) view as grey rings, and each
    /// group as filled markers of its own colour, into the picture `file`.
    struct View {
        double zMin, zMax, xMin, xMax;
    };
    void DrawHitGroups(const char* file, const char* title, const ORVEX::IHitSelection& event,
                       const std::vector<ORVEX::IHitSelection>& groups, const View& view);
}

#endif
