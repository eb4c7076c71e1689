#pragma once

#include "platform/MediaSample.h"
#include "platform/RecordingError.h"

#include <functional>
#include <optional>

// A running capture of a screen region and the system audio. Its samples and its stop
// notices arrive on the stream's own threads; whoever listens moves them to its own queue.
class ScreenCaptureStream {
public:
    using SampleHandler = std::function<void(MediaSample)>;
    using StopHandler = std::function<void(std::optional<RecordingError>)>;

    virtual ~ScreenCaptureStream() = default;

    // Starts capturing; the refusal when it cannot. onStoppedByPlatform runs at most once,
    // when the stream ends by itself (a device that went away), never after stopCapture.
    virtual std::optional<RecordingError> startCapture(SampleHandler onSample,
                                                       StopHandler onStoppedByPlatform) = 0;
    // Asks the capture to end; done runs once it has, with the error if it could not.
    // No sample is delivered after done.
    virtual void stopCapture(StopHandler done) = 0;
};
