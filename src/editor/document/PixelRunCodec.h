#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Run-length coding of 32-bit pixels. Screenshots are mostly flat areas, so runs of one
// colour shrink a tile many times over, and coding runs at memory speed.
// Layout: a header word, then either one pixel repeated (header bit 31 set, the low
// bits are the count) or the count of literal pixels that follow.
namespace PixelRunCodec {

// Codes a block of `height` rows of `width` pixels, `stride` pixels apart, as one sequence
// (runs carry on from one row into the next).
std::vector<uint32_t> encode(const uint32_t *pixels, size_t width, size_t height, size_t stride);
inline std::vector<uint32_t> encode(const uint32_t *pixels, size_t count) { return encode(pixels, count, 1, count); }

// Writes exactly width × height pixels into rows `stride` pixels apart; false when the
// data is malformed or of another length (the rows may then be partly written).
bool decode(const std::vector<uint32_t> &encoded, uint32_t *pixels, size_t width, size_t height, size_t stride);
inline bool decode(const std::vector<uint32_t> &encoded, uint32_t *pixels, size_t count)
{
    return decode(encoded, pixels, count, 1, count);
}

} // namespace PixelRunCodec
