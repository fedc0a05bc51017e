// Data windows. A window of N points holds N single-precision coefficients,
// periodic (denominator N), with c = N / 2 in floating point, so a window of
// odd length is not symmetric:
//   Hanning          (1 - cos(2 pi i / N)) * 0.5
//   Hamming          0.54 - 0.46 cos(2 pi i / N)
//   Blackman_Harris  0.42 - 0.5 cos(2 pi i / N) + 0.08 cos(4 pi i / N)
//   Welch            1 - ((i - c) / c)^2
//   Parzen           1 - abs((i - c) / c)
//   Kaiser_Bessel    I0(pi alpha sqrt(1 - ((i - c) / c)^2)) / I0(pi alpha),
//                    I0 by its series to k = 32 in single precision.
//
// Apply removes the weighted mean m = sum(w x) / sum(w) and restores the
// power with g = sqrt(N / sum(w^2)): out[i] = (x[i] - m) w[i] g, the sums in
// double in index order, m and g rounded to single precision. Other families
// that only multiply by the coefficients read coefficients().
#ifndef QUORVIX_NUMERICS_WINDOW_FUNCTION_H
#define QUORVIX_NUMERICS_WINDOW_FUNCTION_H

#include <cstdint>
#include <memory>
#include <span>

namespace quorvix::numerics {

class WindowFunction {
 public:
  // Allocates the coefficients and the output (may throw std::bad_alloc);
  // the subclass constructor generates the coefficients.
  explicit WindowFunction(std::int32_t n);
  virtual ~WindowFunction();
  WindowFunction(const WindowFunction&) = delete;
  WindowFunction& operator=(const WindowFunction&) = delete;

  std::int32_t size() const { return n_; }
  std::span<const float> coefficients() const { return {w_.get(), static_cast<std::size_t>(n_)}; }

  // Windows the N values of x into the output and returns it. A window whose
  // coefficients are all zero (N = 1 for most) gives zeros.
  std::span<const double> Apply(const double* x);

 protected:
  virtual void Generate() = 0;
  float* w() { return w_.get(); }
  double Centre() const { return static_cast<double>(n_) / 2.0; }

 private:
  std::int32_t n_;
  std::unique_ptr<float[]> w_;
  std::unique_ptr<double[]> out_;
};

class Hanning final : public WindowFunction {
 public:
  explicit Hanning(std::int32_t n) : WindowFunction(n) { Generate(); }

 protected:
  void Generate() override;
};

class Hamming final : public WindowFunction {
 public:
  explicit Hamming(std::int32_t n) : WindowFunction(n) { Generate(); }

 protected:
  void Generate() override;
};

class Blackman_Harris final : public WindowFunction {
 public:
  explicit Blackman_Harris(std::int32_t n) : WindowFunction(n) { Generate(); }

 protected:
  void Generate() override;
};

class Welch final : public WindowFunction {
 public:
  explicit Welch(std::int32_t n) : WindowFunction(n) { Generate(); }

 protected:
  void Generate() override;
};

class Parzen final : public WindowFunction {
 public:
  explicit Parzen(std::int32_t n) : WindowFunction(n) { Generate(); }

 protected:
  void Generate() override;
};

class Kaiser_Bessel final : public WindowFunction {
 public:
  Kaiser_Bessel(std::int32_t n, double alpha) : WindowFunction(n), alpha_(alpha) { Generate(); }

 protected:
  void Generate() override;

 private:
  double alpha_;
};

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_WINDOW_FUNCTION_H
