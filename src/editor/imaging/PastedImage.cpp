#include "editor/imaging/PastedImage.h"

#include <QImageReader>
#include <QMimeData>
#include <QUrl>

QImage PastedImage::fromMimeData(const QMimeData &data)
{
    if (data.hasImage()) {
        const QImage image = qvariant_cast<QImage>(data.imageData());
        if (!image.isNull())
            return image;
    }
    static constexpr const char *encoded[] = {"image/png", "image/tiff", "image/jpeg", "image/gif", "image/webp",
                                              "image/bmp"};
    for (const char *type : encoded) {
        const QString mime = QString::fromLatin1(type);
        if (!data.hasFormat(mime))
            continue;
        QImage image;
        if (image.loadFromData(data.data(mime)))
            return image;
    }
    for (const QUrl &url : data.urls()) {
        if (!url.isLocalFile())
            continue;
        QImageReader reader(url.toLocalFile());
        reader.setAutoTransform(true);
        const QImage image = reader.read();
        if (!image.isNull())
            return image;
    }
    return QImage();
}
