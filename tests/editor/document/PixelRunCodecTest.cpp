#include "editor/document/PixelRunCodec.h"

#include <gtest/gtest.h>

#include <random>

namespace {

std::vector<uint32_t> pattern(const std::string &kind, size_t n)
{
    std::vector<uint32_t> v(n);
    std::mt19937 rng(7);
    for (size_t i = 0; i < n; ++i) {
        if (kind == "flat")
            v[i] = 0xff336699u;
        else if (kind == "noise")
            v[i] = rng();
        else if (kind == "pairs") // runs of two: shorter than worth a run
            v[i] = uint32_t(i / 2);
        else if (kind == "runs then noise")
            v[i] = i < n / 2 ? 0xffffffffu : rng();
        else if (kind == "run at end")
            v[i] = i + 3 < n ? uint32_t(i) : 0u;
        else if (kind == "run flag value") // pixels that look like run headers
            v[i] = (i % 5 == 0) ? 0x80000003u : 0x80000000u;
    }
    return v;
}

// Rows `stride` apart, as in a tile cut from a wider image; one row is a plain array.
TEST(PixelRunCodec, RoundTripsEveryPatternInRowsOrOneArray)
{
    for (const auto &[kind, width, height, stride, shrinks] : {
             std::tuple{std::string("flat"), size_t(128 * 128), size_t(1), size_t(128 * 128), true},
             {"noise", 128 * 128, 1, 128 * 128, false},
             {"pairs", 1000, 1, 1000, false},
             {"runs then noise", 4096, 1, 4096, true},
             {"run at end", 50, 1, 50, false},
             {"run flag value", 999, 1, 999, true},
             {"flat", 1, 1, 1, false},
             {"noise", 0, 1, 0, false},
             {"flat", 7, 5, 19, true},
             {"pairs", 16, 16, 40, false},
             {"runs then noise", 128, 64, 128, true},
             {"run flag value", 1, 9, 3, true},
             {"run at end", 13, 4, 13, false}}) {
        SCOPED_TRACE(testing::Message() << kind << " " << width << "x" << height << " every " << stride);
        const std::vector<uint32_t> image = pattern(kind, stride * height);
        const std::vector<uint32_t> encoded = PixelRunCodec::encode(image.data(), width, height, stride);
        std::vector<uint32_t> out(stride * height, 0x12345678u);
        ASSERT_TRUE(PixelRunCodec::decode(encoded, out.data(), width, height, stride));
        for (size_t i = 0; i < out.size(); ++i) // nothing written between the rows
            ASSERT_EQ(out[i], i % stride < width ? image[i] : 0x12345678u) << "at " << i % stride << "," << i / stride;
        EXPECT_EQ(encoded.size() < width * height, shrinks);
        EXPECT_LE(encoded.size(), width * height + 1); // a literal block carries on, into the next row too
        EXPECT_TRUE(kind != "flat" || width * height < 2 || encoded.size() <= 2u); // a flat tile costs a few words
    }
}

TEST(PixelRunCodec, RejectsDataOfTheWrongLength)
{
    const std::vector<uint32_t> input = pattern("runs then noise", 300);
    std::vector<uint32_t> encoded = PixelRunCodec::encode(input.data(), input.size());
    std::vector<uint32_t> output(300);
    EXPECT_FALSE(PixelRunCodec::decode(encoded, output.data(), 299));
    EXPECT_FALSE(PixelRunCodec::decode(encoded, output.data(), 301));
    encoded.pop_back();
    EXPECT_FALSE(PixelRunCodec::decode(encoded, output.data(), 300));
    std::vector<uint32_t> run = PixelRunCodec::encode(pattern("flat", 300).data(), 300);
    run.pop_back(); // a run header without its value
    EXPECT_FALSE(PixelRunCodec::decode(run, output.data(), 300));
}

} // namespace
