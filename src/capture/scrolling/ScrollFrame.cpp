#include "capture/scrolling/ScrollFrame.h"

#include <cstring>

ScrollFrame ScrollFrame::fromImage(const QImage &image)
{
    if (image.isNull())
        return {};
    const QImage rgba = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    ScrollFrame frame{rgba.width(), rgba.height(), QByteArray(qsizetype(rgba.width()) * rgba.height() * 4, Qt::Uninitialized)};
    const qsizetype rowBytes = qsizetype(frame.width) * 4;
    for (int y = 0; y < rgba.height(); ++y)
        std::memcpy(frame.pixels.data() + y * rowBytes, rgba.constScanLine(y), size_t(rowBytes));
    return frame;
}
