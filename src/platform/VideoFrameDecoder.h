#pragma once

#include <QImage>
#include <QString>

// Reads single frames out of video files. Safe to call from any thread.
class VideoFrameDecoder {
public:
    virtual ~VideoFrameDecoder() = default;
    // The frame shown at `seconds`, upright (the file's rotation applied); null when the
    // file cannot be read or ends before then.
    virtual QImage frameAt(const QString &path, double seconds) const = 0;
};
