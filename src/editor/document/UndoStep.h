#pragma once

#include <QImage>
#include <QRegion>
#include <QSize>

#include <cstdint>
#include <memory>
#include <vector>

// What one undo or redo step needs to bring the image back to an earlier state: only the
// tiles that changed, run-length packed, or the whole earlier image when its size differs.
// Pixels are 32-bit (the document keeps ARGB32_Premultiplied). Large batches of tiles are
// packed and restored on OpenCV's worker threads, joined before each call returns.
class UndoStep {
public:
    // An empty step for an image of this size.
    explicit UndoStep(QSize imageSize = QSize());
    UndoStep(UndoStep &&) noexcept = default;
    UndoStep &operator=(UndoStep &&) noexcept = default;

    // Before pixels under `pixels` are drawn into: copies the tiles this step has not
    // recorded yet, so the step keeps the state it was opened on.
    void recordBefore(const QImage &image, const QRect &pixels);
    // The same, packing at once: for edits that rewrite nearly everything they touch.
    void recordPackedBefore(const QImage &image, const QRect &pixels);
    // Before the image is replaced by one of another size: keep all of it.
    void recordWhole(const QImage &image);
    // Before `before` is replaced by `after` of the same size: keep the tiles that differ.
    void recordDifferences(const QImage &before, const QImage &after);
    // Closes the step: tiles that ended up unchanged in `current` are dropped, the rest packed.
    void finish(const QImage &current);

    // Puts the recorded state back into `image` (a new image when the step holds a whole
    // one) and returns the step that reverses this restore: the kept reverse when there
    // is one, else the current pixels packed now. `changed` receives the rewritten pixels
    // (all of them when the size changed).
    UndoStep restore(QImage &image, QRegion *changed = nullptr);

    // Packs what `current` holds where this step would rewrite it, so that restoring costs
    // no packing. Valid only while the image stays as it is now.
    void keepReverse(const QImage &current);
    // Keeps `reverse` as this step's reverse: the pixels it restores are the image's now.
    void keepReverse(UndoStep &&reverse);
    void dropReverse() { reverse_.reset(); }
    bool hasReverse() const { return reverse_ != nullptr; }

    QSize imageSize() const { return size_; }
    bool isWhole() const { return whole_; }
    int tileCount() const { return int(tiles_.size()); }
    size_t memoryBytes() const;

private:
    struct Tile {
        int index = 0;
        bool packed = false;
        std::vector<uint32_t> words;
    };

    QRegion tileRegion() const;
    UndoStep packedReverse(const QImage &current) const;
    bool isRecorded(int index) const;
    void markRecorded(int index);
    Tile copyTile(const QImage &image, int index) const;
    Tile packedTile(const QImage &image, int index) const;
    void writeTile(const Tile &tile, uint32_t *bits, size_t stride) const;
    void recordPacked(const QImage &image, const std::vector<int> &indices);
    static void pack(Tile &tile);

    QSize size_;
    bool whole_ = false;
    std::vector<Tile> tiles_;
    std::vector<bool> recorded_; // by tile index, only while the step is open
    std::unique_ptr<UndoStep> reverse_;
};
