// Cephes' rational approximations (ndtri): one for the centre, two for the
// tails, chosen by the size of sqrt(-2 log p). Relative error about 1e-15.
#include "numerics/normal_quantile.h"

#include <cmath>

namespace quorvix::numerics {
namespace {

// Centre, |p - 0.5| <= 0.5 - exp(-2): numerator of degree 4 and a monic
// denominator of degree 8 in (p - 0.5)^2.
constexpr double kP0[] = {-5.99633501014107895267E1, 9.80010754185999661536E1,
                          -5.66762857469070293439E1, 1.39312609387279679503E1,
                          -1.23916583867381258016E0};
constexpr double kQ0[] = {1.95448858338141759834E0, 4.67627912898881538453E0,
                          8.63602421390890590575E1, -2.25462687854119370527E2,
                          2.00260212380060660359E2, -8.20372256168333339912E1,
                          1.59056225126211695515E1, -1.18331621121330003142E0};
// Tail with 2 <= x < 8, x = sqrt(-2 log p), in 1/x.
constexpr double kP1[] = {
    4.05544892305962419923E0,   3.15251094599893866154E1,   5.71628192246421288162E1,
    4.40805073893200834700E1,   1.46849561928858024014E1,   2.18663306850790267539E0,
    -1.40256079171354495875E-1, -3.50424626827848203418E-2, -8.57456785154685413611E-4};
constexpr double kQ1[] = {1.57799883256466749731E1,   4.53907635128879210584E1,
                          4.13172038254672030440E1,   1.50425385692907503408E1,
                          2.50464946208309415979E0,   -1.42182922854787788574E-1,
                          -3.80806407691578277194E-2, -9.33259480895457427372E-4};
// Far tail, x >= 8.
constexpr double kP2[] = {
    3.23774891776946035970E0,  6.91522889068984211695E0,  3.93881025292474443415E0,
    1.33303460815807542389E0,  2.01485389549179081538E-1, 1.23716634817820021358E-2,
    3.01581553508235416007E-4, 2.65806974686737550832E-6, 6.23974539184983293730E-9};
constexpr double kQ2[] = {6.02427039364742014255E0,  3.67983563856160859403E0,
                          1.37702099489081330271E0,  2.16236993594496635890E-1,
                          1.34204006088543189037E-2, 3.28014464682127739104E-4,
                          2.89247864745380683936E-6, 6.79019408009981274425E-9};

constexpr double kExpMinus2 = 0.13533528323661269189;
constexpr double kSqrt2Pi = 2.50662827463100050242;
constexpr double kClamp = 99999.0;

// Horner's rule, highest power first.
template <int N>
double Polynomial(double x, const double (&c)[N]) {
  double r = c[0];
  for (int i = 1; i < N; ++i) r = r * x + c[i];
  return r;
}

// As Polynomial, with an implied leading coefficient of 1.
template <int N>
double MonicPolynomial(double x, const double (&c)[N]) {
  double r = x + c[0];
  for (int i = 1; i < N; ++i) r = r * x + c[i];
  return r;
}

}  // namespace

double NormalQuantile(double p) {
  if (p <= 0.0) return -kClamp;
  if (p >= 1.0) return kClamp;
  if (std::isnan(p)) return p;
  // The upper tail is computed as the lower one of 1 - p, then negated back.
  bool lower = true;
  double y = p;
  if (y > 1.0 - kExpMinus2) {
    y = 1.0 - y;
    lower = false;
  }
  if (y > kExpMinus2) {
    y -= 0.5;
    const double y2 = y * y;
    const double x = y + y * (y2 * Polynomial(y2, kP0) / MonicPolynomial(y2, kQ0));
    return x * kSqrt2Pi;
  }
  const double x = std::sqrt(-2.0 * std::log(y));
  const double x0 = x - std::log(x) / x;
  const double z = 1.0 / x;
  const double x1 = x < 8.0 ? z * Polynomial(z, kP1) / MonicPolynomial(z, kQ1)
                            : z * Polynomial(z, kP2) / MonicPolynomial(z, kQ2);
  const double r = x0 - x1;
  return lower ? -r : r;
}

}  // namespace quorvix::numerics
