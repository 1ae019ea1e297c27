#ifndef ORVEX_TMinuitMinimizer_hxx_seen
#define ORVEX_TMinuitMinimizer_hxx_seen

#include "IMinimizer.hxx"

namespace ORVEX {
    class TMinuitMinimizer;
}

/// A minimizer driven by Minuit's MIGRAD command, with Minuit's default call
/// limit and tolerance.  It is an IMinimizer and a TMinuit: read the
/// results through the IMinimizer side, and reach any other Minuit setting
/// through the TMinuit side, where it stays in force for later calls.
class ORVEX::TMinuitMinimizer : public ORVEX::IMinuitEngine {
public:
    /// A Minuit (MIGRAD) minimizer of `func`, which must outlive it.
    explicit TMinuitMinimizer(IMinimizerFunc& func);
    virtual ~TMinuitMinimizer();

private:
    const char* MinuitCommand() const override;
};

#endif
