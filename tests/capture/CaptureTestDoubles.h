#pragma once

#include "capture/CaptureService.h"
#include "capture/ClipboardWriter.h"
#include "capture/ScreenEnvironment.h"
#include "platform/fake/FakeScreenGrabber.h"
#include "storage/HistoryDatabase.h"

#include <QDir>
#include <QGuiApplication>
#include <QList>
#include <QMimeData>
#include <QScreen>
#include <QTemporaryDir>
#include <memory>
#include <vector>

// Keeps what was copied instead of touching the system clipboard.
class RecordingClipboard : public ClipboardWriter {
public:
    explicit RecordingClipboard(std::vector<std::unique_ptr<QMimeData>> &entries) : m_entries(entries) {}
    bool write(std::unique_ptr<QMimeData> data) override
    {
        m_entries.push_back(std::move(data));
        return true;
    }

private:
    std::vector<std::unique_ptr<QMimeData>> &m_entries;
};

// Qt's screens, with a pointer placed by the test or no screens at all.
class StagedScreens : public ScreenEnvironment {
public:
    bool noScreens = false;
    QPoint pointer;

    QList<QScreen *> screens() const override
    {
        return noScreens ? QList<QScreen *>{} : QGuiApplication::screens();
    }
    QScreen *primaryScreen() const override
    {
        return noScreens ? nullptr : QGuiApplication::primaryScreen();
    }
    QPoint cursorPosition() const override { return pointer; }
};

// Each pixel carries its own coordinates, so a wrong offset or size shows at once.
inline QImage coordinateImage(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = qRgb(x & 0xff, y & 0xff, ((x >> 8) << 4) | (y >> 8));
    }
    return image;
}

// A capture service on temporary folders, a scripted grabber, a recording clipboard and
// staged screens, keeping every status and history change it reports.
struct CaptureRig {
    CaptureRig()
    {
        service.setClipboardWriter(std::make_unique<RecordingClipboard>(clipboard));
        auto staged = std::make_unique<StagedScreens>();
        screens = staged.get();
        service.setScreenEnvironment(std::move(staged));
        service.onStatus = [this](const QString &text) { statuses.append(text); };
        service.onHistoryChanged = [this] { ++historyChanges; };
    }
    // Not created up front: the service makes the Desktop folder itself.
    QString desktop() const { return root.filePath("Desktop"); }
    QStringList desktopFiles() const { return QDir(desktop()).entryList(QDir::Files); }

    QTemporaryDir root;
    FakeScreenGrabber grabber;
    HistoryDatabase database{root.path()};
    CaptureService service{database, root.path(), grabber, desktop()};
    StagedScreens *screens = nullptr;
    std::vector<std::unique_ptr<QMimeData>> clipboard;
    QStringList statuses;
    int historyChanges = 0;
};
