#include "capture/library/CaptureService.h"

#include "capture/library/PngEncoder.h"
#include "platform/ClipboardWriter.h"
#include "platform/ImageMimeData.h"
#include "storage/AtomicFile.h"
#include "storage/CaptureFileNaming.h"
#include "storage/HistoryDatabase.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

CaptureService::CaptureService(HistoryDatabase &database, ClipboardWriter &clipboard,
                               QString rootFolder, QString desktopFolder, QObject *parent)
    : QObject(parent), m_database(database), m_clipboard(clipboard),
      m_rootFolder(std::move(rootFolder)), m_desktopFolder(std::move(desktopFolder))
{
}

void CaptureService::report(const QString &text)
{
    // Also on stderr: the status line is gone once the next capture starts, a terminal keeps it.
    qInfo("%s", qUtf8Printable(text));
    if (onStatus)
        onStatus(text);
}

std::optional<QString> CaptureService::saveScreenshot(const QImage &image, const QString &prefix)
{
    QDir().mkpath(m_desktopFolder);
    const QString path = CaptureFileNaming::freePath(m_desktopFolder, prefix, QStringLiteral("png"));
    const QByteArray png = PngEncoder::encode(image);
    if (png.isEmpty() || !AtomicFile::write(path, png))
        return std::nullopt;
    copyImageToPasteboard(image, png);
    m_database.add(CaptureKind::screenshot, path);
    if (onHistoryChanged)
        onHistoryChanged();
    report(savedPrefix + QFileInfo(path).fileName());
    return path;
}

void CaptureService::addVideo(const QString &path)
{
    m_database.add(CaptureKind::video, path);
    if (onHistoryChanged)
        onHistoryChanged();
}

bool CaptureService::replaceScreenshot(const QImage &image, const QString &path)
{
    const QByteArray png = PngEncoder::encode(image);
    if (png.isEmpty() || !AtomicFile::write(path, png))
        return false;
    copyImageToPasteboard(image, png);
    if (onHistoryChanged)
        onHistoryChanged();
    report(replacedPrefix + QFileInfo(path).fileName());
    return true;
}

bool CaptureService::copyImageToPasteboard(const QImage &image, const QByteArray &pngData)
{
    const QByteArray png = pngData.isEmpty() ? PngEncoder::encode(image) : pngData;
    if (png.isEmpty())
        return false;
    return m_clipboard.write(std::make_unique<ImageMimeData>(image, png));
}

bool CaptureService::copyFileToPasteboard(const QString &path)
{
    const QUrl url = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    auto data = std::make_unique<QMimeData>();
    data->setUrls({url});
    // GNOME's file managers paste only from their own type; "copy" keeps the original.
    data->setData(QStringLiteral("x-special/gnome-copied-files"), "copy\n" + url.toEncoded());
    return m_clipboard.write(std::move(data));
}
