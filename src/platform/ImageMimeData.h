#pragma once

#include <QByteArray>
#include <QImage>
#include <QMimeData>

// One clipboard entry carrying the same image as "image/png" and "image/tiff". The PNG
// is known up front; the TIFF is encoded only when a client first asks for it, so that
// copying a full-screen capture does not hold up the GUI thread.
class ImageMimeData : public QMimeData {
    Q_OBJECT
public:
    static inline const QString pngType = QStringLiteral("image/png");
    static inline const QString tiffType = QStringLiteral("image/tiff");

    ImageMimeData(QImage image, QByteArray png);

    QStringList formats() const override;
    bool hasFormat(const QString &mimeType) const override;

protected:
    QVariant retrieveData(const QString &mimeType, QMetaType type) const override;

private:
    QImage m_image;
    QByteArray m_png;
    bool m_offersTiff;
    mutable QByteArray m_tiff;   // filled on first request; GUI thread only
};
