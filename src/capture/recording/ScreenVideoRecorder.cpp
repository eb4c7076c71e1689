#include "capture/recording/ScreenVideoRecorder.h"

#include <QMetaObject>
#include <QPointer>
#include <algorithm>

RecordingError ScreenVideoRecorder::error(Code code)
{
    const QString app = QStringLiteral("Vistrel");
    const QString recorder = QStringLiteral("Vistrel.VideoRecorder");
    switch (code) {
    case videoInput: return {app, code, QStringLiteral("Không thể tạo bộ mã hóa video")};
    case audioInput: return {app, code, QStringLiteral("Không thể tạo bộ mã hóa âm thanh")};
    case startFailed: return {app, code, QStringLiteral("Không thể khởi động bộ mã hóa video")};
    case videoAppend: return {recorder, code, QStringLiteral("Không thể ghi khung hình video")};
    case audioAppend: return {recorder, code, QStringLiteral("Không thể ghi âm thanh")};
    case noFrame:
        return {app, code, QStringLiteral("Video chưa nhận được khung hình. Hãy quay ít nhất 1 giây.")};
    case finishFailed: return {app, code, QStringLiteral("Không thể hoàn tất tệp video")};
    }
    return {app, code, {}};
}

int ScreenVideoRecorder::queuedFrameLimit(std::int64_t frameBytes)
{
    constexpr std::int64_t budget = 256 << 20;
    return int(std::clamp<std::int64_t>(budget / std::max<std::int64_t>(frameBytes, 1), 3, 30));
}

ScreenVideoRecorder::ScreenVideoRecorder(RecordingPipeline pipeline, QString outputPath, QObject *parent)
    : QObject(parent), m_outputPath(std::move(outputPath)), m_stream(std::move(pipeline.stream)),
      m_writer(std::move(pipeline.writer))
{
    m_thread.setObjectName(QStringLiteral("Vistrel.VideoRecorder"));
    m_queue = new QObject;
    m_queue->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_queue, &QObject::deleteLater);
    m_thread.start(QThread::HighPriority);
}

ScreenVideoRecorder::~ScreenVideoRecorder()
{
    // No sample or stop notice may arrive once the stream is gone.
    m_stream.reset();
    m_thread.quit();
    m_thread.wait();
    // A recording still running keeps what its writer has flushed; the file is finished
    // at the next launch.
    m_writer.reset();
}

void ScreenVideoRecorder::post(std::function<void()> work)
{
    QMetaObject::invokeMethod(m_queue, std::move(work), Qt::QueuedConnection);
}

std::optional<RecordingError> ScreenVideoRecorder::start(Completion completion)
{
    // The queue has nothing to run before the stream starts, so this hand-over is safe.
    m_completion = std::move(completion);
    if (!m_stream)
        return error(startFailed);
    // The encoders are set up while the stream starts, not on its first frame.
    post([this] { m_writer->prepare(); });
    return m_stream->startCapture(
        [this](MediaSample sample) {
            if (sample.type == MediaSample::Type::screen)
                ++m_queuedFrames;
            post([this, sample = std::move(sample)] { handleSample(sample); });
        },
        [this](std::optional<RecordingError> platformError) { requestStop(std::move(platformError), true); });
}

void ScreenVideoRecorder::stop()
{
    requestStop(std::nullopt, false);
}

void ScreenVideoRecorder::handleSample(const MediaSample &sample)
{
    const bool screen = sample.type == MediaSample::Type::screen;
    if (screen)
        --m_queuedFrames;
    if (!sample.valid || !sample.dataReady || m_stopping)
        return;
    if (screen) {
        // An idle screen sends frames that are not complete; they are not written.
        if (sample.frameStatus != 0)
            return;
        if (!m_writingStarted) {
            if (!m_writer->startWriting()) {
                fail(m_writer->error(), startFailed);
                return;
            }
            m_writer->startSession(sample.presentationMicros);
            m_writingStarted = true;
        }
        // Behind real time: drop, do not queue.
        if (!m_writer->isReadyForVideo()
            || m_queuedFrames > queuedFrameLimit(std::int64_t(sample.bytesPerLine) * sample.height))
            return;
        if (!m_writer->appendVideo(sample))
            fail(m_writer->error(), videoAppend);
        return;
    }
    if (sample.type == MediaSample::Type::audio) {
        // The file starts at its first frame; sound from before it is dropped.
        if (!m_writingStarted || !m_writer->isReadyForAudio())
            return;
        if (!m_writer->appendAudio(sample))
            fail(m_writer->error(), audioAppend);
    }
}

void ScreenVideoRecorder::fail(const std::optional<RecordingError> &writerError, Code fallback)
{
    RecordingError chosen = writerError.value_or(error(fallback));
    m_recordingError = chosen;
    stopOnQueue(chosen, false);
}

void ScreenVideoRecorder::requestStop(std::optional<RecordingError> error, bool streamAlreadyStopped)
{
    post([this, error = std::move(error), streamAlreadyStopped] { stopOnQueue(error, streamAlreadyStopped); });
}

void ScreenVideoRecorder::stopOnQueue(std::optional<RecordingError> error, bool streamAlreadyStopped)
{
    if (m_finalized)
        return;
    if (error)
        m_recordingError = error;
    if (streamAlreadyStopped) {
        m_stopping = true;
        finalizeWriting();
        return;
    }
    if (m_stopping)
        return;
    m_stopping = true;
    m_stream->stopCapture([this](std::optional<RecordingError> stopError) {
        post([this, stopError = std::move(stopError)] {
            if (stopError && !m_recordingError)
                m_recordingError = stopError;
            finalizeWriting();
        });
    });
}

void ScreenVideoRecorder::finalizeWriting()
{
    if (m_finalized)
        return;
    m_finalized = true;
    if (m_recordingError) {
        m_writer->cancelWriting();
        complete(*m_recordingError);
    } else if (m_writingStarted) {
        if (m_writer->finishWriting())
            complete(m_outputPath);
        else
            complete(m_writer->error().value_or(error(finishFailed)));
    } else {
        m_writer->cancelWriting();
        complete(error(noFrame));
    }
}

void ScreenVideoRecorder::complete(Result result)
{
    Completion completion = std::move(m_completion);
    m_completion = nullptr;
    if (!completion)
        return;
    // Dropped with the recorder if its owner let it go meanwhile.
    QMetaObject::invokeMethod(
        this, [completion = std::move(completion), result = std::move(result)] { completion(result); },
        Qt::QueuedConnection);
}
