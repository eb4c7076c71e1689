#include "platform/ffmpeg/FfmpegMediaWriter.h"

#include <cmath>

extern "C" {
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <QFile>
#include <QFileInfo>
#include <QDir>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

namespace {

const QString domain = QStringLiteral("Vistrel.MediaWriter");

// Audio that drifts further than one video frame from where the clock puts it is
// re-aligned by padding with silence or dropping the overlap.
constexpr int alignmentSlack = 1600;

} // namespace

FfmpegMediaWriter::FfmpegMediaWriter(QString path, Settings settings)
    : m_path(std::move(path)), m_settings(settings), m_videoFrame(av_frame_alloc()),
      m_audioFrame(av_frame_alloc()), m_packet(av_packet_alloc())
{
}

FfmpegMediaWriter::~FfmpegMediaWriter()
{
    // Not finished (the process is quitting mid-recording): keep every full fragment.
    close(true);
}

const char *FfmpegMediaWriter::presetFor(const QSize &outputSize)
{
    const qint64 pixels = qint64(outputSize.width()) * outputSize.height();
    // Measured on two busy cores: superfast already falls behind at 1080p.
    if (pixels <= 1280 * 720)
        return "superfast";
    return "ultrafast";
}

bool FfmpegMediaWriter::fail(const QString &what, int code)
{
    m_error = RecordingError{domain, code, what + QStringLiteral(": ") + Ffmpeg::describe(code)};
    return false;
}

void FfmpegMediaWriter::prepare()
{
    if (!m_prepared)
        m_prepared = openEncoders();
}

bool FfmpegMediaWriter::openEncoders()
{
    const int result = avformat_alloc_output_context2(&m_output, nullptr, "mp4", QFile::encodeName(m_path).constData());
    if (result < 0)
        return fail(QStringLiteral("Không thể tạo tệp MP4"), result);
    return openVideo() && openAudio();
}

bool FfmpegMediaWriter::startWriting()
{
    prepare();
    if (!*m_prepared)
        return false;
    const QByteArray name = QFile::encodeName(m_path);
    int result = avio_open(&m_output->pb, name.constData(), AVIO_FLAG_WRITE);
    if (result < 0)
        return fail(QStringLiteral("Không thể ghi tệp"), result);
    AVDictionary *options = nullptr;
    av_dict_set(&options, "movflags", "frag_keyframe+empty_moov+delay_moov+default_base_moof", 0);
    av_dict_set(&options, "frag_duration", "1000000", 0);
    av_dict_set(&options, "flush_packets", "1", 0);
    result = avformat_write_header(m_output, &options);
    av_dict_free(&options);
    if (result < 0)
        return fail(QStringLiteral("Không thể ghi tệp"), result);
    m_headerWritten = true;
    return true;
}

bool FfmpegMediaWriter::openVideo()
{
    const AVCodec *codec = avcodec_find_encoder_by_name("libx264");
    if (!codec)
        return fail(QStringLiteral("Không có bộ mã hóa H.264"), AVERROR_ENCODER_NOT_FOUND);
    m_video.reset(avcodec_alloc_context3(codec));
    AVCodecContext *c = m_video.get();
    c->width = m_settings.outputSize.width();
    c->height = m_settings.outputSize.height();
    c->pix_fmt = AV_PIX_FMT_YUV420P;
    c->time_base = AVRational{1, m_settings.framesPerSecond};
    c->framerate = AVRational{m_settings.framesPerSecond, 1};
    c->bit_rate = 8'000'000;
    c->gop_size = 60;
    c->profile = FF_PROFILE_H264_HIGH;
    if (m_output->oformat->flags & AVFMT_GLOBALHEADER)
        c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary *options = nullptr;
    av_dict_set(&options, "preset", presetFor(m_settings.outputSize), 0);
    av_dict_set(&options, "profile", "high", 0);
    // Real-time input: no look-ahead to hold frames back, and the 8×8 transform kept on at
    // the fastest preset so the stream stays High.
    av_dict_set(&options, "tune", "zerolatency", 0);
    av_dict_set(&options, "x264-params", "8x8dct=1:keyint-min=60:scenecut=0", 0);
    const int result = avcodec_open2(c, codec, &options);
    av_dict_free(&options);
    if (result < 0)
        return fail(QStringLiteral("Không thể mở bộ mã hóa H.264"), result);
    m_videoStream = avformat_new_stream(m_output, nullptr);
    avcodec_parameters_from_context(m_videoStream->codecpar, c);
    m_videoStream->time_base = c->time_base;
    m_videoStream->avg_frame_rate = c->framerate;

    m_converter = std::make_unique<YuvConverter>(m_settings.sourceSize, m_settings.outputSize);
    m_videoFrame->format = c->pix_fmt;
    m_videoFrame->width = c->width;
    m_videoFrame->height = c->height;
    if (av_frame_get_buffer(m_videoFrame.get(), 0) < 0)
        return fail(QStringLiteral("Không thể chuyển đổi khung hình"), AVERROR(ENOMEM));
    return true;
}

bool FfmpegMediaWriter::openAudio()
{
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!codec)
        return fail(QStringLiteral("Không có bộ mã hóa AAC"), AVERROR_ENCODER_NOT_FOUND);
    m_audio.reset(avcodec_alloc_context3(codec));
    AVCodecContext *c = m_audio.get();
    c->sample_fmt = AV_SAMPLE_FMT_FLTP;
    c->sample_rate = m_settings.sampleRate;
    av_channel_layout_default(&c->ch_layout, m_settings.channelCount);
    c->bit_rate = 192'000;
    c->time_base = AVRational{1, m_settings.sampleRate};
    if (m_output->oformat->flags & AVFMT_GLOBALHEADER)
        c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    int result = avcodec_open2(c, codec, nullptr);
    if (result < 0)
        return fail(QStringLiteral("Không thể mở bộ mã hóa AAC"), result);
    m_audioStream = avformat_new_stream(m_output, nullptr);
    avcodec_parameters_from_context(m_audioStream->codecpar, c);
    m_audioStream->time_base = c->time_base;

    result = swr_alloc_set_opts2(&m_resampler, &c->ch_layout, c->sample_fmt, c->sample_rate,
                                 &c->ch_layout, AV_SAMPLE_FMT_S16, c->sample_rate, 0, nullptr);
    if (result < 0 || swr_init(m_resampler) < 0)
        return fail(QStringLiteral("Không thể chuyển đổi âm thanh"), result);
    m_fifo = av_audio_fifo_alloc(c->sample_fmt, c->ch_layout.nb_channels, c->frame_size * 4);
    m_audioFrame->format = c->sample_fmt;
    m_audioFrame->sample_rate = c->sample_rate;
    m_audioFrame->nb_samples = c->frame_size;
    av_channel_layout_copy(&m_audioFrame->ch_layout, &c->ch_layout);
    if (!m_fifo || av_frame_get_buffer(m_audioFrame.get(), 0) < 0)
        return fail(QStringLiteral("Không thể chuyển đổi âm thanh"), AVERROR(ENOMEM));
    return true;
}

void FfmpegMediaWriter::startSession(std::int64_t atMicros)
{
    m_sessionStart = atMicros;
}

bool FfmpegMediaWriter::encode(AVCodecContext *codec, AVStream *stream, const AVFrame *frame)
{
    int result = avcodec_send_frame(codec, frame);
    if (result < 0)
        return fail(QStringLiteral("Mã hóa thất bại"), result);
    while ((result = avcodec_receive_packet(codec, m_packet.get())) >= 0) {
        av_packet_rescale_ts(m_packet.get(), codec->time_base, stream->time_base);
        m_packet->stream_index = stream->index;
        result = av_interleaved_write_frame(m_output, m_packet.get());
        if (result < 0)
            return fail(QStringLiteral("Không thể ghi tệp"), result);
    }
    if (result != AVERROR(EAGAIN) && result != AVERROR_EOF)
        return fail(QStringLiteral("Mã hóa thất bại"), result);
    return true;
}

bool FfmpegMediaWriter::appendVideo(const MediaSample &frame)
{
    if (!m_output)
        return false;
    if (frame.width != m_settings.sourceSize.width() || frame.height != m_settings.sourceSize.height())
        return fail(QStringLiteral("Khung hình sai kích thước"), AVERROR(EINVAL));
    // Constant frame rate: a frame takes the tick nearest its time. The grabber's jitter
    // puts two frames near one tick now and then, and none near the next; the second then
    // moves on to the free tick, at most one tick early, instead of leaving a gap.
    const double tick = double(frame.presentationMicros - m_sessionStart) * m_settings.framesPerSecond / 1e6;
    std::int64_t pts = std::llround(tick);
    if (pts <= m_lastVideoPts) {
        if (double(m_lastVideoPts + 1) - tick > 1.0)
            return true;
        pts = m_lastVideoPts + 1;
    }
    if (av_frame_make_writable(m_videoFrame.get()) < 0)
        return fail(QStringLiteral("Không thể chuyển đổi khung hình"), AVERROR(ENOMEM));
    if (!m_converter->convert(frame.data, frame.bytesPerLine, m_videoFrame.get()))
        return fail(QStringLiteral("Không thể chuyển đổi khung hình"), AVERROR(EINVAL));
    m_videoFrame->pts = pts;
    m_lastVideoPts = pts;
    return encode(m_video.get(), m_videoStream, m_videoFrame.get());
}

bool FfmpegMediaWriter::pushSilence(int frames)
{
    while (frames > 0) {
        const int chunk = std::min(frames, 4096);
        std::vector<float> zeros(chunk, 0.0f);
        void *planes[8];
        for (int c = 0; c < m_audio->ch_layout.nb_channels && c < 8; ++c)
            planes[c] = zeros.data();
        if (av_audio_fifo_write(m_fifo, planes, chunk) < chunk)
            return fail(QStringLiteral("Không thể ghi âm thanh"), AVERROR(ENOMEM));
        frames -= chunk;
    }
    return true;
}

bool FfmpegMediaWriter::appendAudio(const MediaSample &audio)
{
    if (!m_output)
        return false;
    const int rate = m_settings.sampleRate;
    const int channels = m_settings.channelCount;
    std::int64_t start = (audio.presentationMicros - m_sessionStart) * rate / 1'000'000;
    int skip = 0;
    int count = audio.frameCount;
    if (m_fifoEndPts < 0) {
        // The first block: the file's audio starts with the video, at zero.
        if (start + count <= 0)
            return true;
        if (start < 0)
            skip = int(std::min<std::int64_t>(-start, count));
        else if (!pushSilence(int(start)))
            return false;
        m_fifoEndPts = std::max<std::int64_t>(start, 0);
        m_audioPts = 0;
    } else if (start > m_fifoEndPts + alignmentSlack) {
        if (!pushSilence(int(start - m_fifoEndPts)))
            return false;
        m_fifoEndPts = start;
    } else if (start + count < m_fifoEndPts - alignmentSlack) {
        return true;   // wholly in the past
    } else if (start < m_fifoEndPts - alignmentSlack) {
        skip = int(m_fifoEndPts - start);
    }
    count -= skip;
    if (count <= 0)
        return true;
    std::vector<float> converted(std::size_t(count) * channels);
    uint8_t *outPlanes[8];
    for (int c = 0; c < channels && c < 8; ++c)
        outPlanes[c] = reinterpret_cast<uint8_t *>(converted.data() + std::size_t(c) * count);
    const uint8_t *in[1] = {audio.data + std::size_t(skip) * channels * 2};
    const int got = swr_convert(m_resampler, outPlanes, count, in, count);
    if (got < 0)
        return fail(QStringLiteral("Không thể chuyển đổi âm thanh"), got);
    if (av_audio_fifo_write(m_fifo, reinterpret_cast<void **>(outPlanes), got) < got)
        return fail(QStringLiteral("Không thể ghi âm thanh"), AVERROR(ENOMEM));
    m_fifoEndPts += got;
    return drainAudio(false);
}

bool FfmpegMediaWriter::drainAudio(bool flushAll)
{
    const int frameSize = m_audio->frame_size;
    while (av_audio_fifo_size(m_fifo) >= frameSize || (flushAll && av_audio_fifo_size(m_fifo) > 0)) {
        if (av_frame_make_writable(m_audioFrame.get()) < 0)
            return fail(QStringLiteral("Không thể ghi âm thanh"), AVERROR(ENOMEM));
        const int n = std::min(frameSize, av_audio_fifo_size(m_fifo));
        av_audio_fifo_read(m_fifo, reinterpret_cast<void **>(m_audioFrame->data), n);
        for (int c = 0; n < frameSize && c < m_audio->ch_layout.nb_channels; ++c)
            std::fill_n(reinterpret_cast<float *>(m_audioFrame->data[c]) + n, frameSize - n, 0.0f);
        m_audioFrame->pts = m_audioPts;
        m_audioPts += frameSize;
        if (!encode(m_audio.get(), m_audioStream, m_audioFrame.get()))
            return false;
    }
    return true;
}

bool FfmpegMediaWriter::finishWriting()
{
    if (!m_output)
        return false;
    // Sound to the end of the last frame, so both tracks end together.
    const std::int64_t videoEnd = (m_lastVideoPts + 1) * m_settings.sampleRate / m_settings.framesPerSecond;
    if (m_fifoEndPts < 0) {
        m_fifoEndPts = 0;
        m_audioPts = 0;
    }
    if (videoEnd > m_fifoEndPts && !pushSilence(int(videoEnd - m_fifoEndPts)))
        return false;
    if (!drainAudio(true) || !encode(m_video.get(), m_videoStream, nullptr)
        || !encode(m_audio.get(), m_audioStream, nullptr))
        return false;
    const int trailer = av_write_trailer(m_output);
    close(false);
    if (trailer < 0)
        return fail(QStringLiteral("Không thể ghi tệp"), trailer);
    const QFileInfo info(m_path);
    const QString remuxed = info.dir().filePath(QStringLiteral(".") + info.fileName() + QStringLiteral(".remux"));
    if (Ffmpeg::remuxToFastStart(m_path, remuxed) != Ffmpeg::RemuxResult::done) {
        QFile::remove(remuxed);
        return fail(QStringLiteral("Không thể hoàn tất tệp video"), AVERROR_INVALIDDATA);
    }
    // rename(2) replaces the fragmented file in one step.
    if (std::rename(QFile::encodeName(remuxed).constData(), QFile::encodeName(m_path).constData()) != 0) {
        QFile::remove(remuxed);
        return fail(QStringLiteral("Không thể hoàn tất tệp video"), AVERROR(errno));
    }
    return true;
}

void FfmpegMediaWriter::cancelWriting()
{
    close(false);
}

void FfmpegMediaWriter::close(bool writeTrailer)
{
    if (m_output) {
        if (writeTrailer && m_headerWritten && m_output->pb)
            av_write_trailer(m_output);
        if (m_output->pb)
            avio_closep(&m_output->pb);
        avformat_free_context(m_output);
        m_output = nullptr;
    }
    swr_free(&m_resampler);
    if (m_fifo) {
        av_audio_fifo_free(m_fifo);
        m_fifo = nullptr;
    }
    m_video.reset();
    m_audio.reset();
}
