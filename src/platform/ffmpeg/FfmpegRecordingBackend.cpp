#include "platform/ffmpeg/FfmpegRecordingBackend.h"

#include "platform/ffmpeg/FfmpegMediaWriter.h"
#include "platform/ffmpeg/FfmpegScreenCaptureStream.h"
#include "platform/ffmpeg/FfmpegUtil.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstdio>

FfmpegRecordingBackend::FfmpegRecordingBackend(QByteArray display) : m_display(std::move(display))
{
    // The libraries' progress notes are of no use to a user; their errors reach us as codes.
    av_log_set_level(AV_LOG_QUIET);
}

std::variant<RecordingPipeline, RecordingError> FfmpegRecordingBackend::create(const StreamConfiguration &configuration,
                                                                              const QString &outputPath)
{
    if (configuration.sourceRect.isEmpty() || configuration.outputSize.isEmpty())
        return RecordingError{QStringLiteral("Vistrel.ScreenCapture"), 1, QStringLiteral("Vùng quay trống")};
    FfmpegMediaWriter::Settings settings{configuration.sourceRect.size(), configuration.outputSize,
                                         configuration.framesPerSecond, configuration.sampleRate,
                                         configuration.channelCount};
    RecordingPipeline pipeline;
    pipeline.stream = std::make_unique<FfmpegScreenCaptureStream>(m_display, configuration);
    pipeline.writer = std::make_unique<FfmpegMediaWriter>(outputPath, settings);
    return pipeline;
}

RecordingBackend::Recovery FfmpegRecordingBackend::finishInterrupted(const QString &path)
{
    const QFileInfo info(path);
    const QString remuxed = info.dir().filePath(QStringLiteral(".") + info.fileName() + QStringLiteral(".remux"));
    const Ffmpeg::RemuxResult result = Ffmpeg::remuxToFastStart(path, remuxed);
    if (result != Ffmpeg::RemuxResult::done) {
        QFile::remove(remuxed);
        return result == Ffmpeg::RemuxResult::noVideo ? Recovery::empty : Recovery::failed;
    }
    if (std::rename(QFile::encodeName(remuxed).constData(), QFile::encodeName(path).constData()) != 0) {
        QFile::remove(remuxed);
        return Recovery::failed;
    }
    return Recovery::finished;
}
