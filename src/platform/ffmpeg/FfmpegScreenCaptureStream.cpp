#include "platform/ffmpeg/FfmpegScreenCaptureStream.h"

#include "platform/ffmpeg/FfmpegUtil.h"

extern "C" {
#include <libavdevice/avdevice.h>
#include <libavutil/time.h>
}

#include <chrono>
#include <vector>

namespace {

const QString domain = QStringLiteral("Vistrel.ScreenCapture");

// Both devices stamp packets with the wall clock; moving the stamp onto the monotonic
// clock at arrival keeps the device's own latency correction and survives clock changes.
std::int64_t toMonotonic(std::int64_t wallMicros)
{
    return wallMicros - (av_gettime() - av_gettime_relative());
}

int interruptWhenStopping(void *flag)
{
    return static_cast<std::atomic<bool> *>(flag)->load() ? 1 : 0;
}

Ffmpeg::Input openDevice(const char *format, const QByteArray &url, AVDictionary **options,
                         std::atomic<bool> *stopping, int *error)
{
    static std::once_flag registered;
    std::call_once(registered, [] { avdevice_register_all(); });
    AVFormatContext *context = avformat_alloc_context();
    context->interrupt_callback.callback = interruptWhenStopping;
    context->interrupt_callback.opaque = stopping;
    *error = avformat_open_input(&context, url.constData(), av_find_input_format(format), options);
    av_dict_free(options);
    if (*error < 0)
        return nullptr;
    return Ffmpeg::Input(context);
}

} // namespace

struct FfmpegScreenCaptureStream::Devices {
    Ffmpeg::Input screen;
    Ffmpeg::Input sound;
};

FfmpegScreenCaptureStream::FfmpegScreenCaptureStream(QByteArray display, StreamConfiguration configuration)
    : m_display(std::move(display)), m_configuration(configuration), m_devices(std::make_unique<Devices>())
{
}

FfmpegScreenCaptureStream::~FfmpegScreenCaptureStream()
{
    markStopping();
    joinReaders();
    if (m_stopper.joinable())
        m_stopper.join();
}

std::optional<RecordingError> FfmpegScreenCaptureStream::startCapture(SampleHandler onSample,
                                                                      StopHandler onStoppedByPlatform)
{
    m_onSample = std::move(onSample);
    m_onStoppedByPlatform = std::move(onStoppedByPlatform);
    const QRect &r = m_configuration.sourceRect;
    AVDictionary *options = nullptr;
    av_dict_set(&options, "framerate", QByteArray::number(m_configuration.framesPerSecond).constData(), 0);
    av_dict_set(&options, "video_size", QStringLiteral("%1x%2").arg(r.width()).arg(r.height()).toLatin1(), 0);
    av_dict_set(&options, "draw_mouse", m_configuration.showsCursor ? "1" : "0", 0);
    const QByteArray url = m_display + QStringLiteral("+%1,%2").arg(r.x()).arg(r.y()).toLatin1();
    int error = 0;
    m_devices->screen = openDevice("x11grab", url, &options, &m_stopping, &error);
    if (!m_devices->screen)
        return RecordingError{domain, error, QStringLiteral("Không thể đọc màn hình: ") + Ffmpeg::describe(error)};

    m_soundThread = std::thread([this] { openAndReadSound(); });
    m_screenThread = std::thread([this] { readScreen(); });
    return std::nullopt;
}

void FfmpegScreenCaptureStream::openAndReadSound()
{
    AVDictionary *options = nullptr;
    av_dict_set(&options, "sample_rate", QByteArray::number(m_configuration.sampleRate).constData(), 0);
    av_dict_set(&options, "channels", QByteArray::number(m_configuration.channelCount).constData(), 0);
    // Small fragments keep the sound's latency, and so its timing error, low.
    av_dict_set(&options, "fragment_size", "3840", 0);
    int error = 0;
    // The device's open does not poll the interrupt: a sound server that has stopped
    // answering holds this thread, and nothing else, until it answers or gives up.
    m_devices->sound = openDevice("pulse", "@DEFAULT_MONITOR@", &options, &m_stopping, &error);
    {
        std::lock_guard lock(m_soundLock);
        m_soundSettled = true;
    }
    m_soundChanged.notify_all();
    m_devices->sound ? readSound() : sendSilence();
}

bool FfmpegScreenCaptureStream::waitForSound()
{
    std::unique_lock lock(m_soundLock);
    m_soundChanged.wait_for(lock, soundWait, [this] { return m_soundSettled || m_stopping; });
    return !m_stopping;
}

int FfmpegScreenCaptureStream::readPackets(AVFormatContext *device,
                                           const std::function<void(Ffmpeg::Packet)> &handle)
{
    while (!m_stopping) {
        Ffmpeg::Packet packet(av_packet_alloc());
        const int result = av_read_frame(device, packet.get());
        if (m_stopping)
            break;
        if (result == AVERROR(EAGAIN))
            continue;
        if (result < 0)
            return result;
        handle(std::move(packet));
    }
    return 0;
}

void FfmpegScreenCaptureStream::readScreen()
{
    // Both tracks start with the first frame; a sound device later than this joins the
    // film late, with silence before it.
    if (!waitForSound())
        return;
    AVFormatContext *device = m_devices->screen.get();
    const int result = readPackets(device, [this, device](Ffmpeg::Packet packet) {
        const AVCodecParameters *p = device->streams[0]->codecpar;
        MediaSample sample;
        sample.type = MediaSample::Type::screen;
        sample.frameStatus = 0;
        sample.presentationMicros = toMonotonic(packet->pts);
        sample.width = p->width;
        sample.height = p->height;
        sample.bytesPerLine = p->width * 4;
        sample.data = packet->data;
        sample.dataReady = packet->size >= sample.bytesPerLine * sample.height;
        sample.keepAlive = std::shared_ptr<AVPacket>(packet.release(), Ffmpeg::PacketFree());
        m_onSample(std::move(sample));
    });
    if (result < 0)
        endByPlatform({domain, result, QStringLiteral("Màn hình ngừng gửi hình: ") + Ffmpeg::describe(result)});
}

void FfmpegScreenCaptureStream::readSound()
{
    const int bytesPerFrame = 2 * m_configuration.channelCount;
    const int result = readPackets(m_devices->sound.get(), [this, bytesPerFrame](Ffmpeg::Packet packet) {
        MediaSample sample;
        sample.type = MediaSample::Type::audio;
        sample.presentationMicros = toMonotonic(packet->pts);
        sample.frameCount = packet->size / bytesPerFrame;
        sample.data = packet->data;
        sample.keepAlive = std::shared_ptr<AVPacket>(packet.release(), Ffmpeg::PacketFree());
        m_onSample(std::move(sample));
    });
    // The sound server went away: carry on with silence rather than end the film.
    if (result < 0)
        sendSilence();
}

void FfmpegScreenCaptureStream::sendSilence()
{
    const int rate = m_configuration.sampleRate;
    const int channels = m_configuration.channelCount;
    std::int64_t sent = 0;
    const std::int64_t start = av_gettime_relative();
    while (!m_stopping) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const std::int64_t due = (av_gettime_relative() - start) * rate / 1'000'000;
        const int count = int(due - sent);
        if (count <= 0)
            continue;
        auto zeros = std::make_shared<std::vector<std::uint8_t>>(std::size_t(count) * channels * 2, 0);
        MediaSample sample;
        sample.type = MediaSample::Type::audio;
        sample.presentationMicros = start + sent * 1'000'000 / rate;
        sample.frameCount = count;
        sample.data = zeros->data();
        sample.keepAlive = zeros;
        sent += count;
        m_onSample(std::move(sample));
    }
}

void FfmpegScreenCaptureStream::endByPlatform(RecordingError error)
{
    if (m_stopping || m_platformStopped.exchange(true))
        return;
    if (m_onStoppedByPlatform)
        m_onStoppedByPlatform(std::move(error));
}

void FfmpegScreenCaptureStream::joinReaders()
{
    std::lock_guard lock(m_joinLock);
    if (m_screenThread.joinable())
        m_screenThread.join();
    if (m_soundThread.joinable())
        m_soundThread.join();
    m_devices->screen.reset();
    m_devices->sound.reset();
}

void FfmpegScreenCaptureStream::markStopping()
{
    {
        std::lock_guard lock(m_soundLock);
        m_stopping = true;
    }
    m_soundChanged.notify_all();
}

void FfmpegScreenCaptureStream::stopCapture(StopHandler done)
{
    markStopping();
    if (m_stopper.joinable())
        return;
    // The readers may be inside a device read; waiting for them happens off the caller.
    m_stopper = std::thread([this, done = std::move(done)] {
        joinReaders();
        if (done)
            done(std::nullopt);
    });
}
