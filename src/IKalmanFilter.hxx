#ifndef ORVEX_IKalmanFilter_hxx_seen
#define ORVEX_IKalmanFilter_hxx_seen

#include <cstddef>
#include <utility>

#include <TMatrixT.h>
#include <TVectorT.h>

namespace ORVEX {
    class IKalmanFilter;
}

/// A linear Kalman filter over ROOT's dense matrices.  It holds a state
/// and its covariance, propagates them with the system matrix A and
/// corrects them with measurements through the measurement matrix H.
///
/// Most of it works for any size of state, but the covariance update uses
/// a fixed 4 x 4 identity and SetInterval writes elements (0,2) and (1,3):
/// both belong to the model of FilterComponentInitializer, two positions
/// and their two rates, with the two positions measured.
///
/// A wrong matrix shape is a programming error: the checked operations
/// abort through assert, which stays active in the library as built.
class ORVEX::IKalmanFilter {
public:
    /// A column vector of doubles.
    typedef TVectorT<double> Vector;
    /// A matrix of doubles.
    typedef TMatrixT<double> Matrix;

    /// A filter of InitialSystemState.GetNrows() components measured in
    /// `rows` rows.  The system and measurement matrices are only sized:
    /// supply them (SetSystemMatrix, SetMeasurementMatrix) before use.
    IKalmanFilter(const Vector& InitialSystemState, const Matrix& InitialSystemCovariance,
                  size_t rows);

    /// A filter with all its matrices given.  No shape is checked here.
    IKalmanFilter(const Matrix& SystemMatrix, const Matrix& MeasurementMatrix,
                  const Vector& initialState, const Matrix& initialCovariance);

    /// Replace A (n x n, checked before the change).
    void SetSystemMatrix(const Matrix& SystemMatrix);

    /// Replace H (same shape as the present one, checked before the change).
    void SetMeasurementMatrix(const Matrix& MeasurementMatrix);

    /// Write the time step into A(0,2) and A(1,3); nothing else of A moves.
    void SetInterval(double interval);

    /// x = A x and P = A P A^T + ProcessCovariance.
    void Predict(const Matrix& ProcessCovariance);

    /// Make SystemMatrix the system matrix from now on, then Predict.
    void Predict(const Matrix& SystemMatrix, const Matrix& ProcessCovariance);

    /// Correct the state and covariance with one measurement.
    void Update(const Vector& Measurement, const Matrix& MeasurementCovariance);

    /// The present state estimate.
    const Vector& GetState() const { return fState; }
    /// The present covariance of the state.
    const Matrix& GetCovariance() const { return fCovariance; }
    /// The gain of the latest Update.
    const Matrix& GetFilterGain() const { return fFilterGain; }
    /// The innovation (measurement less prediction) of the latest Update.
    const Vector& GetInnovation() const { return fInnovation; }
    /// A copy of the present state estimate.
    Vector GetState() { return fState; }
    /// A copy of the present covariance.
    Matrix GetCovariance() { return fCovariance; }
    /// The system matrix A of the prediction.
    const Matrix& GetSystemMatrix() const { return A_; }
    /// H itself: a change made through this reference is honoured by the
    /// next Update.
    Matrix& GetMeasurementMatrix() { return H_; }

private:
    Vector fState;       ///< state estimate, n
    Matrix fCovariance;  ///< its covariance, n x n
    Matrix A_;           ///< system matrix, n x n
    Matrix AT_;          ///< transpose of A_
    Matrix H_;           ///< measurement matrix, m x n
    Matrix HT_;          ///< transpose of H_
    Matrix fFilterGain;  ///< gain of the latest Update, n x m
    Vector fInnovation;  ///< innovation of the latest Update, m
};

/// A new matrix, the transpose of m; m is left alone.
TMatrixT<double> Transpose(const TMatrixT<double>& m);

/// The matrices of the four-component model: `first` is the system matrix
/// (positions 0 and 1 move by 30.0 times rates 2 and 3), `second` the
/// 2 x 4 measurement matrix that sees the two positions.
std::pair<TMatrixT<double>, TMatrixT<double> > FilterComponentInitializer();

#endif
