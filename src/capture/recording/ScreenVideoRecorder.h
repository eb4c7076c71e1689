#pragma once

#include "platform/RecordingBackend.h"

#include <QObject>
#include <QString>
#include <QThread>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

// Records one capture stream into one MP4 file and reports exactly one result.
//
// Threads: the recorder is created, started and destroyed on the GUI thread, and its
// completion runs there. Everything else happens on its serial queue, one worker thread
// ("Vistrel.VideoRecorder"): that thread alone touches the three flags, recordingError,
// the completion once started, and the writer (so the muxer and both encoders). The
// stream's own threads only post samples and stop notices to the queue.
class ScreenVideoRecorder : public QObject {
    Q_OBJECT
public:
    using Result = std::variant<QString, RecordingError>;   // the file, or why there is none
    using Completion = std::function<void(const Result &)>;

    // The recorder's own errors, with the text the user sees.
    enum Code { videoInput = 20, finishFailed = 21, noFrame = 22, startFailed = 23,
                videoAppend = 24, audioInput = 25, audioAppend = 26 };
    static RecordingError error(Code code);

    // How many frames of this size may wait on the queue; later ones are dropped rather
    // than queued. Enough to ride out a busy moment of the machine (up to a second), within
    // a memory budget that a 4K recording reaches at eight frames.
    static int queuedFrameLimit(std::int64_t frameBytes);

    ScreenVideoRecorder(RecordingPipeline pipeline, QString outputPath, QObject *parent = nullptr);
    ~ScreenVideoRecorder() override;
    ScreenVideoRecorder(const ScreenVideoRecorder &) = delete;
    ScreenVideoRecorder &operator=(const ScreenVideoRecorder &) = delete;

    // Stores the completion and starts the stream; the stream's refusal when it cannot.
    std::optional<RecordingError> start(Completion completion);
    // A normal stop; callable from any thread.
    void stop();

    QString outputPath() const { return m_outputPath; }

private:
    void post(std::function<void()> work);
    void handleSample(const MediaSample &sample);
    void requestStop(std::optional<RecordingError> error, bool streamAlreadyStopped);
    void stopOnQueue(std::optional<RecordingError> error, bool streamAlreadyStopped);
    void fail(const std::optional<RecordingError> &writerError, Code fallback);
    void finalizeWriting();
    void complete(Result result);

    const QString m_outputPath;
    std::unique_ptr<ScreenCaptureStream> m_stream;
    QThread m_thread;
    QObject *m_queue = nullptr;   // lives on m_thread; work posted to it runs there in order
    std::atomic<int> m_queuedFrames{0};

    // Queue-owned from start() on.
    std::unique_ptr<MediaWriter> m_writer;
    bool m_writingStarted = false;
    bool m_stopping = false;
    bool m_finalized = false;
    std::optional<RecordingError> m_recordingError;
    Completion m_completion;
};
