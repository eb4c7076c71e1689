#include "capture/CaptureTestDoubles.h"
#include "capture/selector/SelectorDriving.h"

#include "capture/recording/InterruptedRecordings.h"
#include "capture/recording/RecordingFlow.h"
#include "capture/recording/RecordingHUDController.h"
#include "capture/selector/RegionSelectorController.h"
#include "capture/selector/RegionSelectorView.h"
#include "platform/fake/FakeRecording.h"

#include <QFile>
#include <QFileInfo>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

namespace {

struct RecordingRig : CaptureRig {
    RecordingRig()
    {
        service.onStatus = [this](const QString &text) { statuses.append(text); };
        service.onVideoFinished = [this](QScreen *screen) { finishedOn.append(screen); };
        QObject::connect(&flow, &RecordingFlow::ended, [this](const QString &path) { ended << path; });
    }
    FakeHost host;
    WindowExitWatcher windowExits;
    RegionSelectorSlot selector{screens};
    FakeRecordingBackend backend;
    RecordingFlow flow{{host, service, selector, grabber, screens, windowExits, backend}};
    QList<QScreen *> finishedOn;
    QStringList ended;
};

class RecordingFlowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        rig.screens.pointer = screen->geometry().center();
        rig.grabber.image = coordinateImage(screen->geometry().size() * screen->devicePixelRatio());
    }

    // The toggle hides the window, then the selector opens on a still of the screen.
    RegionSelectorView *toggle()
    {
        rig.flow.toggleVideo();
        EXPECT_FALSE(rig.host.visible);
        EXPECT_TRUE(QTest::qWaitFor([&] { return rig.selector.current() != nullptr; }, 2000));
        return rig.selector.current() ? rig.selector.current()->view() : nullptr;
    }
    RegionSelectorView *selectRegion()
    {
        RegionSelectorView *view = toggle();
        if (view)
            dragOn(view, {30, 40}, {131, 91});
        flushDeletions();
        return view;
    }
    void finishWith(std::optional<int> frameAt)
    {
        if (frameAt)
            rig.backend.stream->deliver(FakeCaptureStream::frame(*frameAt));
        rig.flow.stopVideo();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !rig.ended.isEmpty(); }, 3000));
        flushDeletions();
    }

    QScreen *screen = QGuiApplication::primaryScreen();
    RecordingRig rig;
};

TEST_F(RecordingFlowTest, ARecordingEndsAsAVideoRowWithItsStatusTexts)
{
    RegionSelectorView *view = selectRegion();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->prompt(), RecordingFlow::prompt);
    ASSERT_TRUE(rig.flow.isRecording());
    ASSERT_NE(rig.flow.hud(), nullptr);
    EXPECT_EQ(rig.flow.hud()->timeText(), QString("00:00"));
    const qreal ratio = screen->devicePixelRatio();
    EXPECT_EQ(rig.backend.configuration->outputSize, QSize(int(101 * ratio) & ~1, int(51 * ratio) & ~1));
    const QString path = rig.backend.outputPath;
    EXPECT_EQ(QFileInfo(path).dir().dirName(), QString("Recordings"));
    EXPECT_TRUE(QFile::exists(InterruptedRecordings::markerPath(path)));

    finishWith(100);
    EXPECT_FALSE(rig.flow.isRecording());
    EXPECT_EQ(rig.flow.hud(), nullptr);
    EXPECT_EQ(rig.statuses, (QStringList{RecordingFlow::selectingText, RecordingFlow::selectingText,
                                         RecordingFlow::preparingText, RecordingFlow::recordingText,
                                         RecordingFlow::finishingText,
                                         RecordingFlow::savedPrefix + QFileInfo(path).fileName()}));
    const auto rows = rig.database.recent();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].kind, CaptureKind::video);
    EXPECT_EQ(rows[0].path, path);
    EXPECT_EQ(rig.finishedOn, QList<QScreen *>{screen});
    EXPECT_EQ(rig.ended, QStringList{path});
    EXPECT_FALSE(QFile::exists(InterruptedRecordings::markerPath(path)));
}

TEST_F(RecordingFlowTest, FailuresReportOnceRemoveTheFileAndBringTheWindowBack)
{
    const RecordingError refused{"Platform", 5, "bị từ chối"};
    const struct {
        const char *name;
        std::optional<RecordingError> createError, streamError;
        std::optional<int> frame;
        QString lastStatus;
    } table[] = {
        {"stop before the first frame", {}, {}, std::nullopt,
         RecordingFlow::failedPrefix + "Video chưa nhận được khung hình. Hãy quay ít nhất 1 giây."},
        {"the backend cannot build", refused, {}, std::nullopt, RecordingFlow::startFailedPrefix + "bị từ chối"},
        {"the stream will not start", {}, refused, std::nullopt, RecordingFlow::startFailedPrefix + "bị từ chối"},
    };
    for (const auto &row : table) {
        RecordingRig &r = rig;
        r.statuses.clear();
        r.ended.clear();
        r.finishedOn.clear();
        r.backend.createError = row.createError;
        r.backend.streamStartError = row.streamError;
        selectRegion();
        if (r.flow.isRecording()) {
            // The writer would have made the file by now.
            QFile(r.backend.outputPath).open(QIODevice::WriteOnly);
            finishWith(row.frame);
        }
        EXPECT_EQ(r.statuses.last(), row.lastStatus) << row.name;
        EXPECT_EQ(r.ended, QStringList{QString()}) << row.name;
        EXPECT_EQ(r.finishedOn, QList<QScreen *>{screen}) << row.name;
        EXPECT_FALSE(QFile::exists(r.backend.outputPath)) << row.name;
        EXPECT_FALSE(QFile::exists(InterruptedRecordings::markerPath(r.backend.outputPath))) << row.name;
        EXPECT_TRUE(r.database.recent().isEmpty()) << row.name;
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
    EXPECT_EQ(rig.finishedOn, QList<QScreen *>{screen});
    EXPECT_EQ(rig.backend.configuration, std::nullopt);

    selectRegion();
    ASSERT_TRUE(rig.flow.isRecording());
    rig.backend.stream->holdStops = true;
    rig.backend.stream->deliver(FakeCaptureStream::frame(100));
    QPushButton *stop = rig.flow.hud()->stopButton();
    stop->click();
    stop->click();
    EXPECT_EQ(rig.statuses.count(RecordingFlow::finishingText), 1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return rig.backend.stream->stopRequests == 1; }, 2000));
    rig.backend.stream->confirmStop();
    ASSERT_TRUE(QTest::qWaitFor([&] { return rig.ended.size() == 2; }, 2000));
    EXPECT_EQ(rig.ended.last(), rig.backend.outputPath);
}

TEST_F(RecordingFlowTest, AToggleWhileRecordingStops)
{
    selectRegion();
    ASSERT_TRUE(rig.flow.isRecording());
    rig.backend.stream->deliver(FakeCaptureStream::frame(100));
    rig.flow.toggleVideo();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !rig.ended.isEmpty(); }, 2000));
    EXPECT_EQ(rig.ended, QStringList{rig.backend.outputPath});
}

TEST_F(RecordingFlowTest, InterruptedRecordingsJoinTheHistory)
{
    const QString folder = QDir(rig.root.path()).filePath("Recordings");
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath("Recording_x.mp4");
    QFile(path).open(QIODevice::WriteOnly);
    InterruptedRecordings::begin(path);
    rig.backend.recoveries[path] = RecordingBackend::Recovery::finished;
    rig.flow.recoverInterrupted();
    const auto rows = rig.database.recent();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].path, path);
    EXPECT_EQ(rows[0].kind, CaptureKind::video);
    EXPECT_EQ(rig.historyChanges, 1);
}

} // namespace
