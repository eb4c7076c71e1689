#pragma once

#include "platform/RecordingBackend.h"

#include <QRectF>
#include <QString>

// How a selected region becomes a recording: the stream's size and crop, and the file.
namespace RecordingSetup {

constexpr int maxWidth = 3840;
constexpr int maxHeight = 2160;

// region and screenFrame in global logical pixels, pixelRatio the screen's density.
// The source is the region in root-window pixels (a screen's top-left corner keeps its
// native position); the output fits 3840 × 2160, is never enlarged and has even sides.
StreamConfiguration streamConfiguration(const QRectF &region, const QRectF &screenFrame, qreal pixelRatio);

// <root>/Recordings, where every recording goes.
QString folder(const QString &rootFolder);

} // namespace RecordingSetup
