#pragma once

#include "platform/RecordingBackend.h"
#include "platform/VideoFrameDecoder.h"

#include <QMap>
#include <QMutex>
#include <QStringList>
#include <memory>

// A capture stream the test drives: deliver() plays a capture thread handing over a
// sample, platformStop() the platform ending the stream. A stop is confirmed at once
// unless holdStops is set; then confirmStop() answers the held one.
class FakeCaptureStream : public ScreenCaptureStream {
public:
    std::optional<RecordingError> startError;
    std::optional<RecordingError> stopError;
    bool holdStops = false;
    int stopRequests = 0;   // read once the recorder has reported

    std::optional<RecordingError> startCapture(SampleHandler onSample, StopHandler onStoppedByPlatform) override
    {
        if (startError)
            return startError;
        m_onSample = std::move(onSample);
        m_onStopped = std::move(onStoppedByPlatform);
        return std::nullopt;
    }
    void stopCapture(StopHandler done) override
    {
        ++stopRequests;
        if (holdStops)
            m_heldStop = std::move(done);
        else
            done(stopError);
    }

    void deliver(MediaSample sample) { m_onSample(std::move(sample)); }
    void platformStop(RecordingError error) { m_onStopped(std::move(error)); }
    void confirmStop(std::optional<RecordingError> error = std::nullopt)
    {
        if (m_heldStop)
            m_heldStop(std::move(error));
    }

    static MediaSample frame(std::int64_t micros, std::optional<int> status = 0)
    {
        MediaSample s;
        s.type = MediaSample::Type::screen;
        s.frameStatus = status;
        s.presentationMicros = micros;
        return s;
    }
    static MediaSample audio(std::int64_t micros)
    {
        MediaSample s;
        s.type = MediaSample::Type::audio;
        s.presentationMicros = micros;
        return s;
    }

private:
    SampleHandler m_onSample;
    StopHandler m_onStopped;
    StopHandler m_heldStop;
};

// A writer that logs each call ("prepare", "start", "session 100", "video 133", "audio 50",
// "finish", "cancel") and fails where told to.
class FakeMediaWriter : public MediaWriter {
public:
    struct Script {
        bool startOk = true, videoOk = true, audioOk = true, finishOk = true;
        bool videoReady = true, audioReady = true;
        std::optional<RecordingError> error;
    };
    explicit FakeMediaWriter(Script script) : m_script(std::move(script)) {}

    QStringList log() const { QMutexLocker lock(&m_lock); return m_log; }

    void prepare() override { note("prepare"); }
    bool startWriting() override { note("start"); return m_script.startOk; }
    void startSession(std::int64_t at) override { note("session " + QString::number(at)); }
    bool isReadyForVideo() const override { return m_script.videoReady; }
    bool isReadyForAudio() const override { return m_script.audioReady; }
    bool appendVideo(const MediaSample &s) override
    {
        note("video " + QString::number(s.presentationMicros));
        return m_script.videoOk;
    }
    bool appendAudio(const MediaSample &s) override
    {
        note("audio " + QString::number(s.presentationMicros));
        return m_script.audioOk;
    }
    bool finishWriting() override { note("finish"); return m_script.finishOk; }
    void cancelWriting() override { note("cancel"); }
    std::optional<RecordingError> error() const override { return m_script.error; }

private:
    void note(const QString &entry) { QMutexLocker lock(&m_lock); m_log.append(entry); }
    Script m_script;
    mutable QMutex m_lock;
    QStringList m_log;
};

// Hands out fake streams and writers and remembers what it was asked for.
class FakeRecordingBackend : public RecordingBackend {
public:
    std::optional<RecordingError> createError;
    FakeMediaWriter::Script writerScript;
    std::optional<RecordingError> streamStartError;
    QMap<QString, Recovery> recoveries;   // path → outcome; unlisted files are empty

    std::optional<StreamConfiguration> configuration;
    QString outputPath;
    FakeCaptureStream *stream = nullptr;    // valid while the recorder lives
    FakeMediaWriter *writer = nullptr;
    QStringList finishedInterrupted;

    std::variant<RecordingPipeline, RecordingError> create(const StreamConfiguration &c, const QString &path) override
    {
        configuration = c;
        outputPath = path;
        if (createError)
            return *createError;
        auto s = std::make_unique<FakeCaptureStream>();
        s->startError = streamStartError;
        auto w = std::make_unique<FakeMediaWriter>(writerScript);
        stream = s.get();
        writer = w.get();
        return RecordingPipeline{std::move(s), std::move(w)};
    }
    Recovery finishInterrupted(const QString &path) override
    {
        finishedInterrupted.append(path);
        return recoveries.value(path, Recovery::empty);
    }
};

// Frames by file path.
class FakeVideoFrameDecoder : public VideoFrameDecoder {
public:
    QMap<QString, QImage> frames;
    QImage frameAt(const QString &path, double) const override { return frames.value(path); }
};
