#include "platform/ScreenEnvironment.h"

#include "platform/ScreenGeometry.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

QList<QScreen *> ScreenEnvironment::screens() const
{
    return QGuiApplication::screens();
}

QScreen *ScreenEnvironment::primaryScreen() const
{
    return QGuiApplication::primaryScreen();
}

QPoint ScreenEnvironment::cursorPosition() const
{
    return QCursor::pos();
}

QScreen *ScreenEnvironment::screenContaining(const QPoint &point) const
{
    const QList<QScreen *> list = screens();
    QList<QRectF> frames;
    frames.reserve(list.size());
    for (QScreen *screen : list)
        frames.append(QRectF(screen->geometry()));
    std::optional<qsizetype> mainIndex;
    if (const qsizetype i = list.indexOf(primaryScreen()); i >= 0)
        mainIndex = i;
    const auto index = ScreenGeometry::screenIndexContaining(frames, QPointF(point), mainIndex);
    return index ? list[*index] : nullptr;
}

std::optional<QPoint> ScreenEnvironment::centredTopLeft(const QSize &frameSize, QScreen *screen) const
{
    QScreen *target = screen ? screen : screenUnderCursor();
    if (!target)
        return std::nullopt;
    return ScreenGeometry::centredTopLeft(frameSize, target->availableGeometry());
}
