#pragma once

#include <QByteArray>
#include <QImage>
#include <QtGlobal>

// One grab of the capture region: width × height device pixels, R, G, B, A bytes
// (premultiplied), rows top to bottom with no padding. Copies share the bytes.
struct ScrollFrame {
    qint64 width = 0;
    qint64 height = 0;
    QByteArray pixels;

    bool isValid() const { return width > 0 && height > 0 && pixels.size() == width * height * 4; }
    const uchar *row(qint64 y) const
    {
        return reinterpret_cast<const uchar *>(pixels.constData()) + y * width * 4;
    }
    const uchar *pixel(qint64 x, qint64 y) const { return row(y) + x * 4; }

    // Any image converted to premultiplied RGBA; an invalid frame for a null image.
    static ScrollFrame fromImage(const QImage &image);
};
