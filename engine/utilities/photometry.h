// Photometric files (ANSI/IES LM-63 of 1986, 1991, 1995, 2002 and 2019), and how much light a luminaire in
// one gives off.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kiln::engine {

// Where the poles of the angles are. The numbers are those of the files.
enum class PhotometryType { kC = 1, kB = 2, kA = 3 };

// The distribution of a luminaire. Angles are in degrees and rise.
struct Photometry {
  PhotometryType type = PhotometryType::kC;
  // What the table's numbers are multiplied with: the file's multiplier, its ballast factors and, of a lamp
  // whose output depends on its tilt, the factor of a luminaire that is aimed straight down.
  double scale = 1;
  std::vector<double> vertical;
  std::vector<double> horizontal;
  std::vector<double> candela;  // plane by plane: all vertical angles of the first horizontal one, ...
};

// The text of the file that a file's TILT line names; nothing when it cannot be read.
using TiltFile = std::function<std::optional<std::string>(const std::string& name)>;

// Nothing for a text that is no photometric file, ends too early, or has angles or numbers that cannot be.
// Never throws anything but std::bad_alloc.
std::optional<Photometry> ParsePhotometry(std::string_view text, const TiltFile& tilt_file = {});

// The luminous flux in lumens: the integral of the intensity over the sphere. Between the angles the
// intensity is linear in both, which is integrated exactly against the solid angle (in place of the zonal
// constants of the IES Lighting Handbook, which take it as constant); outside of them it is dark, where
// symmetry does not say otherwise.
double LuminousFlux(const Photometry& photometry);

// The flux of the luminaire in a file; 0 for a file that cannot be read or is broken. Throws std::bad_alloc.
double LuminousFluxOfFile(const std::filesystem::path& file);

}  // namespace kiln::engine
