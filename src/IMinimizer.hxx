#ifndef ORVEX_IMinimizer_hxx_seen
#define ORVEX_IMinimizer_hxx_seen

#include <string>
#include <vector>

#include <TLorentzVector.h>
#include <TMinuit.h>
#include <TObject.h>
#include <TVector3.h>

#include "EovUtility.hxx"

namespace ORVEX {
    /// The base of the minimizers' exceptions.
    ORVEX_EXCEPTION(EMinimizer, EovUtility);
    /// An engine was asked for more parameters than its function has.
    ORVEX_EXCEPTION(EParameterCount, EMinimizer);

    class IMinimizerFunc;
    class IMinimizer;
    class IMinuitEngine;
}

/// A function to be minimized.  Derive from it and supply Evaluate; the
/// base carries a name ("P00", "P01", ...) and an initial step scale (1.0)
/// for each parameter.
class ORVEX::IMinimizerFunc : public TObject {
public:
    /// A function of `nPar` parameters.
    explicit IMinimizerFunc(int nPar);
    virtual ~IMinimizerFunc();

    /// The number of parameters, as given to the constructor.
    virtual int GetParameterCount() const;

    /// A hook for callers and engines that want one; it evaluates.
    virtual double Initialize(const double* par);

    /// The value of the function at par.  The second array is null on every
    /// call the library makes, so an implementation must accept null there;
    /// what a caller may pass in it otherwise is the implementation's own.
    virtual double Evaluate(const double* par, double* extra) = 0;

    /// A hook for callers and engines that want one; it evaluates.
    virtual double Finalize(const double* par);

    /// Set the step scale of parameter i.  An index outside the parameter
    /// table throws std::out_of_range: a silent write there would be lost.
    void SetScale(int i, double scale);
    /// The step scale of parameter i, not range checked.
    double GetScale(int i) const;

    /// Set the name of parameter i; out of range throws std::out_of_range.
    void SetParameterName(int i, const char* name);
    /// The name of parameter i, not range checked.
    const char* GetParameterName(int i) const;

private:
    int fNParameters;
    std::vector<double> fScale;
    std::vector<std::string> fNames;
};

/// The abstract engine.  It binds a function for its whole life (the
/// function is not owned and must outlive it) and offers the Optimize
/// overloads, which pack scalars and ROOT vectors into the parameter array,
/// minimize in place and copy every entry back whatever the status was.
class ORVEX::IMinimizer {
public:
    /// A minimizer of `func`, which must outlive it.
    explicit IMinimizer(IMinimizerFunc& func);

    /// The bound function.
    IMinimizerFunc& GetFunction() const;

    /// Minimizes over the `npar` parameters in `par`, which get the result.
    void Optimize(int npar, double* par);
    /// Minimizes over one parameter, which gets the result.
    void Optimize(double& par1);
    /// Minimizes over two parameters, which get the result.
    void Optimize(double& par1, double& par2);
    /// Minimizes over three parameters, which get the result.
    void Optimize(double& par1, double& par2, double& par3);
    /// X, Y, Z.
    void Optimize(TVector3& par1);
    /// X, Y, Z, T: the time or energy follows the three-vector.
    void Optimize(TLorentzVector& par1);
    /// Minimizes over the six components of two vectors, which get the result.
    void Optimize(TVector3& par1, TVector3& par2);
    /// Minimizes over the seven components of a four-vector and a vector, which get the result.
    void Optimize(TLorentzVector& par1, TVector3& par2);

protected:
    /// Minimize over the first nPar parameters, starting from par and
    /// leaving the result in par.  Returns the engine's status.
    virtual int Minimize(int nPar, double* par) = 0;

public:
    virtual ~IMinimizer();

    /// The function's value at the minimum found.
    virtual double GetMinimum() const = 0;
    /// The status of the last minimization.
    virtual int GetStatus() const = 0;
    /// The value of one parameter after the last minimization.
    virtual double GetParameter(int i) const = 0;

    // What an engine may leave out answers harmlessly: no covariance (0.0),
    // no precision (-1.0), no iterations (0), and the setters do nothing.
    /// The covariance of parameters `i` and `j`; 0.0 where the engine gives none.
    virtual double GetCovariance(int i, int j) const;
    /// Keeps parameter `i` fixed; does nothing where the engine can't.
    virtual void FixParameter(int i);
    /// The precision asked of the engine; -1.0 where it has none.
    virtual double GetPrecision() const;
    /// Sets the precision asked of the engine, where it has one.
    virtual void SetPrecision(double accuracy);
    /// The iterations of the last minimization; 0 where the engine doesn't count them.
    virtual int GetIterations() const;
    /// Limits the iterations, where the engine allows it.
    virtual void SetMaxIterations(int maxIterations);

protected:
    /// The function minimized, not owned.
    IMinimizerFunc& fFunction;
};

/// What the two Minuit engines share: an IMinimizer that is also a TMinuit,
/// whose Minimize defines the parameters, issues one Minuit command with
/// Minuit's own defaults and reads the result back.  The engines differ
/// only in the command.
///
/// The two sides of the object stay apart: TMinuit's FixParameter and
/// SetMaxIterations are not the IMinimizer ones, so on an engine object
/// those names must be qualified or reached through a base reference.
class ORVEX::IMinuitEngine : public IMinimizer, public TMinuit {
public:
    /// Builds a TMinuit sized for the function's parameters; the print
    /// level, error definition and the rest are TMinuit's defaults.
    explicit IMinuitEngine(IMinimizerFunc& func);

protected:
    int Minimize(int nPar, double* par) override;

public:
    virtual ~IMinuitEngine();

    double GetMinimum() const override;
    int GetStatus() const override;
    /// Minuit's value of parameter i; its error is dropped.
    double GetParameter(int i) const override;
    /// Element (i, j) of Minuit's external covariance matrix, fetched afresh
    /// on every call.
    double GetCovariance(int i, int j) const override;
    /// Sets Minuit's error definition ("SET ERR"), which stays in force for
    /// the later minimizations.  GetPrecision keeps its default of -1.0.
    void SetPrecision(double accuracy) override;

    /// TMinuit's form, which also gives the error.
    using TMinuit::GetParameter;

    /// Minuit's call-back: every evaluation is a plain Evaluate.
    Int_t Eval(Int_t npar, Double_t* grad, Double_t& fval, Double_t* par, Int_t flag) override;
    /// Sets Minuit's print level; always returns 0.
    Int_t SetPrintLevel(Int_t printLevel = 0) override;

private:
    /// The one Minuit command that Minimize issues.
    virtual const char* MinuitCommand() const = 0;

    // Both are set by Minimize and mean nothing before the first one.
    double fMinimum;
    int fStatus;
};

#endif
