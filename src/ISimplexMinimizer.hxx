#ifndef ORVEX_ISimplexMinimizer_hxx_seen
#define ORVEX_ISimplexMinimizer_hxx_seen

#include "IMinimizer.hxx"

namespace ORVEX {
    class ISimplexMinimizer;
}

/// A minimizer driven by Minuit's SIMPLEX command, with Minuit's default call
/// limit and tolerance.  It is an IMinimizer and a TMinuit: read the
/// results through the IMinimizer side, and reach any other Minuit setting
/// through the TMinuit side, where it stays in force for later calls.
class ORVEX::ISimplexMinimizer : public ORVEX::IMinuitEngine {
public:
    /// A simplex minimizer of `func`, which must outlive it.
    explicit ISimplexMinimizer(IMinimizerFunc& func);
    virtual ~ISimplexMinimizer();

private:
    const char* MinuitCommand() const override;
};

#endif
