// Peak memory of a 60,000-row web capture at 1920 pixels wide, stitched as it goes, against
// the size of the final image; then the PNG save of that image. Prints one line per figure.
// Frames are windows onto one tall synthetic page, made once and reused.

#include "capture/library/PngEncoder.h"
#include "capture/scrolling/ScrollStitcher.h"
#include "capture/scrolling/SyntheticPage.h"

#include <QElapsedTimer>
#include <QFile>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

long statusKilobytes(const char *field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(field, 0) == 0)
            return std::stol(line.substr(std::string(field).size()));
    }
    return -1;
}

} // namespace

int main(int argc, char **argv)
{
    const int width = 1920, height = 1080, shift = 900, rows = 60000;
    // Frames cycle through a 6,000-row page: content for the stitcher is content.
    const cv::Mat page = syntheticPage(width, 6000);
    const long before = statusKilobytes("VmRSS:");

    QElapsedTimer timer;
    timer.start();
    ScrollStitcher stitcher(ScrollStitcher::Mode::web);
    stitcher.addFirst(pageWindow(page, 0, height));
    for (int top = shift; stitcher.totalHeight() < rows; top += shift)
        stitcher.add(pageWindow(page, top % (6000 - height), height), shift);
    QImage image = stitcher.finish(width);
    const qint64 stitchMs = timer.elapsed();

    const double imageMb = double(image.sizeInBytes()) / (1 << 20);
    const double peakMb = double(statusKilobytes("VmHWM:") - before) / 1024.0;
    std::printf("rows %d, image %.0f MB, peak above start %.0f MB (%.2f x image), stitch %lld ms\n", image.height(),
                imageMb, peakMb, peakMb / imageMb, static_cast<long long>(stitchMs));

    timer.restart();
    const QByteArray png = PngEncoder::encode(image);
    const qint64 encodeMs = timer.elapsed();
    const char *out = argc > 1 ? argv[1] : "/tmp/vistrel-long-capture.png";
    QFile file(QString::fromLocal8Bit(out));
    const bool written = file.open(QIODevice::WriteOnly) && file.write(png) == png.size();
    std::printf("png %.0f MB, encode %lld ms, written %s\n", double(png.size()) / (1 << 20),
                static_cast<long long>(encodeMs), written ? "yes" : "no");
    if (written)
        QFile::remove(QString::fromLocal8Bit(out));
    return written ? 0 : 1;
}
