#include "editor/document/UndoStep.h"

#include "editor/document/PixelRunCodec.h"
#include "editor/document/TileGrid.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <cstring>

namespace {

// Below this many tiles the work is not worth handing to other threads.
constexpr size_t parallelTiles = 32;

const uint32_t *rowAt(const QImage &image, int y, int x)
{
    return reinterpret_cast<const uint32_t *>(image.constScanLine(y)) + x;
}

bool tilesEqual(const QImage &a, const QImage &b, const QRect &r)
{
    const size_t rowBytes = size_t(r.width()) * sizeof(uint32_t);
    for (int y = r.top(); y <= r.bottom(); ++y)
        if (std::memcmp(rowAt(a, y, r.left()), rowAt(b, y, r.left()), rowBytes) != 0)
            return false;
    return true;
}

// Runs `work(i)` for i in [0, count). Large batches are split over OpenCV's worker threads
// and joined before returning; each i touches its own tile only, so nothing is shared
// but the pixels of different tiles.
template <typename Work>
void forEachTile(size_t count, const Work &work)
{
    if (count < parallelTiles) {
        for (size_t i = 0; i < count; ++i)
            work(i);
        return;
    }
    cv::parallel_for_(cv::Range(0, int(count)), [&work](const cv::Range &range) {
        for (int i = range.start; i < range.end; ++i)
            work(size_t(i));
    });
}

} // namespace

UndoStep::UndoStep(QSize imageSize) : size_(imageSize) {}

bool UndoStep::isRecorded(int index) const
{
    return size_t(index) < recorded_.size() && recorded_[size_t(index)];
}

void UndoStep::markRecorded(int index)
{
    if (recorded_.empty())
        recorded_.assign(size_t(TileGrid(size_).tileCount()), false);
    recorded_[size_t(index)] = true;
}

UndoStep::Tile UndoStep::copyTile(const QImage &image, int index) const
{
    const QRect r = TileGrid(size_).tileRect(index);
    Tile tile;
    tile.index = index;
    tile.words.resize(size_t(r.width()) * size_t(r.height()));
    uint32_t *out = tile.words.data();
    for (int y = r.top(); y <= r.bottom(); ++y, out += r.width())
        std::memcpy(out, rowAt(image, y, r.left()), size_t(r.width()) * sizeof(uint32_t));
    return tile;
}

UndoStep::Tile UndoStep::packedTile(const QImage &image, int index) const
{
    const QRect r = TileGrid(size_).tileRect(index);
    Tile tile;
    tile.index = index;
    tile.words = PixelRunCodec::encode(rowAt(image, r.top(), r.left()), size_t(r.width()), size_t(r.height()),
                                       size_t(image.bytesPerLine()) / sizeof(uint32_t));
    tile.packed = true;
    if (tile.words.size() >= size_t(r.width()) * size_t(r.height()))
        return copyTile(image, index);
    return tile;
}

void UndoStep::pack(Tile &tile)
{
    if (tile.packed)
        return;
    std::vector<uint32_t> encoded = PixelRunCodec::encode(tile.words.data(), tile.words.size());
    if (encoded.size() < tile.words.size()) {
        tile.words = std::move(encoded);
        tile.packed = true;
    }
}

void UndoStep::writeTile(const Tile &tile, uint32_t *bits, size_t stride) const
{
    const QRect r = TileGrid(size_).tileRect(tile.index);
    uint32_t *first = bits + size_t(r.top()) * stride + size_t(r.left());
    if (tile.packed) {
        PixelRunCodec::decode(tile.words, first, size_t(r.width()), size_t(r.height()), stride);
        return;
    }
    if (tile.words.size() != size_t(r.width()) * size_t(r.height()))
        return;
    const uint32_t *pixels = tile.words.data();
    for (int y = 0; y < r.height(); ++y, pixels += r.width())
        std::memcpy(first + size_t(y) * stride, pixels, size_t(r.width()) * sizeof(uint32_t));
}

void UndoStep::recordBefore(const QImage &image, const QRect &pixels)
{
    if (whole_ || image.size() != size_)
        return;
    for (int index : TileGrid(size_).tilesIn(pixels)) {
        if (isRecorded(index))
            continue;
        tiles_.push_back(copyTile(image, index));
        markRecorded(index);
    }
}

void UndoStep::recordPacked(const QImage &image, const std::vector<int> &indices)
{
    std::vector<int> fresh;
    fresh.reserve(indices.size());
    for (int index : indices)
        if (!isRecorded(index))
            fresh.push_back(index);
    std::vector<Tile> packed(fresh.size());
    forEachTile(fresh.size(), [&](size_t i) { packed[i] = packedTile(image, fresh[i]); });
    for (Tile &tile : packed) {
        markRecorded(tile.index);
        tiles_.push_back(std::move(tile));
    }
}

void UndoStep::recordPackedBefore(const QImage &image, const QRect &pixels)
{
    if (whole_ || image.size() != size_)
        return;
    recordPacked(image, TileGrid(size_).tilesIn(pixels));
}

void UndoStep::recordWhole(const QImage &image)
{
    if (whole_ || image.size() != size_)
        return;
    recordPacked(image, TileGrid(size_).tilesIn(QRect(QPoint(0, 0), size_)));
    whole_ = true;
}

void UndoStep::recordDifferences(const QImage &before, const QImage &after)
{
    if (whole_ || before.size() != size_ || after.size() != size_)
        return;
    const TileGrid grid(size_);
    std::vector<int> changed;
    for (int index = 0; index < grid.tileCount(); ++index)
        if (!isRecorded(index) && !tilesEqual(before, after, grid.tileRect(index)))
            changed.push_back(index);
    recordPacked(before, changed);
}

void UndoStep::finish(const QImage &current)
{
    const TileGrid grid(size_);
    std::vector<Tile> kept;
    kept.reserve(tiles_.size());
    for (Tile &tile : tiles_) {
        if (!tile.packed && !whole_ && current.size() == size_) {
            const QRect r = grid.tileRect(tile.index);
            const uint32_t *saved = tile.words.data();
            bool same = true;
            for (int y = r.top(); y <= r.bottom() && same; ++y, saved += r.width())
                same = std::memcmp(saved, rowAt(current, y, r.left()), size_t(r.width()) * sizeof(uint32_t)) == 0;
            if (same)
                continue;
        }
        pack(tile);
        kept.push_back(std::move(tile));
    }
    tiles_ = std::move(kept);
    recorded_ = std::vector<bool>();
}

QRegion UndoStep::tileRegion() const
{
    // Tiles in index order are already sorted by row, then column, as setRects() wants.
    std::vector<int> indices;
    indices.reserve(tiles_.size());
    for (const Tile &tile : tiles_)
        indices.push_back(tile.index);
    std::sort(indices.begin(), indices.end());
    const TileGrid grid(size_);
    std::vector<QRect> rects;
    rects.reserve(indices.size());
    for (int index : indices)
        rects.push_back(grid.tileRect(index));
    QRegion region;
    region.setRects(rects.data(), int(rects.size()));
    return region;
}

UndoStep UndoStep::packedReverse(const QImage &current) const
{
    UndoStep reverse(current.size());
    if (whole_) {
        reverse.recordWhole(current);
    } else if (current.size() == size_) {
        reverse.tiles_.resize(tiles_.size());
        forEachTile(tiles_.size(), [&](size_t i) { reverse.tiles_[i] = packedTile(current, tiles_[i].index); });
    }
    reverse.recorded_ = std::vector<bool>();
    return reverse;
}

void UndoStep::keepReverse(const QImage &current)
{
    reverse_ = std::make_unique<UndoStep>(packedReverse(current));
}

void UndoStep::keepReverse(UndoStep &&reverse)
{
    reverse.reverse_.reset();
    reverse_ = std::make_unique<UndoStep>(std::move(reverse));
}

UndoStep UndoStep::restore(QImage &image, QRegion *changed)
{
    UndoStep reverse = reverse_ ? std::move(*reverse_) : packedReverse(image);
    reverse_.reset();
    if (whole_) {
        QImage earlier(size_, QImage::Format_ARGB32_Premultiplied); // every tile is written below
        auto *bits = reinterpret_cast<uint32_t *>(earlier.bits());
        const size_t stride = size_t(earlier.bytesPerLine()) / sizeof(uint32_t);
        forEachTile(tiles_.size(), [&](size_t i) { writeTile(tiles_[i], bits, stride); });
        image = earlier;
        if (changed)
            *changed = QRegion(QRect(QPoint(0, 0), size_));
        return reverse;
    }
    if (image.size() != size_)
        return reverse;
    // bits() detaches here, once; the workers then only use raw rows.
    auto *bits = reinterpret_cast<uint32_t *>(image.bits());
    const size_t stride = size_t(image.bytesPerLine()) / sizeof(uint32_t);
    forEachTile(tiles_.size(), [&](size_t i) { writeTile(tiles_[i], bits, stride); });
    if (changed)
        *changed = tileRegion();
    return reverse;
}

size_t UndoStep::memoryBytes() const
{
    size_t bytes = sizeof(UndoStep) + recorded_.capacity() / 8 + (reverse_ ? reverse_->memoryBytes() : 0);
    for (const Tile &tile : tiles_)
        bytes += sizeof(Tile) + tile.words.capacity() * sizeof(uint32_t);
    return bytes;
}
