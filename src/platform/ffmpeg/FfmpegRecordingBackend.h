#pragma once

#include "platform/RecordingBackend.h"

#include <QByteArray>

// Recording on X11 through FFmpeg's libraries: x11grab and PulseAudio in, x264 and AAC
// into MP4 out.
class FfmpegRecordingBackend : public RecordingBackend {
public:
    explicit FfmpegRecordingBackend(QByteArray display);

    std::variant<RecordingPipeline, RecordingError> create(const StreamConfiguration &configuration,
                                                           const QString &outputPath) override;
    Recovery finishInterrupted(const QString &path) override;

private:
    QByteArray m_display;
};
