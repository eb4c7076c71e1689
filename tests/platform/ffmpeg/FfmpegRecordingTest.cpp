#include "platform/ffmpeg/FfmpegMediaWriter.h"
#include "platform/ffmpeg/FfmpegRecordingBackend.h"
#include "platform/ffmpeg/FfmpegVideoFrameDecoder.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace {

// Frame n is one flat colour, so the decoded picture tells which frame it came from.
QRgb colourOf(int n)
{
    const QRgb table[] = {qRgb(230, 30, 30), qRgb(30, 200, 40), qRgb(40, 60, 220), qRgb(240, 240, 240)};
    return table[(n / 3) % 4];
}

struct Writing {
    QSize source{64, 48};
    QSize output{64, 48};
    int frames = 30;
    std::int64_t audioLead = -200'000;   // first sound this long before the first frame
    bool finish = true;
};

void write(const QString &path, const Writing &w)
{
    FfmpegMediaWriter writer(path, {w.source, w.output, 30, 48000, 2});
    ASSERT_TRUE(writer.startWriting()) << writer.error()->description.toStdString();
    const std::int64_t t0 = 5'000'000;
    writer.startSession(t0);
    std::vector<std::int16_t> tone(480 * 2);
    for (std::size_t i = 0; i < tone.size() / 2; ++i)
        tone[2 * i] = tone[2 * i + 1] = std::int16_t(8000 * std::sin(2 * M_PI * 1000 * double(i) / 48000));
    std::int64_t audioAt = t0 + w.audioLead;
    for (int n = 0; n < w.frames; ++n) {
        const std::int64_t at = t0 + n * 1'000'000 / 30;
        for (; audioAt < at + 33'333; audioAt += 10'000) {
            MediaSample a;
            a.type = MediaSample::Type::audio;
            a.presentationMicros = audioAt;
            a.data = reinterpret_cast<const std::uint8_t *>(tone.data());
            a.frameCount = 480;
            ASSERT_TRUE(writer.appendAudio(a));
        }
        QImage image(w.source, QImage::Format_ARGB32);
        image.fill(colourOf(n));
        MediaSample f;
        f.type = MediaSample::Type::screen;
        f.presentationMicros = at;
        f.width = image.width();
        f.height = image.height();
        f.bytesPerLine = int(image.bytesPerLine());
        f.data = image.constBits();
        ASSERT_TRUE(writer.appendVideo(f));
    }
    if (w.finish) {
        ASSERT_TRUE(writer.finishWriting());
    }
}

QString probe(const QString &path, const QString &entries)
{
    QProcess ffprobe;
    ffprobe.start("ffprobe", {"-v", "error", "-show_entries", entries, "-of", "default=nw=1", path});
    ffprobe.waitForFinished(30000);
    return QString::fromUtf8(ffprobe.readAllStandardOutput()).trimmed();
}

int distance(QRgb a, QRgb b)
{
    return std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b)) + std::abs(qBlue(a) - qBlue(b));
}

TEST(FfmpegRecording, FinishedFileIsAnOrdinaryMp4WithBothTracksFromTheFirstFrame)
{
    QTemporaryDir dir;
    const struct { Writing w; const char *size; } table[] = {
        {{}, "width=64\nheight=48"},
        {{QSize(200, 100), QSize(100, 50), 45}, "width=100\nheight=50"},
    };
    for (const auto &row : table) {
        const QString path = dir.filePath(QString("out_%1.mp4").arg(row.w.frames));
        write(path, row.w);
        EXPECT_EQ(probe(path, "stream=codec_name,profile").split('\n'),
                  (QStringList{"codec_name=h264", "profile=High", "codec_name=aac", "profile=LC"}));
        EXPECT_EQ(probe(path, "stream=width,height").split('\n').mid(0, 2).join('\n'), QString(row.size));
        EXPECT_EQ(probe(path, "stream=sample_rate,channels").split('\n').mid(0, 2).join('\n'),
                  QString("sample_rate=48000\nchannels=2"));
        // The sound from before the first frame is cut: both tracks start at zero, and the
        // file lasts as long as its frames.
        EXPECT_EQ(probe(path, "stream=start_time").split('\n'), (QStringList{"start_time=0.000000", "start_time=0.000000"}));
        EXPECT_NEAR(probe(path, "format=duration").mid(9).toDouble(), row.w.frames / 30.0, 0.05);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray head = file.read(4096);
        EXPECT_GE(head.indexOf("moov"), 0);
        EXPECT_LT(head.indexOf("moov"), head.indexOf("mdat") < 0 ? 4096 : head.indexOf("mdat"));
        EXPECT_LT(file.readAll().indexOf("moof"), 0);
    }
}

TEST(FfmpegRecording, ThumbnailFrameIsTheOneAtTheTimeAsked)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("frames.mp4");
    write(path, {});
    FfmpegVideoFrameDecoder decoder;
    const struct { double seconds; int frame; } table[] = {{0.0, 0}, {0.2, 6}, {0.5, 15}, {0.9, 27}};
    for (const auto &row : table) {
        const QImage image = decoder.frameAt(path, row.seconds);
        ASSERT_EQ(image.size(), QSize(64, 48)) << row.seconds;
        EXPECT_LT(distance(image.pixel(32, 24), colourOf(row.frame)), 40) << row.seconds;
    }
    EXPECT_TRUE(decoder.frameAt(path, 5.0).isNull());
    EXPECT_TRUE(decoder.frameAt(dir.filePath("missing.mp4"), 0.2).isNull());
    QFile junk(dir.filePath("junk.mp4"));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write(QByteArray(5000, 'x'));
    junk.close();
    EXPECT_TRUE(decoder.frameAt(junk.fileName(), 0.2).isNull());
}

TEST(FfmpegRecording, RotatedVideoComesOutUpright)
{
    QTemporaryDir dir;
    const QString plain = dir.filePath("plain.mp4");
    const QString rotated = dir.filePath("rotated.mp4");
    write(plain, {});
    QProcess ffmpeg;
    // A portrait recording: the MP4 says "turn a quarter clockwise" in its display matrix.
    ffmpeg.start("ffmpeg", {"-v", "error", "-y", "-i", plain, "-c", "copy", "-metadata:s:v:0", "rotate=90", rotated});
    ASSERT_TRUE(ffmpeg.waitForFinished(30000));
    ASSERT_TRUE(QFile::exists(rotated));
    const QImage upright = FfmpegVideoFrameDecoder().frameAt(rotated, 0.2);
    EXPECT_EQ(upright.size(), QSize(48, 64));
    EXPECT_EQ(FfmpegVideoFrameDecoder().frameAt(plain, 0.2).size(), QSize(64, 48));
}

TEST(FfmpegRecording, AnInterruptedFilePlaysAndIsFinishedInPlace)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("cut.mp4");
    write(path, {.frames = 150, .finish = false});   // the writer goes without finishing
    FfmpegRecordingBackend backend(":0");
    EXPECT_EQ(backend.finishInterrupted(path), RecordingBackend::Recovery::finished);
    EXPECT_NEAR(probe(path, "format=duration").mid(9).toDouble(), 5.0, 1.1);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_LT(file.readAll().indexOf("moof"), 0);

    const QString empty = dir.filePath("empty.mp4");
    QFile(empty).open(QIODevice::WriteOnly);
    EXPECT_EQ(backend.finishInterrupted(empty), RecordingBackend::Recovery::empty);
}

} // namespace
