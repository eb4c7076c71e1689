#include "editor/document/PixelRunCodec.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t runFlag = 0x80000000u;
constexpr size_t maxCount = 0x7fffffffu;
constexpr size_t shortestRun = 3; // shorter runs cost more as runs than as literals

class Encoder {
public:
    explicit Encoder(size_t expected) { out_.reserve(expected / 8 + 16); }

    // A run that reaches the end of a row stays pending: the next row may carry it on.
    void push(const uint32_t *p, size_t n)
    {
        size_t i = 0;
        if (runLength_ > 0) {
            while (i < n && p[i] == runValue_) {
                ++runLength_;
                ++i;
            }
            if (i == n)
                return;
            flushRun();
        }
        size_t literalStart = i;
        while (i < n) {
            const uint32_t value = p[i];
            const size_t j = runEnd(p, i + 1, n, value);
            if (j == n) {
                appendLiteral(p + literalStart, i - literalStart);
                runValue_ = value;
                runLength_ = j - i;
                return;
            }
            if (j - i >= shortestRun) {
                appendLiteral(p + literalStart, i - literalStart);
                appendRun(value, j - i);
                literalStart = j;
            }
            i = j;
        }
        appendLiteral(p + literalStart, n - literalStart);
    }

    // First index from `j` on whose pixel is not `value`; eight pixels a step while they match.
    static size_t runEnd(const uint32_t *p, size_t j, size_t n, uint32_t value)
    {
        const uint64_t pair = (uint64_t(value) << 32) | value;
        while (j + 8 <= n) {
            uint64_t w[4];
            std::memcpy(w, p + j, sizeof w);
            if (((w[0] ^ pair) | (w[1] ^ pair) | (w[2] ^ pair) | (w[3] ^ pair)) != 0)
                break;
            j += 8;
        }
        while (j < n && p[j] == value)
            ++j;
        return j;
    }

    std::vector<uint32_t> finish()
    {
        flushRun();
        out_.shrink_to_fit();
        return std::move(out_);
    }

private:
    void flushRun()
    {
        if (runLength_ >= shortestRun) {
            appendRun(runValue_, runLength_);
        } else {
            const uint32_t pending[shortestRun] = {runValue_, runValue_, runValue_};
            appendLiteral(pending, runLength_);
        }
        runLength_ = 0;
    }

    void appendRun(uint32_t value, size_t count)
    {
        literalHeader_ = none;
        while (count > 0) {
            const size_t chunk = std::min(count, maxCount);
            out_.push_back(runFlag | uint32_t(chunk));
            out_.push_back(value);
            count -= chunk;
        }
    }

    // Literals carry on the open literal block, across rows too.
    void appendLiteral(const uint32_t *pixels, size_t count)
    {
        while (count > 0) {
            if (literalHeader_ == none || out_[literalHeader_] == maxCount) {
                literalHeader_ = out_.size();
                out_.push_back(0);
            }
            const size_t chunk = std::min(count, maxCount - out_[literalHeader_]);
            out_[literalHeader_] += uint32_t(chunk);
            out_.insert(out_.end(), pixels, pixels + chunk);
            pixels += chunk;
            count -= chunk;
        }
    }

    static constexpr size_t none = ~size_t(0);
    std::vector<uint32_t> out_;
    size_t literalHeader_ = none;
    uint32_t runValue_ = 0;
    size_t runLength_ = 0;
};

// Walks the destination rows as one sequence.
class RowWriter {
public:
    RowWriter(uint32_t *pixels, size_t width, size_t height, size_t stride)
        : row_(pixels), width_(width), stride_(stride), left_(width * height)
    {
    }
    size_t left() const { return left_; }

    template <typename Write>
    void write(size_t n, Write write)
    {
        left_ -= n;
        while (n > 0) {
            const size_t chunk = std::min(n, width_ - x_);
            write(row_ + x_, chunk);
            n -= chunk;
            x_ += chunk;
            if (x_ == width_) {
                x_ = 0;
                row_ += stride_;
            }
        }
    }

private:
    uint32_t *row_;
    size_t width_;
    size_t stride_;
    size_t x_ = 0;
    size_t left_;
};

} // namespace

std::vector<uint32_t> PixelRunCodec::encode(const uint32_t *pixels, size_t width, size_t height, size_t stride)
{
    Encoder encoder(width * height);
    for (size_t y = 0; y < height; ++y)
        encoder.push(pixels + y * stride, width);
    return encoder.finish();
}

bool PixelRunCodec::decode(const std::vector<uint32_t> &encoded, uint32_t *pixels, size_t width, size_t height,
                           size_t stride)
{
    RowWriter out(pixels, width, height, stride);
    size_t pos = 0;
    const size_t size = encoded.size();
    while (pos < size) {
        const uint32_t header = encoded[pos++];
        const size_t n = header & ~runFlag;
        if (n > out.left())
            return false;
        if (header & runFlag) {
            if (pos >= size)
                return false;
            const uint32_t value = encoded[pos++];
            out.write(n, [value](uint32_t *dst, size_t count) { std::fill_n(dst, count, value); });
        } else {
            if (n > size - pos)
                return false;
            const uint32_t *src = encoded.data() + pos;
            out.write(n, [&src](uint32_t *dst, size_t count) {
                std::memcpy(dst, src, count * sizeof(uint32_t));
                src += count;
            });
            pos += n;
        }
    }
    return out.left() == 0;
}
