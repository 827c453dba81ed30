// Tables of how much of the light each kind of rough lobe sends back: what layers and the compensation for
// multiple scattering need. Computed once a process at the first use by fixed quadratures, so that every run
// has the same numbers. Any thread.
#pragma once

namespace kiln::engine::render {

// The directional albedo of a single-scattering GGX reflection with Schlick's Fresnel is f0 * base + f90 *
// grazing.
struct GlossyAlbedo {
  float base = 1;
  float grazing = 0;
  float Total() const { return base + grazing; }
};
// Towards a direction with the cosine.
GlossyAlbedo FindGlossyAlbedo(float cosine, float alpha);
// Averaged over the hemisphere, weighted by the cosine.
GlossyAlbedo FindAverageGlossyAlbedo(float alpha);

// Reflection and refraction together at a rough dielectric interface, single scattering, for light that
// leaves on the side with the cosine; eta = index beyond the interface / index on that side.
float FindDielectricAlbedo(float cosine, float alpha, float eta);
float FindAverageDielectricAlbedo(float alpha, float eta);

// Charlie sheen of white colour. Its published form passes 1 at grazing angles: f / max(1, norm(wo),
// norm(wi)) is what the lobe uses, `norm` being the albedo before.
float FindSheenNorm(float cosine, float roughness);
float FindSheenAlbedo(float cosine, float roughness);

}  // namespace kiln::engine::render
