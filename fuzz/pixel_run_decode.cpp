// The undo tile codec's decoder on arbitrary words: it stays inside the tile it is given,
// and whatever it accepts codes back to the same pixels.
#include "FuzzScratch.h"
#include "editor/document/PixelRunCodec.h"

#include <cstdint>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 3)
        return 0;
    // A tile of up to 64 x 64 pixels in rows a little wider than the tile, as in an image.
    const size_t width = data[0] % 64 + 1;
    const size_t height = data[1] % 64 + 1;
    const size_t stride = width + data[2] % 4;
    std::vector<uint32_t> encoded((size - 3) / 4);
    if (!encoded.empty())
        std::memcpy(encoded.data(), data + 3, encoded.size() * 4);

    // Exactly the tile's rows, so a write past the last pixel is caught by the sanitizer.
    std::vector<uint32_t> pixels(stride * (height - 1) + width);
    if (!PixelRunCodec::decode(encoded, pixels.data(), width, height, stride))
        return 0;
    const std::vector<uint32_t> again = PixelRunCodec::encode(pixels.data(), width, height, stride);
    std::vector<uint32_t> decoded(pixels.size());
    fuzz::require(PixelRunCodec::decode(again, decoded.data(), width, height, stride), "re-coded tile refused");
    for (size_t row = 0; row < height; ++row)
        fuzz::require(std::memcmp(&decoded[row * stride], &pixels[row * stride], width * 4) == 0,
                      "re-coded tile differs");
    return 0;
}
