#pragma once

#include "editor/EditorTestImages.h"
#include "editor/window/EditorFileChooser.h"

#include <QApplication>
#include <QColor>
#include <QImage>
#include <QMouseEvent>
#include <QRect>
#include <QString>
#include <QWidget>

#include <gmock/gmock.h>

#include <functional>

namespace EditorWindowTestSupport {

using namespace EditorTestImages;

// The smallest rectangle holding every pixel for which `ink` is true; empty when none.
inline QRect inkBounds(const QImage &image, const std::function<bool(QRgb)> &ink)
{
    QRect bounds;
    for (int y = 0; y < image.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (ink(row[x]))
                bounds |= QRect(x, y, 1, 1);
        }
    }
    return bounds;
}

inline bool isReddish(QRgb pixel)
{
    return qRed(pixel) > 180 && qGreen(pixel) < 150 && qBlue(pixel) < 150;
}

// A mouse event at a global position, with modifiers held (Qt Test's move helper takes
// none). The widget may have moved since the press, as the pointer has not.
inline void sendMouseAt(QWidget *widget, QEvent::Type type, QPointF global, Qt::MouseButtons buttons,
                        Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    const QPointF local = widget->mapFromGlobal(global);
    const QPointF scene = widget->mapTo(widget->window(), local);
    QMouseEvent event(type, local, scene, global, button, buttons, modifiers);
    QApplication::sendEvent(widget, &event);
}

// A press at `from` (widget coordinates), a few moves towards `to` and the release, as a
// pointer that travels by `to - from` on the screen.
inline void drag(QWidget *widget, QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    const QPointF start = widget->mapToGlobal(QPointF(from));
    const QPointF travel(to - from);
    sendMouseAt(widget, QEvent::MouseButtonPress, start, Qt::LeftButton, modifiers);
    for (int i = 1; i <= 3; ++i)
        sendMouseAt(widget, QEvent::MouseMove, start + travel * i / 3, Qt::LeftButton, modifiers);
    sendMouseAt(widget, QEvent::MouseButtonRelease, start + travel, Qt::NoButton, modifiers);
}

// File dialogues whose answers each test scripts.
struct MockFileChooser : EditorFileChooser {
    MOCK_METHOD(QString, chooseImageToInsert, (QWidget *), (override));
    MOCK_METHOD(QString, choosePngDestination, (QWidget *, const QString &, const QString &), (override));
};

} // namespace EditorWindowTestSupport
