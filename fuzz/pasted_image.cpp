// The editor's paste: whatever another program put on the clipboard, in any of the image
// formats it accepts or as a file it names, gives an image or nothing, never a crash.
#include "FuzzScratch.h"
#include "editor/imaging/PastedImage.h"

#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>

#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // Image plugins (TIFF, WebP) load through the application.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QGuiApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    static const char *const formats[] = {"image/png", "image/tiff", "image/jpeg", "image/gif",
                                          "image/webp", "image/bmp", "text/uri-list"};
    const char *format = formats[data[0] % std::size(formats)];
    const QByteArray payload = fuzz::bytesOf(data + 1, size - 1);
    QMimeData mime;
    if (QByteArray(format) == "text/uri-list")
        mime.setUrls({QUrl::fromLocalFile(fuzz::writeScratch(QStringLiteral("pasted"), payload))});
    else
        mime.setData(QString::fromLatin1(format), payload);
    const QImage image = PastedImage::fromMimeData(mime);
    fuzz::require(image.isNull() || (image.width() > 0 && image.height() > 0), "an empty image that is not null");
    return 0;
}
