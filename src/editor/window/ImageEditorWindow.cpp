#include "editor/window/ImageEditorWindow.h"

#include "editor/window/EditorKeyEquivalents.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QPlainTextEdit>

ImageEditorWindow::ImageEditorWindow(QWidget *parent) : QWidget(parent, Qt::Window)
{
    setWindowTitle(titleText);
    // Key equivalents come before the focused control sees the key, as menu shortcuts do;
    // the filter only acts on keys bound for this window.
    qApp->installEventFilter(this);
}

ImageEditorWindow::~ImageEditorWindow()
{
    if (qApp)
        qApp->removeEventFilter(this);
}

bool ImageEditorWindow::performKeyEquivalent(QKeyEvent *event)
{
    const auto action = EditorKeyEquivalents::classify(event->modifiers(), event->key());
    if (action == EditorKeyEquivalents::Action::none)
        return false;
    auto *text = qobject_cast<QPlainTextEdit *>(QApplication::focusWidget());
    if (text && !text->isReadOnly() && text->window() == this) {
        if (action == EditorKeyEquivalents::Action::copy)
            text->copy();
        else
            text->paste();
        return true;
    }
    const std::function<void()> &handler =
        action == EditorKeyEquivalents::Action::copy ? saveAndCopyHandler : pasteImageHandler;
    if (handler)
        handler();
    return true;
}

bool ImageEditorWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType())
        return false;
    auto *widget = static_cast<QWidget *>(watched);
    if (widget->window() != this)
        return false;
    return performKeyEquivalent(static_cast<QKeyEvent *>(event));
}

void ImageEditorWindow::closeEvent(QCloseEvent *event)
{
    QWidget::closeEvent(event);
    if (closeHandler)
        closeHandler();
}
