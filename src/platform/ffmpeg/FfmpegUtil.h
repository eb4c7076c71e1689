#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <QString>
#include <memory>

// Owning handles for FFmpeg's C objects, so every exit path frees them.
namespace Ffmpeg {

struct PacketFree { void operator()(AVPacket *p) const { av_packet_free(&p); } };
struct FrameFree { void operator()(AVFrame *f) const { av_frame_free(&f); } };
struct CodecFree { void operator()(AVCodecContext *c) const { avcodec_free_context(&c); } };
struct InputClose { void operator()(AVFormatContext *f) const { avformat_close_input(&f); } };

using Packet = std::unique_ptr<AVPacket, PacketFree>;
using Frame = std::unique_ptr<AVFrame, FrameFree>;
using Codec = std::unique_ptr<AVCodecContext, CodecFree>;
using Input = std::unique_ptr<AVFormatContext, InputClose>;

inline QString describe(int errorCode)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(errorCode, text, sizeof text);
    return QString::fromUtf8(text);
}

// Opens a media file for reading with its stream information; null when it cannot be read.
Input openInput(const QString &path);

// Copies every packet of `source` into an ordinary MP4 at `target` whose index sits at
// the front. A source cut off mid-write is copied up to where it stops being readable.
enum class RemuxResult { done, noVideo, failed };
RemuxResult remuxToFastStart(const QString &source, const QString &target);

} // namespace Ffmpeg
