#include "IKalmanFilter.hxx"

#include <cassert>

namespace {
    // The assignment of TMatrixT and TVectorT refuses a value of another
    // shape and keeps the old one; a field that is replaced takes the new
    // value whole, shape and all.
    template <typename Value>
    void Replace(Value& field, const Value& value) {
        field.ResizeTo(value);
        field = value;
    }

    // The state of the four-component model: the identity of the
    // covariance update is tied to it, not to the size of the state.
    const int kModelComponents = 4;
}

ORVEX::IKalmanFilter::IKalmanFilter(const Vector& InitialSystemState,
                                    const Matrix& InitialSystemCovariance, size_t rows)
    : fState(InitialSystemState),
      fCovariance(InitialSystemCovariance),
      A_(InitialSystemState.GetNrows(), InitialSystemState.GetNrows()),
      AT_(InitialSystemState.GetNrows(), InitialSystemState.GetNrows()),
      H_(static_cast<int>(rows), InitialSystemState.GetNrows()),
      HT_(InitialSystemState.GetNrows(), static_cast<int>(rows)),
      fFilterGain(InitialSystemState.GetNrows(), static_cast<int>(rows)),
      fInnovation(static_cast<int>(rows)) {}

ORVEX::IKalmanFilter::IKalmanFilter(const Matrix& SystemMatrix, const Matrix& MeasurementMatrix,
                                    const Vector& initialState, const Matrix& initialCovariance)
    : fState(initialState),
      fCovariance(initialCovariance),
      A_(SystemMatrix),
      AT_(initialCovariance.GetNrows(), initialCovariance.GetNcols()),
      H_(MeasurementMatrix),
      HT_(initialState.GetNrows(), MeasurementMatrix.GetNrows()),
      fFilterGain(initialCovariance.GetNrows(), MeasurementMatrix.GetNrows()),
      fInnovation(MeasurementMatrix.GetNrows()) {
    Replace(AT_, Transpose(A_));
    Replace(HT_, Transpose(H_));
}

void ORVEX::IKalmanFilter::SetSystemMatrix(const Matrix& SystemMatrix) {
    assert(SystemMatrix.GetNrows() == fState.GetNrows());
    assert(SystemMatrix.GetNcols() == fState.GetNrows());
    Replace(A_, SystemMatrix);
    Replace(AT_, Transpose(A_));
}

void ORVEX::IKalmanFilter::SetMeasurementMatrix(const Matrix& MeasurementMatrix) {
    assert(MeasurementMatrix.GetNrows() == H_.GetNrows());
    assert(MeasurementMatrix.GetNcols() == H_.GetNcols());
    Replace(H_, MeasurementMatrix);
    Replace(HT_, Transpose(H_));
}

// The element indices belong to the four-component model whatever the
// size of this filter.
void ORVEX::IKalmanFilter::SetInterval(double interval) {
    A_(0, 2) = interval;
    A_(1, 3) = interval;
    Replace(AT_, Transpose(A_));
}

// AT_ is read as stored: every way of changing A_ refreshes it.
void ORVEX::IKalmanFilter::Predict(const Matrix& ProcessCovariance) {
    fState = A_ * fState;
    fCovariance = (A_ * fCovariance) * AT_ + ProcessCovariance;
}

// Unlike SetSystemMatrix, the matrix is stored first and checked after, so
// a badly shaped one is already in place when the assertion fails.
void ORVEX::IKalmanFilter::Predict(const Matrix& SystemMatrix, const Matrix& ProcessCovariance) {
    Replace(A_, SystemMatrix);
    assert(A_.GetNrows() == fState.GetNrows());
    assert(A_.GetNcols() == fState.GetNrows());
    Replace(AT_, Transpose(A_));
    Predict(ProcessCovariance);
}

// The plain (I - K H) P form on the covariance before the update, with no
// symmetrisation.  HT_ is refreshed first so that a change made to H_
// through GetMeasurementMatrix counts.  A singular innovation covariance is
// left to TMatrixT::Invert.
void ORVEX::IKalmanFilter::Update(const Vector& Measurement, const Matrix& MeasurementCovariance) {
    Replace(HT_, Transpose(H_));
    assert(H_.GetNcols() == fState.GetNrows());
    Matrix denominator = (H_ * fCovariance) * HT_ + MeasurementCovariance;
    denominator.Invert(nullptr);
    Replace(fFilterGain, (fCovariance * HT_) * denominator);
    const Matrix& K = fFilterGain;
    Replace(fInnovation, Measurement - H_ * fState);
    fState = fState + K * fInnovation;
    Matrix Identity(kModelComponents, kModelComponents);
    Identity.UnitMatrix();
    fCovariance = (Identity - K * H_) * fCovariance;
}

TMatrixT<double> Transpose(const TMatrixT<double>& m) {
    TMatrixT<double> mt(m);
    mt.Transpose(mt);
    return mt;
}

std::pair<TMatrixT<double>, TMatrixT<double> > FilterComponentInitializer() {
    TMatrixT<double> SystemMatrix(4, 4);
    SystemMatrix.Zero();
    for (int i = 0; i < 4; ++i) SystemMatrix(i, i) = 1.0;
    SystemMatrix(0, 2) = 30.0;
    SystemMatrix(1, 3) = 30.0;
    TMatrixT<double> MeasurementMatrix(2, 4);
    MeasurementMatrix.Zero();
    MeasurementMatrix(0, 0) = 1.0;
    MeasurementMatrix(1, 1) = 1.0;
    return std::make_pair(SystemMatrix, MeasurementMatrix);
}
