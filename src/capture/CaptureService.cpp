#include "capture/CaptureService.h"

#include "capture/CaptureFiles.h"
#include "storage/AtomicFile.h"
#include "capture/ClipboardWriter.h"
#include "capture/ImageMimeData.h"
#include "capture/PngEncoder.h"
#include "capture/RegionSelectorController.h"
#include "capture/ScreenEnvironment.h"
#include "capture/ScreenshotCrop.h"
#include "platform/ScreenGrabber.h"
#include "storage/CaptureFileNaming.h"
#include "storage/HistoryDatabase.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QScreen>

CaptureService::CaptureService(HistoryDatabase &database, QString rootFolder,
                               ScreenGrabber &grabber, QString desktopFolder, QObject *parent)
    : QObject(parent), m_database(database), m_rootFolder(std::move(rootFolder)),
      m_grabber(grabber), m_desktopFolder(std::move(desktopFolder)),
      m_clipboard(std::make_unique<SystemClipboard>()),
      m_screens(std::make_unique<ScreenEnvironment>())
{
}

CaptureService::~CaptureService() = default;

void CaptureService::setClipboardWriter(std::unique_ptr<ClipboardWriter> clipboard)
{
    m_clipboard = std::move(clipboard);
}

void CaptureService::setScreenEnvironment(std::unique_ptr<ScreenEnvironment> screens)
{
    m_screens = std::move(screens);
}

void CaptureService::report(const QString &text)
{
    if (onStatus)
        onStatus(text);
}

void CaptureService::takeScreenshot(ScreenshotCompletion completion)
{
    QScreen *screen = m_screens->screenUnderCursor();
    if (!screen) {
        report(noScreenText);
        if (completion)
            completion(QImage(), nullptr);
        return;
    }
    FrozenDisplayCapture frozen{screen, m_grabber.grabScreen(screen)};
    if (frozen.image.isNull()) {
        report(grabFailedText);
        if (completion)
            completion(QImage(), screen);
        return;
    }
    QPointer<CaptureService> self(this);
    openRegionSelector(screenshotPrompt, screen, frozen.image,
                       [self, frozen, completion](std::optional<QRectF> rect, QScreen *chosen) {
                           if (self)
                               self->selectionFinished(frozen, rect, chosen, completion);
                       });
}

void CaptureService::openRegionSelector(const QString &prompt, QScreen *screen,
                                        const QImage &frozenImage, SelectionCompletion completion)
{
    dismissRegionSelector();
    m_regionSelector = std::make_unique<RegionSelectorController>(
        prompt, screen, frozenImage, std::move(completion), *m_screens);
}

void CaptureService::dismissRegionSelector()
{
    // Released, not finished: the selector goes away without calling its completion.
    m_regionSelector.reset();
}

void CaptureService::selectionFinished(const FrozenDisplayCapture &frozen,
                                       std::optional<QRectF> rect, QScreen *screen,
                                       const ScreenshotCompletion &completion)
{
    dismissRegionSelector();
    if (!rect || !screen) {
        report(cancelledText);
        if (completion)
            completion(QImage(), screen);
        return;
    }
    const QRectF frame = frozen.screen ? QRectF(frozen.screen->geometry()) : QRectF();
    const auto cropped = ScreenshotCrop::crop(frozen.image, frame, *rect);
    if (!cropped) {
        report(cropFailedText);
        if (completion)
            completion(QImage(), screen);
        return;
    }
    if (completion)
        completion(cropped->image, screen);
}

std::optional<QString> CaptureService::saveScreenshot(const QImage &image, const QString &prefix)
{
    QDir().mkpath(m_desktopFolder);
    const QString path = CaptureFileNaming::freePath(m_desktopFolder, prefix, QStringLiteral("png"));
    const QByteArray png = PngEncoder::encode(image);
    if (png.isEmpty() || !AtomicFile::write(path, png))
        return std::nullopt;
    copyImageToPasteboard(image, png);
    m_database.add(QStringLiteral("screenshot"), path);
    if (onHistoryChanged)
        onHistoryChanged();
    report(savedPrefix + QFileInfo(path).fileName());
    return path;
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
    return m_clipboard->write(std::make_unique<ImageMimeData>(image, png));
}
