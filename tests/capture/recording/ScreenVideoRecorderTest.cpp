#include "capture/recording/ScreenVideoRecorder.h"
#include "platform/fake/FakeRecording.h"

#include <QTest>
#include <gtest/gtest.h>
#include <variant>

namespace {

const RecordingError writerError{"Writer", 7, "đĩa đầy"};
const RecordingError platformError{"Platform", 3, "màn hình đã tắt"};

struct Frame { std::int64_t at; std::optional<int> status = 0; };
struct Audio { std::int64_t at; };
struct Stop {}; struct PlatformStop {};
struct ConfirmStop { std::optional<RecordingError> error; };
using Step = std::variant<Frame, Audio, Stop, PlatformStop, ConfirmStop>;

using Script = FakeMediaWriter::Script;
using Log = QStringList;
// error: what the recorder reports, or nothing for the output file.
struct Case { const char *name; Script writer; bool holdStops; std::optional<RecordingError> stopError; std::vector<Step> steps;
              std::optional<RecordingError> error; Log log; int stopRequests; };

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
    {"a frame starts the file; earlier sound is dropped", {}, false, {}, {Audio{50}, Frame{100}, Audio{120}, Frame{133}, Stop{}},
     {}, started + Log{"audio 120", "video 133", "finish"}, 1},
    {"frames that are not complete are skipped", {}, false, {}, {Frame{100, 1}, Frame{110, std::nullopt}, Audio{115}, Frame{120}, Stop{}},
     {}, {"start", "session 120", "video 120", "finish"}, 1},
    {"stop before any frame", {}, false, {}, {Audio{10}, Frame{20, 1}, Stop{}}, code(ScreenVideoRecorder::noFrame), {"cancel"}, 1},
    {"writer cannot start and says nothing", failing(&Script::startOk), false, {}, {Frame{100}, Frame{133}},
     code(ScreenVideoRecorder::startFailed), {"start", "cancel"}, 1},
    {"writer cannot start and says why", failing(&Script::startOk, writerError), false, {}, {Frame{100}}, writerError, {"start", "cancel"}, 1},
    {"a frame cannot be written", failing(&Script::videoOk), false, {}, {Frame{100}, Frame{133}},
     code(ScreenVideoRecorder::videoAppend), started + Log{"cancel"}, 1},
    {"sound cannot be written", failing(&Script::audioOk), false, {}, {Frame{100}, Audio{110}, Audio{130}},
     code(ScreenVideoRecorder::audioAppend), started + Log{"audio 110", "cancel"}, 1},
    {"the file cannot be finished", failing(&Script::finishOk), false, {}, {Frame{100}, Stop{}},
     code(ScreenVideoRecorder::finishFailed), started + Log{"finish"}, 1},
    {"finishing fails with the writer's reason", failing(&Script::finishOk, writerError), false, {}, {Frame{100}, Stop{}},
     writerError, started + Log{"finish"}, 1},
    {"a writer that is not ready drops frames", failing(&Script::videoReady), false, {}, {Frame{100}, Frame{133}, Stop{}},
     {}, {"start", "session 100", "finish"}, 1},
    {"the platform ends the stream; later frames are not written", {}, false, {}, {Frame{100}, PlatformStop{}, Frame{133}},
     platformError, started + Log{"cancel"}, 0},
    {"the platform's error wins over a pending stop", {}, true, {}, {Frame{100}, Stop{}, PlatformStop{}, ConfirmStop{}},
     platformError, started + Log{"cancel"}, 1},
    {"two stops give one stop request", {}, true, {}, {Frame{100}, Stop{}, Stop{}, ConfirmStop{}}, {}, started + Log{"finish"}, 1},
    {"samples after a stop are ignored", {}, true, {}, {Frame{100}, Stop{}, Frame{133}, Audio{140}, ConfirmStop{}},
     {}, started + Log{"finish"}, 1},
    {"a stream that cannot stop reports why", {}, false, platformError, {Frame{100}, Stop{}}, platformError, started + Log{"cancel"}, 1},
    {"a stored error outranks the stop's", failing(&Script::videoOk, writerError), false, platformError, {Frame{100}},
     writerError, started + Log{"cancel"}, 1},
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
        if (auto *f = std::get_if<Frame>(&step))
            stream->deliver(FakeCaptureStream::frame(f->at, f->status));
        else if (auto *a = std::get_if<Audio>(&step))
            stream->deliver(FakeCaptureStream::audio(a->at));
        else if (std::holds_alternative<Stop>(step))
            recorder.stop();
        else if (std::holds_alternative<PlatformStop>(step))
            stream->platformStop(platformError);
        else if (auto *confirm = std::get_if<ConfirmStop>(&step)) {
            // The held stop is taken on the recorder's queue; wait until it is there.
            ASSERT_TRUE(QTest::qWaitFor([&] { return stream->stopRequests > 0; }));
            stream->confirmStop(confirm->error);
        }
        // Keeps the queue's order apart from the test thread's.
        QTest::qWait(5);
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

TEST(ScreenVideoRecorder, StreamRefusalIsStartsAnswerAndNoResultFollows)
{
    FakeRecordingBackend backend;
    backend.streamStartError = platformError;
    ScreenVideoRecorder recorder(std::get<RecordingPipeline>(backend.create({}, "/tmp/x.mp4")), "/tmp/x.mp4");
    int results = 0;
    EXPECT_EQ(recorder.start([&](const ScreenVideoRecorder::Result &) { ++results; }), platformError);
    QTest::qWait(30);
    EXPECT_EQ(results, 0);
}

void PrintTo(const Case &c, std::ostream *os) { *os << c.name; }

} // namespace
