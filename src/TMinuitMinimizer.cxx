#include "TMinuitMinimizer.hxx"

ORVEX::TMinuitMinimizer::TMinuitMinimizer(IMinimizerFunc& func) : IMinuitEngine(func) {}

ORVEX::TMinuitMinimizer::~TMinuitMinimizer() {}

const char* ORVEX::TMinuitMinimizer::MinuitCommand() const {
    return "MIGRAD";
}
