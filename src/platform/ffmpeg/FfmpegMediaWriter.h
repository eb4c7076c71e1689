#pragma once

#include "platform/MediaWriter.h"
#include "platform/ffmpeg/FfmpegUtil.h"
#include "platform/ffmpeg/YuvConverter.h"

#include <QSize>
#include <QString>
#include <memory>

struct SwrContext;
struct AVAudioFifo;

// The MP4 writer: libx264 (High, 8 Mbit/s, a keyframe every 60 frames) and FFmpeg's AAC
// (48 kHz stereo, 192 kbit/s). While recording the file is fragmented, a fragment at each
// keyframe and at least every second, so that whatever is on disk plays; finishing remuxes
// it, without re-encoding, into an ordinary MP4 with its index in front.
// Used by one thread at a time.
class FfmpegMediaWriter : public MediaWriter {
public:
    struct Settings {
        QSize sourceSize;     // the frames as captured
        QSize outputSize;     // the encoded size
        int framesPerSecond = 30;
        int sampleRate = 48000;
        int channelCount = 2;
    };

    FfmpegMediaWriter(QString path, Settings settings);
    ~FfmpegMediaWriter() override;

    // The x264 preset that keeps up with real time at this size on a small machine.
    static const char *presetFor(const QSize &outputSize);

    void prepare() override;
    bool startWriting() override;
    void startSession(std::int64_t atMicros) override;
    bool isReadyForVideo() const override { return m_output && m_headerWritten; }
    bool isReadyForAudio() const override { return m_output && m_headerWritten; }
    bool appendVideo(const MediaSample &frame) override;
    bool appendAudio(const MediaSample &audio) override;
    bool finishWriting() override;
    void cancelWriting() override;
    std::optional<RecordingError> error() const override { return m_error; }

private:
    bool openEncoders();
    bool openVideo();
    bool openAudio();
    bool encode(AVCodecContext *codec, AVStream *stream, const AVFrame *frame);
    bool drainAudio(bool flushAll);
    bool pushSilence(int frames);
    bool fail(const QString &what, int code);
    void close(bool writeTrailer);

    const QString m_path;
    const Settings m_settings;
    AVFormatContext *m_output = nullptr;
    std::optional<bool> m_prepared;   // set once prepare() has run: whether the encoders opened
    Ffmpeg::Codec m_video;
    Ffmpeg::Codec m_audio;
    AVStream *m_videoStream = nullptr;
    AVStream *m_audioStream = nullptr;
    std::unique_ptr<YuvConverter> m_converter;
    SwrContext *m_resampler = nullptr;
    AVAudioFifo *m_fifo = nullptr;
    Ffmpeg::Frame m_videoFrame;
    Ffmpeg::Frame m_audioFrame;
    Ffmpeg::Packet m_packet;

    bool m_headerWritten = false;
    std::int64_t m_sessionStart = 0;
    std::int64_t m_lastVideoPts = -1;
    std::int64_t m_fifoEndPts = -1;    // audio: the pts just after what the fifo holds
    std::int64_t m_audioPts = 0;       // the next encoded audio frame's pts
    std::optional<RecordingError> m_error;
};
