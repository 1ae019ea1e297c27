// The planar mesh: the hits of a synthetic event triangulated, the mesh
// closed into edges, the routes between two hits, and a picture of it all.
#include "TourSection.hxx"

#include <iostream>

#include <TCanvas.h>
#include <TRandom.h>

#include <IHit.hxx>
#include <IHitSelection.hxx>

#include <IDelaunay2D.hxx>

using namespace ORVEX;

namespace {
    /// Two straight tracks crossing a 100 mm by 100 mm plane, and noise.
    IHitSelection SyntheticEvent() {
        IHitSelection event("event", "Synthetic event");
        gRandom->SetSeed(30);
        int channel = 0;
        for (int i = 0; i < 12; ++i) {
            const double x = 5.0 + 8.0 * i;
            event.push_back(IHandle<IHit>(new ISingleHit(
                channel++, 1.0, TVector3(x, 10.0 + 0.7 * x + gRandom->Gaus(0, 0.5), 0))));
            event.push_back(IHandle<IHit>(new ISingleHit(
                channel++, 1.0, TVector3(x, 90.0 - 0.6 * x + gRandom->Gaus(0, 0.5), 0))));
        }
        for (int i = 0; i < 16; ++i) {
            event.push_back(IHandle<IHit>(new ISingleHit(
                channel++, 0.3, TVector3(gRandom->Uniform(0, 100), gRandom->Uniform(0, 100), 0))));
        }
        return event;
    }

    /// The mesh point at the place of a hit.
    IMeshPoint* PointAt(IDelaunay2D& mesh, const IHandle<IHit>& hit) {
        IMeshXYPoint probe(hit->GetPosition().X(), hit->GetPosition().Y());
        TMeshPointSet::iterator found = mesh.GetPoints().find(&probe);
        return found == mesh.GetPoints().end() ? nullptr : *found;
    }

    void Delaunay() {
        IHitSelection event = SyntheticEvent();
        IDelaunay2D mesh;
        for (const IHandle<IHit>& hit : event) {
            // The mesh takes the point; a failed insertion would give null.
            if (!mesh.AddPoint(new IMeshXYPoint(hit->GetPosition().X(), hit->GetPosition().Y()))) {
                std::cout << "insertion failed for channel " << hit->GetGeomId().AsInt()
                          << std::endl;
            }
        }
        int triangles = 0;
        for (IDelaunay2D::ITriangleIterator t = mesh.BeginTriangles(); t != mesh.EndTriangles();
             ++t) {
            ++triangles;
        }
        mesh.Close();
        std::cout << event.size() << " hits give " << mesh.GetPoints().size() << " points, "
                  << mesh.GetEdges().size() << " edges (" << triangles
                  << " finite triangles, counting those on the far scaffold corners)" << std::endl;

        // The routes from the first hit of the rising track to its last.
        IMeshPoint* start = PointAt(mesh, event[0]);
        IMeshPoint* end = PointAt(mesh, event[22]);
        IMeshPoint::PathVector routes = start->GetPaths(end, 3, 20);
        std::cout << "routes from (" << start->X() << ", " << start->Y() << ") to (" << end->X()
                  << ", " << end->Y() << "), each read from its end:" << std::endl;
        for (const IMeshPoint::PointVector& route : routes) {
            std::cout << "  " << route.size() << " points:";
            for (const IMeshPoint* p : route) std::cout << " (" << p->X() << ", " << p->Y() << ")";
            std::cout << std::endl;
        }

        int reached = 0;
        for (IMeshPoint::Walker w = start->BeginPoints(); w != start->EndPoints(); ++w) ++reached;
        std::cout << "a walk from the first hit reaches " << reached << " points" << std::endl;

        TCanvas canvas("tourDelaunay", "Delaunay mesh of the synthetic event", 600, 600);
        canvas.Range(-5, -5, 105, 105);
        mesh.SetMarkerStyle(20);
        mesh.SetMarkerSize(0.8);
        mesh.SetLineColor(kAzure + 2);
        mesh.Draw();
        const std::string picture = tour::OutputPath("delaunay_mesh.png");
        canvas.SaveAs(picture.c_str());
    }

    tour::Register delaunaySection(30, "Mesh: Delaunay triangulation of hits and routes", Delaunay);
}
