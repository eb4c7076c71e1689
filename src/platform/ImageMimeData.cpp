#include "platform/ImageMimeData.h"

#include "platform/TiffEncoder.h"

ImageMimeData::ImageMimeData(QImage image, QByteArray png)
    : m_image(std::move(image)), m_png(std::move(png)),
      m_offersTiff(!m_image.isNull() && TiffEncoder::available())
{
}

QStringList ImageMimeData::formats() const
{
    QStringList list{pngType};
    if (m_offersTiff)
        list.append(tiffType);
    return list;
}

bool ImageMimeData::hasFormat(const QString &mimeType) const
{
    return formats().contains(mimeType);
}

QVariant ImageMimeData::retrieveData(const QString &mimeType, QMetaType type) const
{
    if (mimeType == pngType)
        return m_png;
    if (mimeType == tiffType && m_offersTiff) {
        if (m_tiff.isEmpty())
            m_tiff = TiffEncoder::encode(m_image);
        return m_tiff;
    }
    return QMimeData::retrieveData(mimeType, type);
}
