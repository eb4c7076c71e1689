#include "capture/recording/InterruptedRecordings.h"
#include "capture/recording/RecordingHUDController.h"
#include "capture/recording/RecordingSetup.h"
#include "platform/fake/FakeRecording.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(RecordingSetup, RegionBecomesSourceAndEvenOutputNeverEnlarged)
{
    const struct { QRectF region, frame; qreal ratio; QRect source; QSize output; } cases[] = {
        {{100, 50, 1000, 500}, {0, 0, 1920, 1080}, 1.0, {100, 50, 1000, 500}, {1000, 500}},
        // 5000 × 3000 shrinks by 0.72 to fit 3840 × 2160.
        {{0, 0, 5000, 3000}, {0, 0, 6000, 4000}, 1.0, {0, 0, 5000, 3000}, {3600, 2160}},
        // Scale 2: the source is in device pixels, offset from the screen's native corner.
        {{10, 20, 300, 200}, {0, 0, 960, 540}, 2.0, {20, 40, 600, 400}, {600, 400}},
        {{1930, 10, 100, 100}, {1920, 0, 960, 540}, 2.0, {1940, 20, 200, 200}, {200, 200}},
        // A sliver still records two pixels each way.
        {{5, 5, 0.5, 1}, {0, 0, 1920, 1080}, 1.0, {5, 5, 2, 2}, {2, 2}},
        // A whole 4K screen at scale 1.5 stays 3840 × 2160.
        {{0, 0, 2560, 1440}, {0, 0, 2560, 1440}, 1.5, {0, 0, 3840, 2160}, {3840, 2160}},
        // A region reaching past the screen's edge is clipped to it.
        {{1800, 1000, 300, 200}, {0, 0, 1920, 1080}, 1.0, {1800, 1000, 120, 80}, {120, 80}},
    };
    for (const auto &c : cases) {
        const StreamConfiguration s = RecordingSetup::streamConfiguration(c.region, c.frame, c.ratio);
        EXPECT_EQ(std::tuple(s.sourceRect, s.outputSize, s.framesPerSecond, s.sampleRate, s.channelCount),
                  std::tuple(c.source, c.output, 30, 48000, 2)) << c.region.width() << "x" << c.region.height();
    }
}

TEST(RecordingHUD, ClockReadsMinutesAndSecondsPastAnHour)
{
    for (auto [seconds, text] : {std::pair<qint64, const char *>{0, "00:00"}, {1, "00:01"}, {59, "00:59"}, {60, "01:00"},
                                 {3599, "59:59"}, {4500, "75:00"}, {6001, "100:01"}})
        EXPECT_EQ(RecordingHUDController::elapsedText(seconds), text);
}

TEST(InterruptedRecordings, FinishesMarkedFilesKeepsOthersAndRetriesFailures)
{
    QTemporaryDir dir;
    const QString playable = dir.filePath("Recording_a.mp4"), empty = dir.filePath("Recording_b.mp4"),
                  stuck = dir.filePath("Recording_c.mp4"), unmarked = dir.filePath("Recording_d.mp4"),
                  gone = dir.filePath("Recording_gone.mp4");
    for (const QString &path : {playable, empty, stuck, unmarked})
        ASSERT_TRUE(QFile(path).open(QIODevice::WriteOnly));
    for (const QString &path : {playable, empty, stuck, gone})
        InterruptedRecordings::begin(path);
    FakeRecordingBackend backend;
    backend.recoveries = {{playable, RecordingBackend::Recovery::finished}, {stuck, RecordingBackend::Recovery::failed}};
    EXPECT_EQ(InterruptedRecordings::recover(dir.path(), backend), QStringList{playable});

    // Which files and markers are left.
    for (auto [path, file, marker] : {std::tuple{playable, true, false}, {empty, false, false}, {stuck, true, true},
                                      {unmarked, true, false}, {gone, false, false}})
        EXPECT_EQ(std::pair(QFile::exists(path), QFile::exists(InterruptedRecordings::markerPath(path))), std::pair(file, marker))
            << path.toStdString();
    EXPECT_FALSE(backend.finishedInterrupted.contains(unmarked));
}
