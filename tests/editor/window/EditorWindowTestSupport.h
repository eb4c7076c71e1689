#pragma once

#include "editor/EditorTestImages.h"
#include "editor/canvas/EditorCanvasView.h"
#include "editor/overlays/CanvasOverlays.h"
#include "editor/overlays/EditableImageOverlayView.h"
#include "editor/overlays/EditableTextOverlayView.h"
#include "editor/overlays/OverlayPointerView.h"
#include "editor/window/EditorFileChooser.h"

#include <QApplication>
#include <QMouseEvent>
#include <QTest>

#include <gmock/gmock.h>

#include <memory>

// A press at `from` (widget coordinates), a few moves towards `to` and the release, as a
// pointer that travels by `to - from` on the screen, with modifiers held (Qt Test's move
// helper takes none). The widget may move under the pointer, as the pointer does not.
inline void drag(QWidget *widget, QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    const QPointF start = widget->mapToGlobal(QPointF(from)), travel(to - from);
    const auto send = [&](QEvent::Type type, QPointF global, Qt::MouseButtons buttons) {
        const QPointF local = widget->mapFromGlobal(global);
        QMouseEvent event(type, local, widget->mapTo(widget->window(), local), global,
                          type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, buttons, modifiers);
        QApplication::sendEvent(widget, &event);
    };
    send(QEvent::MouseButtonPress, start, Qt::LeftButton);
    for (int i = 1; i <= 3; ++i)
        send(QEvent::MouseMove, start + travel * i / 3, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, start + travel, Qt::NoButton);
}

// A canvas shown in its own window, with its floating text and image boxes.
class CanvasTest : public ::testing::Test {
protected:
    void open(const QImage &image, qreal zoom = 1.0)
    {
        canvas = std::make_unique<EditorCanvasView>(image);
        overlays = new CanvasOverlays(*canvas);
        canvas->model().setZoom(zoom);
        canvas->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(canvas.get()));
    }
    EditorCanvasModel &model() { return canvas->model(); }

    std::unique_ptr<EditorCanvasView> canvas;
    CanvasOverlays *overlays = nullptr;
};

// File dialogues whose answers each test scripts.
struct MockFileChooser : EditorFileChooser {
    MOCK_METHOD(QString, chooseImageToInsert, (QWidget *), (override));
    MOCK_METHOD(QString, choosePngDestination, (QWidget *, const QString &, const QString &), (override));
};
