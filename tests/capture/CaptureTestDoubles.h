#pragma once

#include "capture/ClipboardWriter.h"
#include "capture/ScreenEnvironment.h"

#include <QGuiApplication>
#include <QList>
#include <QMimeData>
#include <QScreen>
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
