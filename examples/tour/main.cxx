#include "TourSection.hxx"

#include <iostream>
#include <memory>

#include <TCanvas.h>
#include <TGraph.h>
#include <TH2F.h>
#include <TROOT.h>
#include <TSystem.h>

std::map<int, std::pair<std::string, tour::Section> >& tour::Sections() {
    static std::map<int, std::pair<std::string, Section> > sections;
    return sections;
}

std::string tour::OutputPath(const std::string& file) {
    const char* dir = gSystem->Getenv("OVUTILITY_TOUR_OUTPUT");
    return std::string(dir ? dir : ".") + "/" + file;
}

namespace {
    TGraph* DrawHits(const ORVEX::IHitSelection& hits, int style, int colour) {
        TGraph* graph = new TGraph();
        for (const ORVEX::IHandle<ORVEX::IHit>& hit : hits) {
            graph->AddPoint(hit->GetPosition().Z(), hit->GetPosition().X());
        }
        graph->SetMarkerStyle(style);
        graph->SetMarkerColor(colour);
        graph->Draw("P");
        return graph;
    }
}

void tour::DrawHitGroups(const char* file, const char* title, const ORVEX::IHitSelection& event,
                         const std::vector<ORVEX::IHitSelection>& groups, const View& view) {
    TCanvas canvas("hitGroups", title, 700, 600);
    TH2F frame("hitGroupsFrame", (std::string(title) + ";z (mm);x (mm)").c_str(), 10, view.zMin,
               view.zMax, 10, view.xMin, view.xMax);
    frame.SetStats(false);
    frame.Draw();
    std::vector<std::unique_ptr<TGraph> > graphs;
    graphs.emplace_back(DrawHits(event, 24, kGray + 1));
    for (std::size_t i = 0; i < groups.size(); ++i) {
        graphs.emplace_back(DrawHits(groups[i], 20, 2 + i % 8));
    }
    canvas.SaveAs(OutputPath(file).c_str());
}

int main() {
    gROOT->SetBatch(true);
    for (const auto& section : tour::Sections()) {
        std::cout << "\n=== " << section.second.first << " ===" << std::endl;
        section.second.second();
    }
    return 0;
}
