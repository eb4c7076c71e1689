#pragma once

#include <QHashFunctions>

// What a press on a floating image grabbed. "Top" is the edge the user sees on top.
enum class ImageResizeHandle : int {
    none = 0,
    move = 1,
    topLeft = 2,
    top = 3,
    topRight = 4,
    right = 5,
    bottomRight = 6,
    bottom = 7,
    bottomLeft = 8,
    left = 9,
};

inline size_t qHash(ImageResizeHandle handle, size_t seed = 0) noexcept
{
    return ::qHash(static_cast<int>(handle), seed);
}
