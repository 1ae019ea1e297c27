#ifndef ORVEX_ILineFit_hxx_seen
#define ORVEX_ILineFit_hxx_seen

namespace ORVEX {
    class ILineFit;
}

/// A weighted straight-line fit, y = intercept + slope * x, with an
/// uncertainty on y for each point.  Only running sums are kept, so points
/// can be added and removed in constant time and the fit read at any moment.
/// The fit is not centred: slope and intercept come from the raw sums in the
/// caller's coordinates.  Nothing here throws or reports: a point with
/// sigma <= 0 is ignored, and a fit that can't be computed reads 0.0.
class ORVEX::ILineFit {
public:
    /// The empty fit.
    ILineFit();

    /// The fit of the n points (x[i], y[i]) with uncertainties sigma[i],
    /// added in order.  n <= 0 gives the empty fit and reads no array.
    ILineFit(int n, double* x, double* y, double* sigma);

    /// Add a point.  A point with sigma <= 0 is ignored.
    void AddPoint(double x, double y, double sigma);

    /// Take away a point that was added before (not checked).  Taking
    /// anything from a fit of one point or none leaves the empty fit.
    void RemovePoint(double x, double y, double sigma);

    /// The number of points in the fit.
    int GetNumberOfPoints() const { return fPoints; }

    /// True when there are at least two points and the slope is not
    /// degenerate.  Sums that went NaN count as valid.
    bool IsValid() const;

    /// The slope, or 0.0 when the fit isn't valid.
    double GetSlope() const;

    /// The intercept, or 0.0 for the empty fit.  With one point, or with a
    /// degenerate slope, it is the weighted mean of y.
    double GetIntercept() const;

    /// The fitted line at the independent coordinate y.
    double GetValue(double y) const;

    /// The uncertainty of the slope, or 0.0 when the fit isn't valid.
    double GetSlopeUncertainty() const;

    /// The square root of -fA over the denominator.  It depends on the
    /// measured y and is NaN when their weighted sum is negative: callers
    /// rely on this value as it is.
    double GetInterceptUncertainty() const;

    /// The unweighted mean of x, or 0.0 for the empty fit.
    double GetCentralIndependent() const;

private:
    /// The slope's numerator and the shared denominator.
    double SlopeNumerator() const;
    double Denominator() const;

    /// A ratio numerator / Denominator() of magnitude 1e6 or more, or 0/0,
    /// counts as no result.
    static bool IsDegenerate(double numerator, double denominator);

    /// sqrt(numerator / Denominator()), or 0.0 when that is degenerate.
    double Uncertainty(double numerator) const;

    void Clear();

    int fPoints;  ///< points accepted and not removed
    double fX;    ///< sum of x, unweighted
    double fA;    ///< sum of y / sigma^2
    double fB;    ///< sum of 1 / sigma^2
    double fC;    ///< sum of x / sigma^2
    double fD;    ///< sum of x * y / sigma^2
    double fE;    ///< sum of x * x / sigma^2
};

#endif
