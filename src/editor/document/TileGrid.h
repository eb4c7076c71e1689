#pragma once

#include <QRect>
#include <QSize>

#include <vector>

// Square tiles over an image, numbered row by row. The undo history records changes
// tile by tile so that an edit costs only the tiles it touches.
class TileGrid {
public:
    static constexpr int tileSide = 128;

    explicit TileGrid(QSize imageSize) : size_(imageSize.expandedTo(QSize(0, 0)))
    {
        columns_ = (size_.width() + tileSide - 1) / tileSide;
        rows_ = (size_.height() + tileSide - 1) / tileSide;
    }

    QSize imageSize() const { return size_; }
    int tileCount() const { return columns_ * rows_; }

    QRect tileRect(int index) const
    {
        const QRect full(QPoint((index % columns_) * tileSide, (index / columns_) * tileSide),
                         QSize(tileSide, tileSide));
        return full.intersected(QRect(QPoint(0, 0), size_));
    }

    // Tiles that overlap a pixel rectangle, in index order.
    std::vector<int> tilesIn(const QRect &pixels) const
    {
        std::vector<int> indices;
        const QRect r = pixels.intersected(QRect(QPoint(0, 0), size_));
        if (r.isEmpty())
            return indices;
        const int c0 = r.left() / tileSide, c1 = r.right() / tileSide;
        const int r0 = r.top() / tileSide, r1 = r.bottom() / tileSide;
        indices.reserve(size_t((c1 - c0 + 1) * (r1 - r0 + 1)));
        for (int row = r0; row <= r1; ++row)
            for (int col = c0; col <= c1; ++col)
                indices.push_back(row * columns_ + col);
        return indices;
    }

private:
    QSize size_;
    int columns_ = 0;
    int rows_ = 0;
};
