#include "ILineFit.hxx"

#include <cmath>

ORVEX::ILineFit::ILineFit() {
    Clear();
}

ORVEX::ILineFit::ILineFit(int n, double* x, double* y, double* sigma) {
    Clear();
    for (int i = 0; i < n; ++i) AddPoint(x[i], y[i], sigma[i]);
}

void ORVEX::ILineFit::Clear() {
    fPoints = 0;
    fX = fA = fB = fC = fD = fE = 0.0;
}

// A NaN sigma is not caught by the test and goes into the sums.
void ORVEX::ILineFit::AddPoint(double x, double y, double sigma) {
    if (sigma <= 0) return;
    ++fPoints;
    double sigma2 = sigma * sigma;
    fX += x;
    fA += y / sigma2;
    fB += 1 / sigma2;
    fC += x / sigma2;
    fD += (x * y) / sigma2;
    fE += (x * x) / sigma2;
}

// Removing the last point clears the sums outright, which also drops the
// rounding that the additions and removals left in them.
void ORVEX::ILineFit::RemovePoint(double x, double y, double sigma) {
    if (sigma <= 0) return;
    if (fPoints <= 1) {
        Clear();
        return;
    }
    --fPoints;
    double sigma2 = sigma * sigma;
    fX -= x;
    fA -= y / sigma2;
    fB -= 1 / sigma2;
    fC -= x / sigma2;
    fD -= (x * y) / sigma2;
    fE -= (x * x) / sigma2;
}

double ORVEX::ILineFit::SlopeNumerator() const {
    return fC * fA - fB * fD;
}

double ORVEX::ILineFit::Denominator() const {
    return fC * fC - fB * fE;
}

// Relative, not absolute: each quantity is judged against its own
// numerator.  Written as "degenerate" so that NaN, which compares false,
// is never degenerate.
bool ORVEX::ILineFit::IsDegenerate(double numerator, double denominator) {
    return std::fabs(numerator) * 1e-06 >= std::fabs(denominator);
}

bool ORVEX::ILineFit::IsValid() const {
    if (fPoints <= 1) return false;
    return !IsDegenerate(SlopeNumerator(), Denominator());
}

double ORVEX::ILineFit::GetSlope() const {
    if (!IsValid()) return 0.0;
    return SlopeNumerator() / Denominator();
}

// Only the empty fit has no intercept: one point, or points that all share
// one x, give the weighted mean of y through a slope of 0.0.
double ORVEX::ILineFit::GetIntercept() const {
    if (fPoints <= 0) return 0.0;
    return (fA - GetSlope() * fC) / fB;
}

double ORVEX::ILineFit::GetValue(double y) const {
    return GetIntercept() + GetSlope() * y;
}

double ORVEX::ILineFit::Uncertainty(double numerator) const {
    if (fPoints <= 1) return 0.0;
    double denominator = Denominator();
    if (IsDegenerate(numerator, denominator)) return 0.0;
    return std::sqrt(numerator / denominator);
}

double ORVEX::ILineFit::GetSlopeUncertainty() const {
    return Uncertainty(-fB);
}

double ORVEX::ILineFit::GetInterceptUncertainty() const {
    return Uncertainty(-fA);
}

double ORVEX::ILineFit::GetCentralIndependent() const {
    if (fPoints > 0) return fX / fPoints;
    return 0.0;
}
