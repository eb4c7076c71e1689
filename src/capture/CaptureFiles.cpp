#include "capture/CaptureFiles.h"

#include <QBuffer>
#include <QImageWriter>

namespace CaptureFiles {

bool tiffAvailable()
{
    return QImageWriter::supportedImageFormats().contains("tiff");
}

QByteArray encodeTiff(const QImage &image)
{
    if (image.isNull())
        return {};
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "tiff");
    if (!writer.write(image))
        return {};
    return bytes;
}

} // namespace CaptureFiles
