#include "engine/utilities/photometry.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

#include "engine/utilities/text_file.h"

namespace kiln::engine {
namespace {

constexpr double kDegree = std::numbers::pi / 180;
// Angles nearer to each other than this are one, and an angle this near to a limit is at it.
constexpr double kSmallestStep = 1e-6;
constexpr double kTolerance = 0.01;

constexpr std::string_view kTiltLine = "TILT=";
constexpr std::string_view kLaterHeader = "IESNA:LM-63-";
constexpr std::string_view kBlanks = " \t\r\n\f\v";

std::string_view Trim(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Takes the next line off the text.
std::string_view TakeLine(std::string_view& text) {
  const size_t end = std::min(text.find_first_of("\r\n"), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

// The numbers of a text, one after the other; after the first that is none there are no more.
class Numbers {
 public:
  explicit Numbers(std::string_view text) : text_(text) {}

  bool ok() const { return ok_; }
  size_t left() const { return text_.size(); }

  double Take() {
    text_.remove_prefix(std::min(text_.find_first_not_of(" \t\r\n\f\v,"), text_.size()));
    if (!text_.empty() && text_.front() == '+') text_.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text_.data(), text_.data() + text_.size(), number);
    ok_ = ok_ && error == std::errc() && std::isfinite(number);
    text_.remove_prefix(static_cast<size_t>(end - text_.data()));
    return ok_ ? number : 0;
  }

  // A whole number from 1 on that so many numbers can follow.
  size_t TakeCount() {
    const double number = Take();
    ok_ = ok_ && number >= 1 && number == std::floor(number) && number <= static_cast<double>(left());
    return ok_ ? static_cast<size_t>(number) : 0;
  }

  double TakeFactor() {
    const double factor = Take();
    ok_ = ok_ && factor >= 0;
    return factor;
  }

  std::vector<double> TakeMany(size_t count) {
    std::vector<double> numbers;
    for (size_t i = 0; i < count && ok_; ++i) numbers.push_back(Take());
    return numbers;
  }

 private:
  std::string_view text_;
  bool ok_ = true;
};

bool Rises(const std::vector<double>& angles) {
  return std::adjacent_find(angles.begin(), angles.end(),
                            [](double a, double b) { return b - a < kSmallestStep; }) == angles.end();
}

bool IsAt(double angle, double place) {
  return std::abs(angle - place) < kTolerance;
}

bool Within(const std::vector<double>& angles, double low, double high) {
  return angles.front() > low - kTolerance && angles.back() < high + kTolerance;
}

// Planes around a vertical axis cover the circle, a half or a quarter of it, or are one for all.
bool CoversCircle(const std::vector<double>& planes) {
  const double first = planes.front();
  const double last = planes.back();
  if (planes.size() == 1) return true;
  if (IsAt(first, 90)) return IsAt(last, 270);
  return IsAt(first, 0) && (IsAt(last, 90) || IsAt(last, 180) || IsAt(last, 360));
}

bool HasPossibleAngles(const Photometry& photometry) {
  const auto& [type, scale, vertical, horizontal, candela] = photometry;
  if (!Rises(vertical) || !Rises(horizontal) || vertical.size() < 2) return false;
  if (type == PhotometryType::kC) return Within(vertical, 0, 180) && CoversCircle(horizontal);
  return horizontal.size() >= 2 && Within(vertical, -90, 90) && Within(horizontal, -90, 90);
}

// The geometry of the lamp, a count, the angles and their factors. The first angle is straight down.
double TakeTiltFactor(Numbers& numbers) {
  numbers.Take();
  const size_t count = numbers.TakeCount();
  numbers.TakeMany(count);
  const double factor = numbers.TakeFactor();
  numbers.TakeMany(count - std::min<size_t>(count, 1));
  return factor;
}

// Reads what the TILT line asks for; nothing when that is not there.
std::optional<double> ReadTilt(std::string_view kind, Numbers& numbers, const TiltFile& tilt_file) {
  if (kind == "NONE") return 1;
  if (kind == "INCLUDE") return TakeTiltFactor(numbers);
  if (kind.empty() || !tilt_file) return {};
  const std::optional<std::string> text = tilt_file(std::string(kind));
  if (!text) return {};
  Numbers others(*text);
  const double factor = TakeTiltFactor(others);
  return others.ok() ? std::optional(factor) : std::nullopt;
}

// From 1995 on, the number behind the ballast factor has no meaning.
bool IsLater(std::string_view header) {
  return header.starts_with(kLaterHeader) && header.substr(kLaterHeader.size()) >= "1995";
}

std::vector<double> Radians(const std::vector<double>& degrees, double offset) {
  std::vector<double> radians;
  radians.reserve(degrees.size());
  for (const double angle : degrees) radians.push_back((angle + offset) * kDegree);
  return radians;
}

// How much each sample counts in the integral of a function that is linear between samples.
std::vector<double> PlainWeights(const std::vector<double>& t) {
  std::vector<double> weights(t.size());
  for (size_t i = 1; i < t.size(); ++i) {
    const double half = (t[i] - t[i - 1]) / 2;
    weights[i - 1] += half;
    weights[i] += half;
  }
  return weights;
}

// The same for such a function times the sine.
std::vector<double> SineWeights(const std::vector<double>& t) {
  std::vector<double> weights(t.size());
  for (size_t i = 1; i < t.size(); ++i) {
    const double a = t[i - 1];
    const double b = t[i];
    const double whole = std::cos(a) - std::cos(b);
    const double right = (std::sin(b) - std::sin(a)) / (b - a) - std::cos(b);
    weights[i - 1] += whole - right;
    weights[i] += right;
  }
  return weights;
}

void Multiply(std::vector<double>& weights, double factor) {
  for (double& weight : weights) weight *= factor;
}

// Of planes around an axis.
std::vector<double> CircleWeights(const std::vector<double>& planes) {
  constexpr double kCircle = 2 * std::numbers::pi;
  if (planes.size() == 1) return {kCircle};
  const std::vector<double> t = Radians(planes, 0);
  std::vector<double> weights = PlainWeights(t);
  Multiply(weights, kCircle / (t.back() - t.front()));
  return weights;
}

// Of a half circle; angles from 0 on mean the other half as well.
std::vector<double> HalfCircleWeights(const std::vector<double>& angles, bool toward_pole) {
  std::vector<double> weights =
      toward_pole ? SineWeights(Radians(angles, 90)) : PlainWeights(Radians(angles, 0));
  if (IsAt(angles.front(), 0)) Multiply(weights, 2);
  return weights;
}

}  // namespace

std::optional<Photometry> ParsePhotometry(std::string_view text, const TiltFile& tilt_file) {
  std::string_view line = Trim(TakeLine(text));
  const bool later = IsLater(line);
  while (!line.starts_with(kTiltLine)) {
    if (text.empty()) return {};
    line = Trim(TakeLine(text));
  }
  Numbers numbers(text);
  const std::optional<double> tilt = ReadTilt(Trim(line.substr(kTiltLine.size())), numbers, tilt_file);
  if (!tilt) return {};

  Photometry photometry;
  numbers.TakeMany(2);  // lamps, and the lumens of each
  photometry.scale = *tilt * numbers.TakeFactor();
  const size_t vertical = numbers.TakeCount();
  const size_t horizontal = numbers.TakeCount();
  const double type = numbers.Take();
  numbers.TakeMany(4);  // the unit of lengths, and the size of what shines
  photometry.scale *= numbers.TakeFactor();
  const double lamp_factor = numbers.TakeFactor();
  if (!later) photometry.scale *= lamp_factor;
  numbers.Take();  // watts
  if (!numbers.ok() || (type != 1 && type != 2 && type != 3)) return {};
  if (vertical > numbers.left() / horizontal) return {};

  photometry.type = static_cast<PhotometryType>(static_cast<int>(type));
  photometry.vertical = numbers.TakeMany(vertical);
  photometry.horizontal = numbers.TakeMany(horizontal);
  photometry.candela = numbers.TakeMany(vertical * horizontal);
  const bool dark = std::any_of(photometry.candela.begin(), photometry.candela.end(),
                                [](double candela) { return candela < 0; });
  if (!numbers.ok() || dark || !HasPossibleAngles(photometry)) return {};
  return photometry;
}

double LuminousFlux(const Photometry& photometry) {
  const auto& [type, scale, vertical, horizontal, candela] = photometry;
  // Type C counts from the pole below. Of the others, which count from the middle, A has its poles above and
  // below, and B at the sides.
  const bool c = type == PhotometryType::kC;
  const std::vector<double> up =
      c ? SineWeights(Radians(vertical, 0)) : HalfCircleWeights(vertical, type == PhotometryType::kA);
  const std::vector<double> round =
      c ? CircleWeights(horizontal) : HalfCircleWeights(horizontal, type == PhotometryType::kB);
  double flux = 0;
  for (size_t plane = 0; plane < round.size(); ++plane) {
    double sum = 0;
    for (size_t i = 0; i < up.size(); ++i) sum += up[i] * candela[plane * up.size() + i];
    flux += round[plane] * sum;
  }
  return flux * scale;
}

double LuminousFluxOfFile(const std::filesystem::path& file) {
  const std::optional<std::string> text = ReadTextFile(file);
  if (!text) return 0;
  const auto photometry = ParsePhotometry(
      *text, [&](const std::string& name) { return ReadTextFile(file.parent_path() / name); });
  return photometry ? LuminousFlux(*photometry) : 0;
}

}  // namespace kiln::engine
