#include "capture/recording/ScreenVideoRecorder.h"
#include "platform/fake/FakeRecording.h"

#include <QTest>
#include <gtest/gtest.h>
#include <functional>

namespace {

const RecordingError writerError{"Writer", 7, "đĩa đầy"};
const RecordingError platformError{"Platform", 3, "màn hình đã tắt"};

using Step = std::function<void(ScreenVideoRecorder &, FakeCaptureStream &)>;
Step frame(std::int64_t at, std::optional<int> status = 0)
{
    return [=](ScreenVideoRecorder &, FakeCaptureStream &s) { s.deliver(FakeCaptureStream::frame(at, status)); };
}
Step audio(std::int64_t at) { return [=](ScreenVideoRecorder &, FakeCaptureStream &s) { s.deliver(FakeCaptureStream::audio(at)); }; }
const Step stop = [](ScreenVideoRecorder &r, FakeCaptureStream &) { r.stop(); };
const Step platformStop = [](ScreenVideoRecorder &, FakeCaptureStream &s) { s.platformStop(platformError); };
// The held stop is taken on the recorder's queue; wait until it is there.
const Step confirmStop = [](ScreenVideoRecorder &, FakeCaptureStream &s) {
    ASSERT_TRUE(QTest::qWaitFor([&] { return s.stopRequests > 0; }));
    s.confirmStop();
};

using Script = FakeMediaWriter::Script;
using Log = QStringList;
// error: what the recorder reports, or nothing for the output file.
struct Case { const char *name; std::vector<Step> steps; std::optional<RecordingError> error; Log log; Script writer = {};
              int stopRequests = 1; bool holdStops = false; std::optional<RecordingError> stopError = {}; };

RecordingError code(ScreenVideoRecorder::Code c) { return ScreenVideoRecorder::error(c); }
Script failing(bool Script::*flag, std::optional<RecordingError> error = {})
{
    Script script;
    script.*flag = false;
    script.error = error;
    return script;
}

const Log started{"start", "session 100", "video 100"};
const Case cases[] = {
    {"a frame starts the file; earlier sound is dropped", {audio(50), frame(100), audio(120), frame(133), stop}, {},
     started + Log{"audio 120", "video 133", "finish"}},
    {"frames that are not complete are skipped", {frame(100, 1), frame(110, std::nullopt), audio(115), frame(120), stop}, {},
     {"start", "session 120", "video 120", "finish"}},
    {"stop before any frame", {audio(10), frame(20, 1), stop}, code(ScreenVideoRecorder::noFrame), {"cancel"}},
    {"writer cannot start and says nothing", {frame(100), frame(133)}, code(ScreenVideoRecorder::startFailed), {"start", "cancel"},
     failing(&Script::startOk)},
    {"a frame cannot be written", {frame(100), frame(133)}, code(ScreenVideoRecorder::videoAppend), started + Log{"cancel"},
     failing(&Script::videoOk)},
    {"sound cannot be written", {frame(100), audio(110), audio(130)}, code(ScreenVideoRecorder::audioAppend),
     started + Log{"audio 110", "cancel"}, failing(&Script::audioOk)},
    {"the file cannot be finished", {frame(100), stop}, code(ScreenVideoRecorder::finishFailed), started + Log{"finish"},
     failing(&Script::finishOk)},
    {"finishing fails with the writer's reason", {frame(100), stop}, writerError, started + Log{"finish"}, failing(&Script::finishOk, writerError)},
    {"a writer that is not ready drops frames", {frame(100), frame(133), stop}, {}, {"start", "session 100", "finish"},
     failing(&Script::videoReady)},
    {"the platform ends the stream; later frames are not written", {frame(100), platformStop, frame(133)}, platformError,
     started + Log{"cancel"}, {}, 0},
    {"the platform's error wins over a pending stop", {frame(100), stop, platformStop, confirmStop}, platformError,
     started + Log{"cancel"}, {}, 1, true},
    {"two stops give one stop request", {frame(100), stop, stop, confirmStop}, {}, started + Log{"finish"}, {}, 1, true},
    {"samples after a stop are ignored", {frame(100), stop, frame(133), audio(140), confirmStop}, {}, started + Log{"finish"}, {}, 1, true},
    {"a stream that cannot stop reports why", {frame(100), stop}, platformError, started + Log{"cancel"}, {}, 1, false, platformError},
    {"a stored error outranks the stop's", {frame(100)}, writerError, started + Log{"cancel"}, failing(&Script::videoOk, writerError), 1, false,
     platformError},
};

class ScreenVideoRecorderTest : public ::testing::TestWithParam<Case> {};

TEST_P(ScreenVideoRecorderTest, DeliversOneResult)
{
    const Case &c = GetParam();
    FakeRecordingBackend backend;
    backend.writerScript = c.writer;
    ScreenVideoRecorder recorder(std::get<RecordingPipeline>(backend.create({}, "/tmp/out.mp4")), "/tmp/out.mp4");
    FakeCaptureStream *stream = backend.stream;
    stream->holdStops = c.holdStops;
    stream->stopError = c.stopError;

    std::vector<ScreenVideoRecorder::Result> results;
    ASSERT_FALSE(recorder.start([&](const ScreenVideoRecorder::Result &r) { results.push_back(r); }));
    for (const Step &step : c.steps) {
        step(recorder, *stream);
        QTest::qWait(5);   // keeps the queue's order apart from the test thread's
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return !results.empty(); }, 3000));
    recorder.stop();
    QTest::qWait(50);
    EXPECT_EQ(results, std::vector{c.error ? ScreenVideoRecorder::Result(*c.error) : ScreenVideoRecorder::Result("/tmp/out.mp4")});
    // The encoders are set up before any sample can arrive.
    EXPECT_EQ(backend.writer->log(), Log{"prepare"} + c.log);
    EXPECT_EQ(stream->stopRequests, c.stopRequests);
}

INSTANTIATE_TEST_SUITE_P(Cases, ScreenVideoRecorderTest, ::testing::ValuesIn(cases));

void PrintTo(const Case &c, std::ostream *os) { *os << c.name; }

} // namespace
