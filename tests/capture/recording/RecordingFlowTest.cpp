#include "capture/CaptureTestDoubles.h"

#include "capture/recording/InterruptedRecordings.h"
#include "capture/recording/RecordingFlow.h"
#include "capture/recording/RecordingHUDController.h"
#include "platform/fake/FakeRecording.h"

#include <QFileInfo>
#include <QPushButton>

namespace {

using F = RecordingFlow;
using History = QList<std::pair<CaptureKind, QString>>;

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
    void selectRegion()
    {
        RegionSelectorView *view = toggle();
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(view->prompt(), F::prompt);
        dragOn(view, {30, 40}, {131, 91});
        flushDeletions();
    }
    // Delivers a frame at that time, if any, then stops and waits for the end.
    void finishWith(std::optional<int> frameAt, bool viaToggle = false)
    {
        const qsizetype ends = rig.ended.size();
        if (frameAt)
            backend.stream->deliver(FakeCaptureStream::frame(*frameAt));
        viaToggle ? flow.toggleVideo() : flow.stopVideo();
        ASSERT_TRUE(QTest::qWaitFor([&] { return rig.ended.size() > ends; }, 3000));
        flushDeletions();
    }

    CaptureRig rig;
    FakeRecordingBackend backend;
    RecordingFlow flow{{rig.host, rig.service, rig.selector, rig.grabber, rig.screens, rig.windowExits, backend}};
};

TEST_F(RecordingFlowTest, ARecordingEndsAsAVideoRowWithItsStatusTexts)
{
    selectRegion();
    ASSERT_TRUE(flow.isRecording() && flow.hud());
    const QRect area = rig.screen->availableGeometry();
    EXPECT_EQ(std::tuple(flow.hud()->timeText(), flow.hud()->window()->isVisible(), flow.hud()->window()->pos()),
              std::tuple("00:00", true, QPoint(area.right() + 1 - 240, area.top() + 32)));
    const qreal ratio = rig.screen->devicePixelRatio();
    EXPECT_EQ(backend.configuration->outputSize, QSize(int(101 * ratio) & ~1, int(51 * ratio) & ~1));
    const QString path = backend.outputPath, marker = InterruptedRecordings::markerPath(path);
    EXPECT_EQ(QFileInfo(path).dir().path(), QDir(rig.root.path()).filePath("Recordings"));
    EXPECT_TRUE(QFile::exists(marker));

    finishWith(100, true);   // the toggle stops what it started
    EXPECT_TRUE(!flow.isRecording() && !flow.hud() && !QFile::exists(marker));
    EXPECT_EQ(rig.statuses, (QStringList{F::selectingText, F::selectingText, F::preparingText, F::recordingText,
                                         F::finishingText, F::savedPrefix + QFileInfo(path).fileName()}));
    EXPECT_EQ(std::tuple(rig.history(), rig.finishedOn, rig.ended),
              std::tuple(History{{CaptureKind::video, path}}, QList{rig.screen}, QStringList{path}));
}

TEST_F(RecordingFlowTest, FailuresReportOnceRemoveTheFileAndBringTheWindowBack)
{
    const RecordingError refused{"Platform", 5, "bị từ chối"};
    const struct { const char *name; bool escape; std::optional<RecordingError> createError, streamError; QString lastStatus; } cases[] = {
        {"escape in the selector", true, {}, {}, F::cancelledText},
        {"stop before the first frame", false, {}, {}, F::failedPrefix + "Video chưa nhận được khung hình. Hãy quay ít nhất 1 giây."},
        {"the backend cannot build", false, refused, {}, F::startFailedPrefix + "bị từ chối"},
        {"the stream will not start", false, {}, refused, F::startFailedPrefix + "bị từ chối"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        rig.ended.clear();
        rig.finishedOn.clear();
        backend.createError = c.createError;
        backend.streamStartError = c.streamError;
        if (c.escape) {
            QTest::keyClick(toggle(), Qt::Key_Escape);
            flushDeletions();
            EXPECT_EQ(backend.configuration, std::nullopt);
        } else {
            selectRegion();
        }
        if (flow.isRecording()) {
            QFile(backend.outputPath).open(QIODevice::WriteOnly);   // the writer would have made it by now
            finishWith(std::nullopt);
        }
        EXPECT_EQ(std::tuple(rig.statuses.last(), rig.ended, rig.finishedOn, rig.history()),
                  std::tuple(c.lastStatus, QStringList{QString()}, QList{rig.screen}, History()));
        EXPECT_FALSE(QFile::exists(backend.outputPath) || QFile::exists(InterruptedRecordings::markerPath(backend.outputPath)));
    }
}

// Another capture taking the selector over must not leave this attempt's waiters hanging.
TEST_F(RecordingFlowTest, ASelectorReplacedByAnotherEndsItsAttemptOnce)
{
    ASSERT_NE(toggle(), nullptr);
    flow.toggleVideo();
    ASSERT_TRUE(QTest::qWaitFor([&] { return rig.ended.size() == 1; }, 2000));
    QTest::keyClick(rig.view(), Qt::Key_Escape);
    flushDeletions();
    EXPECT_EQ(rig.ended, (QStringList{QString(), QString()}));
}

TEST_F(RecordingFlowTest, TheHudButtonStopsOnce)
{
    selectRegion();
    ASSERT_TRUE(flow.isRecording());
    backend.stream->holdStops = true;
    backend.stream->deliver(FakeCaptureStream::frame(100));
    QPushButton *stop = flow.hud()->stopButton();
    stop->click();
    stop->click();   // the HUD is still on screen until the file is done
    EXPECT_EQ(rig.statuses.count(F::finishingText), 1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return backend.stream->stopRequests == 1; }, 2000));
    backend.stream->confirmStop();
    ASSERT_TRUE(QTest::qWaitFor([&] { return rig.ended.size() == 1; }, 2000));
    EXPECT_EQ(rig.ended.last(), backend.outputPath);
}

TEST_F(RecordingFlowTest, InterruptedRecordingsJoinTheHistory)
{
    const QString folder = QDir(rig.root.path()).filePath("Recordings"), path = folder + "/Recording_x.mp4";
    QDir().mkpath(folder);
    QFile(path).open(QIODevice::WriteOnly);
    InterruptedRecordings::begin(path);
    backend.recoveries[path] = RecordingBackend::Recovery::finished;
    flow.recoverInterrupted();
    EXPECT_EQ(std::pair(rig.history(), rig.historyChanges), std::pair(History{{CaptureKind::video, path}}, 1));
}

} // namespace
