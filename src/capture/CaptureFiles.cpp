#include "capture/CaptureFiles.h"

#include <QBuffer>
#include <QImageWriter>
#include <QSaveFile>

namespace CaptureFiles {

bool writeAtomically(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    if (file.write(bytes) != bytes.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

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
