#pragma once

#include <cstdint>
#include <memory>
#include <optional>

// One sample from a screen-capture stream: a screen frame (32-bit BGRA, rows top to bottom)
// or a block of system audio (signed 16-bit, interleaved, at the stream's rate and channel
// count). Timestamps of both kinds come from one monotonic clock, in microseconds.
struct MediaSample {
    enum class Type { screen, audio, other };

    Type type = Type::other;
    bool valid = true;
    bool dataReady = true;
    std::optional<int> frameStatus;   // screen frames: 0 when the frame is complete
    std::int64_t presentationMicros = 0;

    const std::uint8_t *data = nullptr;
    int width = 0;          // screen
    int height = 0;
    int bytesPerLine = 0;
    int frameCount = 0;     // audio: samples per channel
    std::shared_ptr<const void> keepAlive;   // owns what data points into
};
