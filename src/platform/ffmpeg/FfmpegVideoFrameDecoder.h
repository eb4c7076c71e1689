#pragma once

#include "platform/VideoFrameDecoder.h"

// Decodes the frame at a time with libavcodec and turns it upright by the stream's
// display matrix.
class FfmpegVideoFrameDecoder : public VideoFrameDecoder {
public:
    QImage frameAt(const QString &path, double seconds) const override;
};
