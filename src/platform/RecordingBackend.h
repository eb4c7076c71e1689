#pragma once

#include "platform/MediaWriter.h"
#include "platform/RecordingError.h"
#include "platform/ScreenCaptureStream.h"

#include <QRect>
#include <QSize>
#include <QString>
#include <memory>
#include <variant>

// What a recording captures and how: the region in root-window pixels and the size the
// video is encoded at.
struct StreamConfiguration {
    QRect sourceRect;           // device pixels, root-window coordinates
    QSize outputSize;           // even, at most 3840 × 2160
    int framesPerSecond = 30;
    bool showsCursor = true;
    int sampleRate = 48000;
    int channelCount = 2;
};

struct RecordingPipeline {
    std::unique_ptr<ScreenCaptureStream> stream;
    std::unique_ptr<MediaWriter> writer;
};

// Builds the stream and the writer of one recording, and finishes a file that a recording
// left behind when the process ended without stopping it.
class RecordingBackend {
public:
    virtual ~RecordingBackend() = default;

    virtual std::variant<RecordingPipeline, RecordingError> create(const StreamConfiguration &configuration,
                                                                   const QString &outputPath) = 0;
    enum class Recovery { finished, empty, failed };
    // Rewrites an interrupted recording in place as an ordinary MP4 (no re-encoding).
    // empty: the file holds no playable video; failed: it could not be rewritten now.
    virtual Recovery finishInterrupted(const QString &path) = 0;
};
