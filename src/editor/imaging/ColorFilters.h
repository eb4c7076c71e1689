#pragma once

#include <QImage>
#include <QRect>

#include <functional>

// The editor's colour filters, as operations that rewrite a rectangle of an
// ARGB32_Premultiplied image in place (so the document can filter band by band right
// after saving each band for undo). Colours are worked on unpremultiplied; alpha is kept.
namespace ColorFilters {

using Operation = std::function<void(QImage &image, const QRect &rect)>;

// Saturation 0: every pixel becomes its Rec. 709 luminance, weighed in linear light.
Operation grayscale();
// Multiplies the linear-light colour by 2^ev and clips at white.
Operation adjustExposure(double ev);
// Blends each pixel towards its sepia tone by `intensity` (0..1).
Operation sepia(double intensity);
// Each colour channel becomes 255 minus itself.
Operation invert();
// Unsharp masking of the luminance of `source`: the difference between the luminance and
// its blur (radius 1.69), times `sharpness`, is added to every channel, so hue is kept.
// The detail is measured once, on the whole image, before anything is rewritten.
Operation sharpenLuminance(const QImage &source, double sharpness);

// A filtered copy of the whole image.
QImage applied(const QImage &image, const Operation &operation);

// The sRGB transfer curve, 0..1 both ways.
double srgbToLinear(double value);
double linearToSrgb(double value);

} // namespace ColorFilters
