#pragma once

#include <QHashFunctions>
#include <QtGlobal>

// The editor's tools. The raw values are the tags of the tool buttons and group the
// tools: below 2 free-hand, 2 and 3 straight lines, 9 to 11 region tools.
enum class EditTool : int {
    pen = 0,
    marker = 1,
    line = 2,
    arrow = 3,
    rectangle = 4,
    ellipse = 5,
    text = 6,
    callout = 7,
    insertImage = 8,
    crop = 9,
    pixelate = 10,
    blur = 11,
};

namespace EditTools {

constexpr int count = 12;

// Strokes that are drawn into the image while the pointer moves.
constexpr bool isFreehand(EditTool tool) { return static_cast<int>(tool) < 2; }

// Straight lines: kept by their length even when their rectangle is flat.
constexpr bool isStraightLine(EditTool tool) { return tool == EditTool::line || tool == EditTool::arrow; }

// Tools that act on a dragged part of the image and preview it as a dashed frame.
constexpr bool isRegion(EditTool tool)
{
    const int raw = static_cast<int>(tool);
    return raw >= 9 && raw <= 11;
}

// Tools that act on the press alone and never start a drag.
constexpr bool actsOnPress(EditTool tool) { return tool == EditTool::text || tool == EditTool::callout; }

// The tool of a raw value (a button tag), or false when the value names no tool.
constexpr bool fromRaw(int raw, EditTool *tool)
{
    if (raw < 0 || raw >= count)
        return false;
    *tool = static_cast<EditTool>(raw);
    return true;
}

} // namespace EditTools

inline size_t qHash(EditTool tool, size_t seed = 0) noexcept { return ::qHash(static_cast<int>(tool), seed); }
