#include "ISimplexMinimizer.hxx"

ORVEX::ISimplexMinimizer::ISimplexMinimizer(IMinimizerFunc& func) : IMinuitEngine(func) {}

ORVEX::ISimplexMinimizer::~ISimplexMinimizer() {}

const char* ORVEX::ISimplexMinimizer::MinuitCommand() const {
    return "SIMPLEX";
}
