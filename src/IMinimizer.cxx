#include "IMinimizer.hxx"

#include <TString.h>

// ---------------------------------------------------------------- function

ORVEX::IMinimizerFunc::IMinimizerFunc(int nPar) : fNParameters(nPar) {
    for (int i = 0; i < nPar; ++i) {
        fScale.push_back(1.0);
        fNames.push_back(Form("P%2.2d", i));
    }
}

ORVEX::IMinimizerFunc::~IMinimizerFunc() {}

int ORVEX::IMinimizerFunc::GetParameterCount() const {
    return fNParameters;
}

double ORVEX::IMinimizerFunc::Initialize(const double* par) {
    return Evaluate(par, 0);
}

double ORVEX::IMinimizerFunc::Finalize(const double* par) {
    return Evaluate(par, 0);
}

void ORVEX::IMinimizerFunc::SetScale(int i, double scale) {
    fScale.at(i) = scale;
}

double ORVEX::IMinimizerFunc::GetScale(int i) const {
    return fScale[i];
}

void ORVEX::IMinimizerFunc::SetParameterName(int i, const char* name) {
    fNames.at(i) = name;
}

const char* ORVEX::IMinimizerFunc::GetParameterName(int i) const {
    return fNames[i].c_str();
}

// ---------------------------------------------------------------- minimizer

namespace {
    void Pack(const TVector3& v, double* par) {
        par[0] = v.X();
        par[1] = v.Y();
        par[2] = v.Z();
    }

    void Unpack(const double* par, TVector3& v) {
        v.SetXYZ(par[0], par[1], par[2]);
    }

    void Pack(const TLorentzVector& v, double* par) {
        Pack(v.Vect(), par);
        par[3] = v.T();
    }

    void Unpack(const double* par, TLorentzVector& v) {
        v.SetXYZT(par[0], par[1], par[2], par[3]);
    }
}

ORVEX::IMinimizer::IMinimizer(IMinimizerFunc& func) : fFunction(func) {}

ORVEX::IMinimizer::~IMinimizer() {}

ORVEX::IMinimizerFunc& ORVEX::IMinimizer::GetFunction() const {
    return fFunction;
}

// Each overload discards the status of Minimize (GetStatus has it) and
// copies back whatever it was; an exception from Minimize leaves the
// caller's values alone.

void ORVEX::IMinimizer::Optimize(int npar, double* par) {
    Minimize(npar, par);
}

void ORVEX::IMinimizer::Optimize(double& par1) {
    double par[1] = {par1};
    Minimize(1, par);
    par1 = par[0];
}

void ORVEX::IMinimizer::Optimize(double& par1, double& par2) {
    double par[2] = {par1, par2};
    Minimize(2, par);
    par1 = par[0];
    par2 = par[1];
}

void ORVEX::IMinimizer::Optimize(double& par1, double& par2, double& par3) {
    double par[3] = {par1, par2, par3};
    Minimize(3, par);
    par1 = par[0];
    par2 = par[1];
    par3 = par[2];
}

void ORVEX::IMinimizer::Optimize(TVector3& par1) {
    double par[3];
    Pack(par1, par);
    Minimize(3, par);
    Unpack(par, par1);
}

void ORVEX::IMinimizer::Optimize(TLorentzVector& par1) {
    double par[4];
    Pack(par1, par);
    Minimize(4, par);
    Unpack(par, par1);
}

void ORVEX::IMinimizer::Optimize(TVector3& par1, TVector3& par2) {
    double par[6];
    Pack(par1, par);
    Pack(par2, par + 3);
    Minimize(6, par);
    Unpack(par, par1);
    Unpack(par + 3, par2);
}

void ORVEX::IMinimizer::Optimize(TLorentzVector& par1, TVector3& par2) {
    double par[7];
    Pack(par1, par);
    Pack(par2, par + 4);
    Minimize(7, par);
    Unpack(par, par1);
    Unpack(par + 4, par2);
}

double ORVEX::IMinimizer::GetCovariance(int, int) const {
    return 0.0;
}

void ORVEX::IMinimizer::FixParameter(int) {}

double ORVEX::IMinimizer::GetPrecision() const {
    return -1.0;
}

void ORVEX::IMinimizer::SetPrecision(double) {}

int ORVEX::IMinimizer::GetIterations() const {
    return 0;
}

void ORVEX::IMinimizer::SetMaxIterations(int) {}

// ---------------------------------------------------------------- Minuit

ORVEX::IMinuitEngine::IMinuitEngine(IMinimizerFunc& func)
    : IMinimizer(func), TMinuit(func.GetParameterCount()) {}

ORVEX::IMinuitEngine::~IMinuitEngine() {}

int ORVEX::IMinuitEngine::Minimize(int nPar, double* par) {
    if (fFunction.GetParameterCount() < nPar) throw EParameterCount();
    int ierr = 0;
    // Every call defines its parameters afresh from the start values, with
    // no limits; what mnparm says about a definition is not looked at.
    for (int i = 0; i < nPar; ++i) {
        TString name(fFunction.GetParameterName(i));
        TMinuit::mnparm(i, name, par[i], fFunction.GetScale(i), 0.0, 0.0, ierr);
    }
    // With an argument count of 0 no call limit and no tolerance are passed,
    // so Minuit's own defaults hold and the arguments are never read.
    double arglist[4];
    TMinuit::mnexcm(MinuitCommand(), arglist, 0, ierr);
    fStatus = ierr;
    for (int i = 0; i < nPar; ++i) par[i] = GetParameter(i);
    // The minimum is the function's own value at the result, not Minuit's.
    fMinimum = fFunction.Evaluate(par, 0);
    return fStatus;
}

double ORVEX::IMinuitEngine::GetMinimum() const {
    return fMinimum;
}

int ORVEX::IMinuitEngine::GetStatus() const {
    return fStatus;
}

double ORVEX::IMinuitEngine::GetParameter(int i) const {
    double value = 0.0;
    double error = 0.0;
    TMinuit::GetParameter(i, value, error);
    return value;
}

double ORVEX::IMinuitEngine::GetCovariance(int i, int j) const {
    int n = fFunction.GetParameterCount();
    // Zeroed, so that a matrix Minuit hasn't got reads 0.0 rather than
    // garbage; an index beyond the n * n elements throws std::out_of_range.
    std::vector<double> matrix(n > 0 ? n * n : 0, 0.0);
    const_cast<IMinuitEngine*>(this)->TMinuit::mnemat(matrix.data(), n);
    return matrix.at(i * n + j);
}

void ORVEX::IMinuitEngine::SetPrecision(double accuracy) {
    double arglist[1] = {accuracy};
    int ierr = 0;
    TMinuit::mnexcm("SET ERR", arglist, 1, ierr);
}

Int_t ORVEX::IMinuitEngine::Eval(Int_t, Double_t*, Double_t& fval, Double_t* par, Int_t) {
    fval = fFunction.Evaluate(par, 0);
    return 0;
}

Int_t ORVEX::IMinuitEngine::SetPrintLevel(Int_t printLevel) {
    TMinuit::SetPrintLevel(printLevel);
    return 0;
}
