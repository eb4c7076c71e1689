// Costs of the steps between a hot key and a saved screenshot: freezing the screen
// (XShm against Qt's grab), cutting the region and encoding the PNG (ours against Qt's
// writer at its default and its fastest level). Grab cases need an X display.

#include "capture/library/PngEncoder.h"
#include "capture/screenshot/ScreenshotCrop.h"
#include "platform/x11/XShmScreenGrabber.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImageWriter>
#include <QPainter>
#include <QRandomGenerator>
#include <QScreen>
#include <benchmark/benchmark.h>

namespace {

// Desktop-like content: windows with title bars and lines of text, and one photo.
QImage desktopContent(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(QColor(236, 238, 242));
    QPainter painter(&image);
    QRandomGenerator rng(7);
    QFont font;
    font.setPixelSize(18);
    painter.setFont(font);
    for (int i = 0; i < 6; ++i) {
        const QRect r(int(rng.bounded(width * 3 / 4)), int(rng.bounded(height * 3 / 4)),
                      width / 5 + int(rng.bounded(width / 3)), height / 5 + int(rng.bounded(height / 3)));
        painter.fillRect(r, Qt::white);
        painter.fillRect(QRect(r.topLeft(), QSize(r.width(), 40)), QColor(52, 84, 150));
        painter.setPen(Qt::black);
        for (int y = r.top() + 64; y < r.bottom() - 10; y += 26)
            painter.drawText(r.left() + 16, y,
                             QStringLiteral("Lorem ipsum dolor sit amet %1, consectetur adipiscing elit")
                                 .arg(rng.bounded(100000)));
    }
    painter.end();
    const QRect photo(width / 20, height * 2 / 3, width / 4, height / 4);
    for (int y = photo.top(); y < photo.bottom(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = photo.left(); x < photo.right(); ++x) {
            const int n = int(rng.bounded(24)) - 12;
            line[x] = qRgb(qBound(0, 120 + x % 90 + n, 255), qBound(0, 60 + y % 70 + n, 255),
                           qBound(0, 160 + n, 255));
        }
    }
    return image;
}

const QImage &content4k()
{
    static const QImage image = desktopContent(3840, 2160);
    return image;
}

void BM_PngEncoder(benchmark::State &state)
{
    const QImage &image = content4k();
    qsizetype bytes = 0;
    for (auto _ : state)
        bytes = PngEncoder::encode(image, int(state.range(0)), int(state.range(1))).size();
    state.counters["bytes"] = double(bytes);
}
BENCHMARK(BM_PngEncoder)->ArgNames({"level", "threads"})->Args({1, 1})->Args({1, 2})->Args({3, 2})
    ->Args({6, 2})->Unit(benchmark::kMillisecond);

void BM_QtPngWriter(benchmark::State &state)
{
    const QImage &image = content4k();
    qsizetype bytes = 0;
    for (auto _ : state) {
        QByteArray data;
        QBuffer buffer(&data);
        buffer.open(QIODevice::WriteOnly);
        QImageWriter writer(&buffer, "png");
        writer.setQuality(int(state.range(0)));   // -1 default level, 80 = zlib level 1
        writer.write(image);
        bytes = data.size();
    }
    state.counters["bytes"] = double(bytes);
}
BENCHMARK(BM_QtPngWriter)->ArgName("quality")->Arg(-1)->Arg(80)->Unit(benchmark::kMillisecond);

void BM_CropQuarter(benchmark::State &state)
{
    const QImage &image = content4k();
    const QRectF frame(0, 0, 1920, 1080);
    for (auto _ : state)
        benchmark::DoNotOptimize(ScreenshotCrop::crop(image, frame, QRectF(100.5, 100.5, 960, 540)));
}
BENCHMARK(BM_CropQuarter)->Unit(benchmark::kMillisecond);

void BM_GrabXShm(benchmark::State &state)
{
    if (QGuiApplication::platformName() != QLatin1String("xcb")) {
        state.SkipWithError("needs an X display");
        return;
    }
    XShmScreenGrabber grabber;
    QScreen *screen = QGuiApplication::primaryScreen();
    for (auto _ : state)
        benchmark::DoNotOptimize(grabber.grabScreen(screen));
    state.counters["shm"] = grabber.sharedMemoryUsable() ? 1 : 0;
}
BENCHMARK(BM_GrabXShm)->Unit(benchmark::kMillisecond);

void BM_GrabQt(benchmark::State &state)
{
    if (QGuiApplication::platformName() != QLatin1String("xcb")) {
        state.SkipWithError("needs an X display");
        return;
    }
    QScreen *screen = QGuiApplication::primaryScreen();
    for (auto _ : state)
        benchmark::DoNotOptimize(screen->grabWindow(0).toImage());
}
BENCHMARK(BM_GrabQt)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
