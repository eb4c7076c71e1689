#pragma once

#include "capture/library/CaptureHost.h"
#include "capture/library/CaptureService.h"
#include "capture/library/EditorLauncher.h"
#include "capture/screenshot/ScreenshotFlow.h"
#include "capture/selector/RegionSelectorSlot.h"
#include "platform/fake/FakeClipboard.h"
#include "platform/fake/FakeScreenEnvironment.h"
#include "platform/fake/FakeScreenGrabber.h"
#include "platform/WindowExitWatcher.h"
#include "storage/HistoryDatabase.h"

#include <QDir>
#include <QScreen>
#include <QTemporaryDir>
#include <vector>

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
        service.onStatus = [this](const QString &text) { statuses.append(text); };
        service.onHistoryChanged = [this] { ++historyChanges; };
    }
    // Not created up front: the service makes the Desktop folder itself.
    QString desktop() const { return root.filePath("Desktop"); }
    QStringList desktopFiles() const { return QDir(desktop()).entryList(QDir::Files); }

    QTemporaryDir root;
    FakeScreenGrabber grabber;
    FakeScreenEnvironment screens;
    FakeClipboard clipboard;
    HistoryDatabase database{root.path()};
    CaptureService service{database, clipboard, root.path(), desktop()};
    QStringList statuses;
    int historyChanges = 0;
};

// The main window, as far as a capture flow sees it.
class FakeHost : public CaptureHost {
public:
    bool visible = true;
    int shows = 0;
    QScreen *centredOn = nullptr;

    bool isWindowVisible() const override { return visible; }
    void hideWindow() override { visible = false; }
    void showWindowCentredOn(QScreen *screen) override { visible = true; ++shows; centredOn = screen; }
};

// Keeps each editor a flow opens, with the completion that answers it.
class FakeEditorLauncher : public EditorLauncher {
public:
    struct Opened { QImage image; QScreen *screen; Completion completion; };
    std::vector<Opened> opened;

    void openEditor(const QImage &image, QScreen *screen, Completion completion) override
    {
        opened.push_back({image, screen, std::move(completion)});
    }
};

// The screenshot flow over a capture rig, with the last status it reported.
struct ScreenshotRig : CaptureRig {
    ScreenshotRig()
    {
        service.onStatus = [this](const QString &text) {
            statuses.append(text);
            status = text;
        };
    }
    QString status = QStringLiteral("Sẵn sàng");
    FakeHost host;
    FakeEditorLauncher editors;
    WindowExitWatcher windowExits;
    RegionSelectorSlot selector{screens};
    ScreenshotFlow flow{{host, service, selector, grabber, screens, windowExits, editors}};
};
