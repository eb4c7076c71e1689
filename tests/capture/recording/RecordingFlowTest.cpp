#include "capture/CaptureTestDoubles.h"

#include "capture/recording/InterruptedRecordings.h"
#include "capture/recording/RecordingFlow.h"
#include "capture/recording/RecordingHUDController.h"
#include "platform/fake/FakeRecording.h"

#include <QFile>
#include <QFileInfo>
#include <QPushButton>
#include <gtest/gtest.h>

namespace {

class RecordingFlowTest : public ::testing::Test {
protected:
    RecordingFlowTest() { rig.watch(flow); }

    // The toggle hides the window, then the selector opens on a still of the screen.
    RegionSelectorView *toggle()
    {
        flow.toggleVideo();
        EXPECT_FALSE(rig.host.visible);
        EXPECT_TRUE(QTest::qWaitFor([&] { return rig.view() != nullptr; }, 2000));
        return rig.view();
    }
    RegionSelectorView *selectRegion()
    {
        RegionSelectorView *view = toggle();
        if (view)
            dragOn(view, {30, 40}, {131, 91});
        flushDeletions();
        return view;
    }
    // Delivers a frame at that time, if any, then stops and waits for the end.
    void finishWith(std::optional<int> frameAt)
    {
        if (frameAt)
            backend.stream->deliver(FakeCaptureStream::frame(*frameAt));
        flow.stopVideo();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !rig.ended.isEmpty(); }, 3000));
        flushDeletions();
    }

    CaptureRig rig;
    FakeRecordingBackend backend;
    RecordingFlow flow{{rig.host, rig.service, rig.selector, rig.grabber, rig.screens, rig.windowExits, backend}};
};

TEST_F(RecordingFlowTest, ARecordingEndsAsAVideoRowWithItsStatusTexts)
{
    RegionSelectorView *view = selectRegion();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->prompt(), RecordingFlow::prompt);
    ASSERT_TRUE(flow.isRecording());
    ASSERT_NE(flow.hud(), nullptr);
    EXPECT_EQ(flow.hud()->timeText(), "00:00");
    const qreal ratio = rig.screen->devicePixelRatio();
    EXPECT_EQ(backend.configuration->outputSize, QSize(int(101 * ratio) & ~1, int(51 * ratio) & ~1));
    const QString path = backend.outputPath;
    EXPECT_EQ(QFileInfo(path).dir().dirName(), "Recordings");
    EXPECT_TRUE(QFile::exists(InterruptedRecordings::markerPath(path)));

    finishWith(100);
    EXPECT_FALSE(flow.isRecording());
    EXPECT_EQ(flow.hud(), nullptr);
    EXPECT_EQ(rig.statuses, (QStringList{RecordingFlow::selectingText, RecordingFlow::selectingText,
                                         RecordingFlow::preparingText, RecordingFlow::recordingText,
                                         RecordingFlow::finishingText,
                                         RecordingFlow::savedPrefix + QFileInfo(path).fileName()}));
    const auto rows = rig.database.recent();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].kind, CaptureKind::video);
    EXPECT_EQ(rows[0].path, path);
    EXPECT_EQ(rig.finishedOn, QList<QScreen *>{rig.screen});
    EXPECT_EQ(rig.ended, QStringList{path});
    EXPECT_FALSE(QFile::exists(InterruptedRecordings::markerPath(path)));
}

TEST_F(RecordingFlowTest, FailuresReportOnceRemoveTheFileAndBringTheWindowBack)
{
    const RecordingError refused{"Platform", 5, "bị từ chối"};
    const struct { const char *name; std::optional<RecordingError> createError, streamError; QString lastStatus; } cases[] = {
        {"stop before the first frame", {}, {},
         RecordingFlow::failedPrefix + "Video chưa nhận được khung hình. Hãy quay ít nhất 1 giây."},
        {"the backend cannot build", refused, {}, RecordingFlow::startFailedPrefix + "bị từ chối"},
        {"the stream will not start", {}, refused, RecordingFlow::startFailedPrefix + "bị từ chối"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        rig.ended.clear();
        rig.finishedOn.clear();
        backend.createError = c.createError;
        backend.streamStartError = c.streamError;
        selectRegion();
        if (flow.isRecording()) {
            QFile(backend.outputPath).open(QIODevice::WriteOnly);   // the writer would have made it by now
            finishWith(std::nullopt);
        }
        EXPECT_EQ(rig.statuses.last(), c.lastStatus);
        EXPECT_EQ(rig.ended, QStringList{QString()});
        EXPECT_EQ(rig.finishedOn, QList<QScreen *>{rig.screen});
        EXPECT_FALSE(QFile::exists(backend.outputPath));
        EXPECT_FALSE(QFile::exists(InterruptedRecordings::markerPath(backend.outputPath)));
        EXPECT_TRUE(rig.database.recent().isEmpty());
    }
}

TEST_F(RecordingFlowTest, EscapeCancelsAndTheHudButtonStopsOnce)
{
    RegionSelectorView *view = toggle();
    ASSERT_NE(view, nullptr);
    QTest::keyClick(view, Qt::Key_Escape);
    flushDeletions();
    EXPECT_EQ(rig.statuses.last(), RecordingFlow::cancelledText);
    EXPECT_EQ(rig.ended, QStringList{QString()});
    EXPECT_EQ(rig.finishedOn, QList<QScreen *>{rig.screen});
    EXPECT_EQ(backend.configuration, std::nullopt);

    selectRegion();
    ASSERT_TRUE(flow.isRecording());
    backend.stream->holdStops = true;
    backend.stream->deliver(FakeCaptureStream::frame(100));
    QPushButton *stop = flow.hud()->stopButton();
    stop->click();
    stop->click();
    EXPECT_EQ(rig.statuses.count(RecordingFlow::finishingText), 1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return backend.stream->stopRequests == 1; }, 2000));
    backend.stream->confirmStop();
    ASSERT_TRUE(QTest::qWaitFor([&] { return rig.ended.size() == 2; }, 2000));
    EXPECT_EQ(rig.ended.last(), backend.outputPath);

    // A toggle while recording stops too.
    selectRegion();
    ASSERT_TRUE(flow.isRecording());
    backend.stream->deliver(FakeCaptureStream::frame(100));
    flow.toggleVideo();
    ASSERT_TRUE(QTest::qWaitFor([&] { return rig.ended.size() == 3; }, 2000));
    EXPECT_EQ(rig.ended.last(), backend.outputPath);
}

TEST_F(RecordingFlowTest, InterruptedRecordingsJoinTheHistory)
{
    const QString folder = QDir(rig.root.path()).filePath("Recordings");
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath("Recording_x.mp4");
    QFile(path).open(QIODevice::WriteOnly);
    InterruptedRecordings::begin(path);
    backend.recoveries[path] = RecordingBackend::Recovery::finished;
    flow.recoverInterrupted();
    const auto rows = rig.database.recent();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].path, path);
    EXPECT_EQ(rows[0].kind, CaptureKind::video);
    EXPECT_EQ(rig.historyChanges, 1);
}

} // namespace
