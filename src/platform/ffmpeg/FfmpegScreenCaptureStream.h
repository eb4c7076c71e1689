#pragma once

#include "platform/RecordingBackend.h"
#include "platform/ffmpeg/FfmpegUtil.h"

#include <QByteArray>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

// The region through libavdevice's x11grab (the cursor drawn in) and the system sound
// from the PulseAudio default sink's monitor. One thread reads each device; both stamp
// their samples on the monotonic clock. Without a sound server the audio thread sends
// silence at the real rate, so the file always has its sound track.
// The sound device is opened on its own thread: a sound server that hangs neither freezes
// the caller nor keeps the film from starting after soundWait.
class FfmpegScreenCaptureStream : public ScreenCaptureStream {
public:
    FfmpegScreenCaptureStream(QByteArray display, StreamConfiguration configuration);
    ~FfmpegScreenCaptureStream() override;

    std::optional<RecordingError> startCapture(SampleHandler onSample, StopHandler onStoppedByPlatform) override;
    void stopCapture(StopHandler done) override;

private:
    static constexpr std::chrono::milliseconds soundWait{2000};

    void openAndReadSound();
    // Waits until the sound device is open or given up, at most soundWait; false once stopping.
    bool waitForSound();
    void markStopping();
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
    std::mutex m_soundLock;
    std::condition_variable m_soundChanged;
    bool m_soundSettled = false;   // guarded by m_soundLock
};
