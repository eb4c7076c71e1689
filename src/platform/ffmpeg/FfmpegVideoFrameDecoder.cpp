#include "platform/ffmpeg/FfmpegVideoFrameDecoder.h"

#include "platform/ffmpeg/FfmpegUtil.h"

extern "C" {
#include <libavutil/display.h>
#include <libswscale/swscale.h>
}

#include <QTransform>
#include <cmath>

namespace {

QImage toImage(const AVFrame *frame)
{
    // The converter works in blocks of pixels and may write past a row's end when the
    // width is not a multiple of them: convert into a wider, taller image and cut it.
    QImage image((frame->width + 63) / 64 * 64, frame->height + 1, QImage::Format_RGB32);
    SwsContext *scaler = sws_getContext(frame->width, frame->height, AVPixelFormat(frame->format), frame->width,
                                        frame->height, AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr, nullptr, nullptr);
    if (!scaler)
        return {};
    uint8_t *planes[1] = {image.bits()};
    const int strides[1] = {int(image.bytesPerLine())};
    sws_scale(scaler, frame->data, frame->linesize, 0, frame->height, planes, strides);
    sws_freeContext(scaler);
    return image.copy(0, 0, frame->width, frame->height);
}

// The clockwise turn in degrees a player applies, from the stream's display matrix.
int rotationOf(const AVStream *stream)
{
    for (int i = 0; i < stream->nb_side_data; ++i) {
        if (stream->side_data[i].type == AV_PKT_DATA_DISPLAYMATRIX && stream->side_data[i].size >= 36) {
            const double angle = av_display_rotation_get(reinterpret_cast<const int32_t *>(stream->side_data[i].data));
            if (std::isnan(angle))
                return 0;
            return (int(std::lround(-angle)) % 360 + 360) % 360;
        }
    }
    return 0;
}

} // namespace

QImage FfmpegVideoFrameDecoder::frameAt(const QString &path, double seconds) const
{
    Ffmpeg::Input input = Ffmpeg::openInput(path);
    if (!input)
        return {};
    const int index = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index < 0)
        return {};
    AVStream *stream = input->streams[index];
    const AVCodec *codec = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!codec)
        return {};
    Ffmpeg::Codec decoder(avcodec_alloc_context3(codec));
    if (avcodec_parameters_to_context(decoder.get(), stream->codecpar) < 0
        || avcodec_open2(decoder.get(), codec, nullptr) < 0)
        return {};
    const std::int64_t target = std::llround(seconds / av_q2d(stream->time_base))
                                + (stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time);
    av_seek_frame(input.get(), index, target, AVSEEK_FLAG_BACKWARD);

    Ffmpeg::Packet packet(av_packet_alloc());
    Ffmpeg::Frame frame(av_frame_alloc());
    QImage found;
    bool draining = false;
    // The first frame at or after the time; a file that ends before it has none.
    while (found.isNull()) {
        if (!draining) {
            const int read = av_read_frame(input.get(), packet.get());
            if (read < 0) {
                draining = true;
                avcodec_send_packet(decoder.get(), nullptr);
            } else if (packet->stream_index != index) {
                av_packet_unref(packet.get());
                continue;
            } else {
                avcodec_send_packet(decoder.get(), packet.get());
                av_packet_unref(packet.get());
            }
        }
        int received;
        while ((received = avcodec_receive_frame(decoder.get(), frame.get())) >= 0) {
            if (frame->best_effort_timestamp != AV_NOPTS_VALUE && frame->best_effort_timestamp >= target) {
                found = toImage(frame.get());
                break;
            }
        }
        if (draining && found.isNull() && received == AVERROR_EOF)
            break;
    }
    if (found.isNull())
        return {};
    const int rotation = rotationOf(stream);
    return rotation ? found.transformed(QTransform().rotate(rotation)) : found;
}
