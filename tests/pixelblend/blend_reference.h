// Blending a second time, pixel by pixel and branch by branch, written from the formulas and including nothing of pixelblend/.
#pragma once

#include <array>
#include <string>

namespace torvi::test
{

/// Red, green, blue, alpha.
template <class T>
using Pixel = std::array<T, 4>;

/// One pixel by the mode of that key, such as "over"; any mode but applyalpha. Fails the test for an unknown key.
template <class T>
Pixel<T> BlendByReference(const std::string& key, const Pixel<T>& background, const Pixel<T>& foreground, T opacity);

extern template Pixel<float> BlendByReference(const std::string&, const Pixel<float>&, const Pixel<float>&, float);
extern template Pixel<double> BlendByReference(const std::string&, const Pixel<double>&, const Pixel<double>&, double);

} // namespace torvi::test
