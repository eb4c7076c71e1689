#include "platform/TiffEncoder.h"

#include <QBuffer>
#include <QImageWriter>

namespace TiffEncoder {

bool available()
{
    return QImageWriter::supportedImageFormats().contains("tiff");
}

QByteArray encode(const QImage &image)
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

} // namespace TiffEncoder
