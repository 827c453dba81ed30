// Planck's law seen by the standard observer, and matrices between colour spaces from their primaries.
#include "engine/utilities/color_science.h"

#include <array>

namespace kiln::engine {
namespace {

using Triple = std::array<double, 3>;
using Rows = std::array<Triple, 3>;

// CIE 1931 2-degree colour matching functions, 380 to 780 nm by 5 nm (CIE 15).
constexpr double kFirstWavelength = 380;
constexpr double kWavelengthStep = 5;
constexpr Triple kObserver[] = {
    {0.001368, 0.000039, 0.006450}, {0.002236, 0.000064, 0.010550}, {0.004243, 0.000120, 0.020050},
    {0.007650, 0.000217, 0.036210}, {0.014310, 0.000396, 0.067850}, {0.023190, 0.000640, 0.110200},
    {0.043510, 0.001210, 0.207400}, {0.077630, 0.002180, 0.371300}, {0.134380, 0.004000, 0.645600},
    {0.214770, 0.007300, 1.039050}, {0.283900, 0.011600, 1.385600}, {0.328500, 0.016840, 1.622960},
    {0.348280, 0.023000, 1.747060}, {0.348060, 0.029800, 1.782600}, {0.336200, 0.038000, 1.772110},
    {0.318700, 0.048000, 1.744100}, {0.290800, 0.060000, 1.669200}, {0.251100, 0.073900, 1.528100},
    {0.195360, 0.090980, 1.287640}, {0.142100, 0.112600, 1.041900}, {0.095640, 0.139020, 0.812950},
    {0.057950, 0.169300, 0.616200}, {0.032010, 0.208020, 0.465180}, {0.014700, 0.258600, 0.353300},
    {0.004900, 0.323000, 0.272000}, {0.002400, 0.407300, 0.212300}, {0.009300, 0.503000, 0.158200},
    {0.029100, 0.608200, 0.111700}, {0.063270, 0.710000, 0.078250}, {0.109600, 0.793200, 0.057250},
    {0.165500, 0.862000, 0.042160}, {0.225750, 0.914850, 0.029840}, {0.290400, 0.954000, 0.020300},
    {0.359700, 0.980300, 0.013400}, {0.433450, 0.994950, 0.008750}, {0.512050, 1.000000, 0.005750},
    {0.594500, 0.995000, 0.003900}, {0.678400, 0.978600, 0.002750}, {0.762100, 0.952000, 0.002100},
    {0.842500, 0.915400, 0.001800}, {0.916300, 0.870000, 0.001650}, {0.978600, 0.816300, 0.001400},
    {1.026300, 0.757000, 0.001100}, {1.056700, 0.694900, 0.001000}, {1.062200, 0.631000, 0.000800},
    {1.045600, 0.566800, 0.000600}, {1.002600, 0.503000, 0.000340}, {0.938400, 0.441200, 0.000240},
    {0.854450, 0.381000, 0.000190}, {0.751400, 0.321000, 0.000100}, {0.642400, 0.265000, 0.000050},
    {0.541900, 0.217000, 0.000030}, {0.447900, 0.175000, 0.000020}, {0.360800, 0.138200, 0.000010},
    {0.283500, 0.107000, 0},        {0.218700, 0.081600, 0},        {0.164900, 0.061000, 0},
    {0.121200, 0.044580, 0},        {0.087400, 0.032000, 0},        {0.063600, 0.023200, 0},
    {0.046770, 0.017000, 0},        {0.032900, 0.011920, 0},        {0.022700, 0.008210, 0},
    {0.015840, 0.005723, 0},        {0.011359, 0.004102, 0},        {0.008111, 0.002929, 0},
    {0.005790, 0.002091, 0},        {0.004109, 0.001484, 0},        {0.002899, 0.001047, 0},
    {0.002049, 0.000740, 0},        {0.001440, 0.000520, 0},        {0.001000, 0.000361, 0},
    {0.000690, 0.000249, 0},        {0.000476, 0.000172, 0},        {0.000332, 0.000120, 0},
    {0.000235, 0.000085, 0},        {0.000166, 0.000060, 0},        {0.000117, 0.000042, 0},
    {0.000083, 0.000030, 0},        {0.000059, 0.000021, 0},        {0.000042, 0.000015, 0},
};
static_assert(std::size(kObserver) == 81);

// h c / k, in metres times kelvin (CODATA 2018, exact).
constexpr double kSecondRadiation = 1.438776877e-2;

constexpr Triple Multiply(const Rows& m, const Triple& v) {
  Triple result{};
  for (int row = 0; row < 3; ++row) result[row] = m[row][0] * v[0] + m[row][1] * v[1] + m[row][2] * v[2];
  return result;
}

constexpr Rows Multiply(const Rows& a, const Rows& b) {
  Rows result{};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      for (int i = 0; i < 3; ++i) result[row][column] += a[row][i] * b[i][column];
    }
  }
  return result;
}

constexpr Rows Invert(const Rows& m) {
  const auto cofactor = [&](int row, int column) {
    const int r1 = (row + 1) % 3;
    const int r2 = (row + 2) % 3;
    const int c1 = (column + 1) % 3;
    const int c2 = (column + 2) % 3;
    return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
  };
  double determinant = 0;
  for (int i = 0; i < 3; ++i) determinant += m[0][i] * cofactor(0, i);
  Rows inverse{};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) inverse[row][column] = cofactor(column, row) / determinant;
  }
  return inverse;
}

constexpr Triple XyzOf(Chromaticity c) {
  return {c.x / c.y, 1, (1 - c.x - c.y) / c.y};
}

struct Primaries {
  Chromaticity red, green, blue, white;
};

constexpr Primaries kPrimaries[kColorSpaceCount] = {
    {{0.73467, 0.26533}, {0.27376, 0.71741}, {0.16658, 0.00886}, {1.0 / 3, 1.0 / 3}},
    {{0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}, {0.3127, 0.3290}},
    {{0.713, 0.293}, {0.165, 0.830}, {0.128, 0.044}, {0.32168, 0.33767}},
};

// Columns are the primaries, scaled so that their sum is the white (SMPTE RP 177).
constexpr Rows RgbToXyz(const Primaries& p) {
  const Triple red = XyzOf(p.red);
  const Triple green = XyzOf(p.green);
  const Triple blue = XyzOf(p.blue);
  Rows matrix{};
  for (int row = 0; row < 3; ++row) matrix[row] = {red[row], green[row], blue[row]};
  const Triple scale = Multiply(Invert(matrix), XyzOf(p.white));
  for (Triple& row : matrix) {
    for (int column = 0; column < 3; ++column) row[column] *= scale[column];
  }
  return matrix;
}

// Lam 1985, "Metamerism and Colour Constancy".
constexpr Rows kBradford = {{
    {0.8951, 0.2664, -0.1614},
    {-0.7502, 1.7135, 0.0367},
    {0.0389, -0.0685, 1.0296},
}};

constexpr Rows Adapt(Chromaticity from, Chromaticity to) {
  const Triple source = Multiply(kBradford, XyzOf(from));
  const Triple target = Multiply(kBradford, XyzOf(to));
  Rows scaled = kBradford;
  for (int row = 0; row < 3; ++row) {
    for (double& element : scaled[row]) element *= target[row] / source[row];
  }
  return Multiply(Invert(kBradford), scaled);
}

// Between a space and XYZ under D65.
struct Conversion {
  Rows to_xyz;
  Rows from_xyz;
};

constexpr Conversion MakeConversion(const Primaries& primaries) {
  const Chromaticity d65 = kPrimaries[static_cast<int>(ColorSpace::kSrgb)].white;
  const Rows to_xyz = Multiply(Adapt(primaries.white, d65), RgbToXyz(primaries));
  return {to_xyz, Invert(to_xyz)};
}

constexpr Conversion kConversions[kColorSpaceCount] = {
    MakeConversion(kPrimaries[0]), MakeConversion(kPrimaries[1]), MakeConversion(kPrimaries[2])};

const Conversion& ConversionOf(ColorSpace space) {
  return kConversions[static_cast<int>(space)];
}

Triple BlackBodyXyz(double kelvin) {
  Triple xyz{};
  double nanometres = kFirstWavelength;
  for (const Triple& response : kObserver) {
    const double metres = nanometres * 1e-9;
    const double radiance = 1 / (std::pow(nanometres, 5) * std::expm1(kSecondRadiation / (metres * kelvin)));
    for (int i = 0; i < 3; ++i) xyz[i] += radiance * response[i];
    nanometres += kWavelengthStep;
  }
  return xyz;
}

// As BlackBodyColor, in double precision.
Triple BlackBodyRgb(double kelvin, const Conversion& conversion) {
  Triple rgb = Multiply(conversion.from_xyz, BlackBodyXyz(kelvin));
  const double largest = std::max({rgb[0], rgb[1], rgb[2]});
  for (double& component : rgb) component = std::max(component / largest, 0.0);
  return rgb;
}

struct Uv {
  double u = 0, v = 0;
};

// MacAdam 1937; false where there is no chromaticity.
bool ToUv(const Triple& xyz, Uv* uv) {
  const double divisor = xyz[0] + 15 * xyz[1] + 3 * xyz[2];
  *uv = {4 * xyz[0] / divisor, 6 * xyz[1] / divisor};
  return divisor > 0 && std::isfinite(uv->u) && std::isfinite(uv->v);
}

Uv WhiteUv() {
  Uv uv;
  ToUv(XyzOf(kPrimaries[static_cast<int>(ColorSpace::kSrgb)].white), &uv);
  return uv;
}

// Squared, to the black body of a reciprocal temperature: along it the locus has an even pace.
double Distance(const Uv& from, double reciprocal, const Conversion& conversion) {
  Uv uv;
  ToUv(Multiply(conversion.to_xyz, BlackBodyRgb(1 / reciprocal, conversion)), &uv);
  return (uv.u - from.u) * (uv.u - from.u) + (uv.v - from.v) * (uv.v - from.v);
}

// The minimum between two reciprocal temperatures around it (golden section; Kiefer 1953).
double Refine(const Uv& from, double low, double high, const Conversion& conversion) {
  constexpr double kRatio = 0.6180339887498949;
  constexpr int kSteps = 48;
  double a = high - kRatio * (high - low);
  double b = low + kRatio * (high - low);
  double at_a = Distance(from, a, conversion);
  double at_b = Distance(from, b, conversion);
  for (int i = 0; i < kSteps; ++i) {
    if (at_a <= at_b) {
      high = b;
      b = a;
      at_b = at_a;
      a = high - kRatio * (high - low);
      at_a = Distance(from, a, conversion);
    } else {
      low = a;
      a = b;
      at_a = at_b;
      b = low + kRatio * (high - low);
      at_b = Distance(from, b, conversion);
    }
  }
  return (low + high) / 2;
}

}  // namespace

Chromaticity BlackBodyChromaticity(double kelvin) {
  const Triple xyz = BlackBodyXyz(kelvin);
  const double sum = xyz[0] + xyz[1] + xyz[2];
  return {xyz[0] / sum, xyz[1] / sum};
}

Color BlackBodyColor(double kelvin, ColorSpace space) {
  const double valid =
      std::isnan(kelvin) ? kMinTemperature : std::clamp(kelvin, kMinTemperature, kMaxTemperature);
  const Triple rgb = BlackBodyRgb(valid, ConversionOf(space));
  return {static_cast<float>(rgb[0]), static_cast<float>(rgb[1]), static_cast<float>(rgb[2])};
}

double ClosestTemperature(Color color, ColorSpace space) {
  const Conversion& conversion = ConversionOf(space);
  Uv uv;
  if (!ToUv(Multiply(conversion.to_xyz, Triple{color.r, color.g, color.b}), &uv)) uv = WhiteUv();
  // A colour far from the locus may have two near points on it; a scan finds the nearer one.
  constexpr int kIntervals = 64;
  constexpr double kFirst = 1 / kMaxTemperature;
  constexpr double kStep = (1 / kMinTemperature - kFirst) / kIntervals;
  int best = 0;
  double best_distance = INFINITY;
  for (int i = 0; i <= kIntervals; ++i) {
    const double distance = Distance(uv, kFirst + i * kStep, conversion);
    if (distance < best_distance) {
      best_distance = distance;
      best = i;
    }
  }
  const double low = kFirst + std::max(best - 1, 0) * kStep;
  const double high = kFirst + std::min(best + 1, kIntervals) * kStep;
  const double reciprocal = Refine(uv, low, high, conversion);
  return std::clamp(1 / reciprocal, kMinTemperature, kMaxTemperature);
}

Matrix RgbToRgb(ColorSpace source, ColorSpace destination) {
  const Rows m = Multiply(ConversionOf(destination).from_xyz, ConversionOf(source).to_xyz);
  const auto column = [&](int i) {
    return Vec3{static_cast<float>(m[0][i]), static_cast<float>(m[1][i]), static_cast<float>(m[2][i])};
  };
  return {column(0), column(1), column(2)};
}

}  // namespace kiln::engine
