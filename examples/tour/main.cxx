#include "TourSection.hxx"

#include <iostream>

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

int main() {
    gROOT->SetBatch(true);
    for (const auto& section : tour::Sections()) {
        std::cout << "\n=== " << section.second.first << " ===" << std::endl;
        section.second.second();
    }
    return 0;
}
