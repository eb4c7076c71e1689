#pragma once

#include "platform/RecordingBackend.h"
#include "platform/ffmpeg/FfmpegUtil.h"

#include <QByteArray>
#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

// The region through libavdevice's x11grab (the cursor drawn in) and the system sound
// from the PulseAudio default sink's monitor. One thread reads each device; both stamp
// their samples on the monotonic clock. Without a sound server the audio thread sends
// silence at the real rate, so the file always has its sound track.
class FfmpegScreenCaptureStream : public ScreenCaptureStream {
public:
    FfmpegScreenCaptureStream(QByteArray display, StreamConfiguration configuration);
    ~FfmpegScreenCaptureStream() override;

    std::optional<RecordingError> startCapture(SampleHandler onSample, StopHandler onStoppedByPlatform) override;
    void stopCapture(StopHandler done) override;

private:
    // Hands each packet on until stopped; the read error that ended it, or 0.
    int readPackets(AVFormatContext *device, const std::function<void(Ffmpeg::Packet)> &handle);
    void readScreen();
    void readSound();
    void sendSilence();
    void endByPlatform(RecordingError error);
    void joinReaders();

    const QByteArray m_display;
    const StreamConfiguration m_configuration;
    SampleHandler m_onSample;
    StopHandler m_onStoppedByPlatform;
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_platformStopped{false};
    struct Devices;
    std::unique_ptr<Devices> m_devices;
    std::thread m_screenThread;
    std::thread m_soundThread;
    std::thread m_stopper;
    std::mutex m_joinLock;
};
