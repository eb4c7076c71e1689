#pragma once

#include "platform/MediaSample.h"
#include "platform/RecordingError.h"

#include <cstdint>
#include <optional>

// An MP4 file being written from a capture's samples: one H.264 and one AAC track.
// Called from one thread at a time (the recorder's queue).
class MediaWriter {
public:
    virtual ~MediaWriter() = default;

    // Sets the encoders up ahead of the first frame, so that frame is not held up by it;
    // creates no file. A failure here is what startWriting then reports.
    virtual void prepare() {}
    virtual bool startWriting() = 0;
    // The file's time zero, on the samples' clock; earlier samples are not written.
    virtual void startSession(std::int64_t atMicros) = 0;
    virtual bool isReadyForVideo() const = 0;
    virtual bool isReadyForAudio() const = 0;
    virtual bool appendVideo(const MediaSample &frame) = 0;
    virtual bool appendAudio(const MediaSample &audio) = 0;
    // Ends both tracks and closes the file; true when it is complete.
    virtual bool finishWriting() = 0;
    // Gives up on the file; whatever was written stays on disk for the owner to remove.
    virtual void cancelWriting() = 0;
    // The writer's own account of its last failure, when it has one.
    virtual std::optional<RecordingError> error() const = 0;
};
