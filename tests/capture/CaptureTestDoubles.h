#pragma once

#include "capture/library/CaptureHost.h"
#include "capture/library/CaptureService.h"
#include "capture/library/EditorLauncher.h"
#include "capture/selector/RegionSelectorController.h"
#include "capture/selector/RegionSelectorSlot.h"
#include "capture/selector/RegionSelectorView.h"
#include "platform/fake/FakeClipboard.h"
#include "platform/fake/FakeScreenEnvironment.h"
#include "platform/fake/FakeScreenGrabber.h"
#include "platform/WindowExitWatcher.h"
#include "storage/HistoryDatabase.h"

#include <QDir>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <vector>

// Each pixel carries its own coordinates, so a wrong offset or size shows at once.
inline QImage coordinateImage(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb(x & 0xff, y & 0xff, ((x >> 8) << 4) | (y >> 8)));
    return image;
}

// A user's drag on a selector window, in its own coordinates.
inline void dragOn(QWidget *view, QPoint from, QPoint to)
{
    QTest::mousePress(view, Qt::LeftButton, {}, from);
    QTest::mouseMove(view, (from + to) / 2);
    QTest::mouseMove(view, to);
    QTest::mouseRelease(view, Qt::LeftButton, {}, to);
}

// Runs deferred deletions so released windows are really gone.
inline void flushDeletions() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

struct FakeHost : CaptureHost {
    bool visible = true;
    int shows = 0;
    QScreen *centredOn = nullptr;
    bool isWindowVisible() const override { return visible; }
    void hideWindow() override { visible = false; }
    void showWindowCentredOn(QScreen *screen) override { visible = true; ++shows; centredOn = screen; }
};

struct FakeEditorLauncher : EditorLauncher {
    struct Opened { QImage image; QScreen *screen; Completion completion; };
    std::vector<Opened> opened;
    void openEditor(const QImage &image, QScreen *screen, Completion c) override { opened.push_back({image, screen, std::move(c)}); }
};

// A capture service on temporary folders and every fake a capture flow takes, keeping each
// status, history change and ended flow it hears of. The pointer rests on the primary
// screen, whose grab is a coordinate image.
struct CaptureRig {
    CaptureRig()
    {
        service.onStatus = [this](const QString &text) { statuses.append(text); };
        service.onHistoryChanged = [this] { ++historyChanges; };
        service.onVideoFinished = [this](QScreen *screen) { finishedOn.append(screen); };
        screens.pointer = screen->geometry().center();
        grabber.image = coordinateImage(screen->geometry().size() * screen->devicePixelRatio());
    }
    template <class Flow> void watch(Flow &flow)
    {
        QObject::connect(&flow, &Flow::ended, [this](const QString &path) { ended << path; });
    }
    // Not created up front: the service makes the Desktop folder itself.
    QString desktop() const { return root.filePath("Desktop"); }
    QStringList desktopFiles() const { return QDir(desktop()).entryList(QDir::Files); }
    QString onlyDesktopFile() const { return desktopFiles().size() == 1 ? QDir(desktop()).filePath(desktopFiles()[0]) : QString(); }
    RegionSelectorView *view() const { return selector.current() ? selector.current()->view() : nullptr; }
    QList<std::pair<CaptureKind, QString>> history() const
    {
        QList<std::pair<CaptureKind, QString>> rows;
        for (const CaptureItem &item : database.recent())
            rows.append({item.kind, item.path});
        return rows;
    }
    // The part of the grab under a region given in points.
    QImage grabbed(QRectF points) const
    {
        const qreal r = screen->devicePixelRatio();
        return grabber.image.copy(QRectF(points.topLeft() * r, points.size() * r).toRect());
    }

    QScreen *screen = QGuiApplication::primaryScreen();
    QTemporaryDir root;
    FakeScreenGrabber grabber;
    FakeScreenEnvironment screens;
    FakeClipboard clipboard;
    HistoryDatabase database{root.path()};
    CaptureService service{database, clipboard, root.path(), desktop()};
    FakeHost host;
    FakeEditorLauncher editors;
    WindowExitWatcher windowExits;
    RegionSelectorSlot selector{screens};
    QStringList statuses, ended;
    QList<QScreen *> finishedOn;
    int historyChanges = 0;
};
