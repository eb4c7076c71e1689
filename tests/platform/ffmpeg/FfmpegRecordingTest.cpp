#include "platform/ffmpeg/FfmpegMediaWriter.h"
#include "platform/ffmpeg/FfmpegRecordingBackend.h"
#include "platform/ffmpeg/FfmpegVideoFrameDecoder.h"

#include "support/TestFiles.h"

#include <QProcess>
#include <cmath>
#include <vector>

namespace {

// Frame n is one flat colour, so the decoded picture tells which frame it came from.
QRgb colourOf(int n)
{
    const QRgb table[] = {qRgb(230, 30, 30), qRgb(30, 200, 40), qRgb(40, 60, 220), qRgb(240, 240, 240)};
    return table[(n / 3) % 4];
}

// A screen frame that lends the image's pixels.
MediaSample frameOf(const QImage &image, std::int64_t at)
{
    return {.type = MediaSample::Type::screen, .frameStatus = {}, .presentationMicros = at, .data = image.constBits(),
            .width = image.width(), .height = image.height(), .bytesPerLine = int(image.bytesPerLine()), .keepAlive = {}};
}

// Frames at 30 per second from 5 s on, with a 1 kHz tone starting 0.2 s before the first.
void write(const QString &path, int frames = 30, QSize source = {64, 48}, QSize output = {64, 48}, bool finish = true)
{
    FfmpegMediaWriter writer(path, {source, output, 30, 48000, 2});
    writer.prepare();
    ASSERT_TRUE(writer.startWriting()) << writer.error()->description.toStdString();
    const std::int64_t t0 = 5'000'000;
    writer.startSession(t0);
    std::vector<std::int16_t> tone(480 * 2);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = std::int16_t(8000 * std::sin(2 * M_PI * 1000 * double(i / 2) / 48000));
    std::int64_t audioAt = t0 - 200'000;
    for (int n = 0; n < frames; ++n) {
        const std::int64_t at = t0 + n * 1'000'000 / 30;
        for (; audioAt < at + 33'333; audioAt += 10'000)
            ASSERT_TRUE(writer.appendAudio({.type = MediaSample::Type::audio, .frameStatus = {}, .presentationMicros = audioAt,
                                            .data = reinterpret_cast<const std::uint8_t *>(tone.data()), .frameCount = 480, .keepAlive = {}}));
        const QImage image = filled(source, colourOf(n), QImage::Format_ARGB32);
        ASSERT_TRUE(writer.appendVideo(frameOf(image, at)));
    }
    EXPECT_TRUE(!finish || writer.finishWriting());
}

QString probe(const QString &path, const QString &entries, const QString &streams = "")
{
    QProcess ffprobe;
    ffprobe.start("ffprobe", QStringList{"-v", "error", "-show_entries", entries, "-of", "default=nw=1", path}
                                 + (streams.isEmpty() ? QStringList() : QStringList{"-select_streams", streams}));
    ffprobe.waitForFinished(30000);
    return QString::fromUtf8(ffprobe.readAllStandardOutput());
}

double duration(const QString &path) { return probe(path, "format=duration").mid(9).toDouble(); }

// A file that plays from its start needs its index (moov) before the data, and no fragments.
void expectPlainMp4(const QString &path)
{
    const QByteArray bytes = readFile(path);
    EXPECT_TRUE(bytes.contains("moov") && bytes.indexOf("moov") < bytes.indexOf("mdat") && !bytes.contains("moof"));
}

TEST(FfmpegRecording, FinishedFileIsAnOrdinaryMp4WithBothTracksFromTheFirstFrame)
{
    QTemporaryDir dir;
    for (const auto &[frames, source, output] : {std::tuple{30, QSize(64, 48), QSize(64, 48)}, {45, {200, 100}, {100, 50}}}) {
        const QString path = dir.filePath(QString("out_%1.mp4").arg(frames));
        write(path, frames, source, output);
        // The sound from before the first frame is cut: both tracks start at zero.
        EXPECT_EQ(probe(path, "stream=codec_name,profile,width,height,sample_rate,channels,start_time"),
                  QString("codec_name=h264\nprofile=High\nwidth=%1\nheight=%2\nstart_time=0.000000\n"
                          "codec_name=aac\nprofile=LC\nsample_rate=48000\nchannels=2\nstart_time=0.000000\n")
                      .arg(output.width()).arg(output.height()));
        EXPECT_NEAR(duration(path), frames / 30.0, 0.05);
        expectPlainMp4(path);
    }
    // Set up for a recording that never got its first frame: no file is left behind.
    FfmpegMediaWriter unused(dir.filePath("none.mp4"), {{64, 48}, {64, 48}, 30, 48000, 2});
    unused.prepare();
    unused.cancelWriting();
    EXPECT_FALSE(QFile::exists(dir.filePath("none.mp4")));
}

TEST(FfmpegRecording, JitteredFramesTakeTheNearestFreeTickAtMostOneEarly)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("jitter.mp4");
    FfmpegMediaWriter writer(path, {{64, 48}, {64, 48}, 30, 48000, 2});
    ASSERT_TRUE(writer.startWriting());
    writer.startSession(0);
    const QImage image = filled({64, 48}, Qt::gray, QImage::Format_ARGB32);
    // In frame ticks: 2.6 takes the nearest tick, 3; 3.4 finds it taken and moves on to 4,
    // at most one tick early, and 4.0 to 5; 4.1 and 4.2 would be two early and are left out.
    for (double tick : {0.0, 1.0, 2.6, 3.4, 4.0, 4.1, 4.2, 6.0})
        ASSERT_TRUE(writer.appendVideo(frameOf(image, std::llround(tick * 1e6 / 30)))) << tick;
    ASSERT_TRUE(writer.finishWriting());
    // The MP4's video clock runs at 15360 per second: 512 a frame.
    EXPECT_EQ(probe(path, "packet=pts", "v:0"), "pts=0\npts=512\npts=1536\npts=2048\npts=2560\npts=3072\n");
}

TEST(FfmpegRecording, ThumbnailFrameIsTheOneAtTheTimeAskedAndUpright)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("frames.mp4"), rotated = dir.filePath("rotated.mp4"), junk = dir.filePath("junk.mp4");
    write(path);
    FfmpegVideoFrameDecoder decoder;
    for (const auto &[seconds, frame] : {std::pair{0.0, 0}, {0.2, 6}, {0.5, 15}, {0.9, 27}}) {
        const QImage image = decoder.frameAt(path, seconds);
        ASSERT_EQ(image.size(), QSize(64, 48)) << seconds;
        const QRgb a = image.pixel(32, 24), b = colourOf(frame);
        EXPECT_LT(std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b)) + std::abs(qBlue(a) - qBlue(b)), 40) << seconds;
    }
    writeFile(junk, QByteArray(5000, 'x'));
    for (const auto &[bad, seconds] : {std::pair{path, 5.0}, {dir.filePath("missing.mp4"), 0.2}, {junk, 0.2}})
        EXPECT_TRUE(decoder.frameAt(bad, seconds).isNull()) << bad.toStdString();

    // A portrait recording: the MP4 says "turn a quarter clockwise" in its display matrix.
    ASSERT_EQ(QProcess::execute("ffmpeg", {"-v", "error", "-y", "-i", path, "-c", "copy", "-metadata:s:v:0", "rotate=90", rotated}), 0);
    EXPECT_EQ(decoder.frameAt(rotated, 0.2).size(), QSize(48, 64));
}

TEST(FfmpegRecording, AnInterruptedFilePlaysAndIsFinishedInPlace)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("cut.mp4"), empty = dir.filePath("empty.mp4");
    write(path, 150, {64, 48}, {64, 48}, false);   // the writer goes without finishing
    FfmpegRecordingBackend backend(":0");
    EXPECT_EQ(backend.finishInterrupted(path), RecordingBackend::Recovery::finished);
    EXPECT_NEAR(duration(path), 5.0, 1.1);
    expectPlainMp4(path);
    writeFile(empty, {});
    EXPECT_EQ(backend.finishInterrupted(empty), RecordingBackend::Recovery::empty);
}

} // namespace
