#include "capture/selector/RegionSelectorView.h"

#include "capture/selector/RegionSelectorPainter.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

RegionSelectorView::RegionSelectorView(const QRectF &screenFrame, QImage frozen, QString prompt,
                                       QWidget *parent)
    : QWidget(parent), m_selection(screenFrame), m_frozen(std::move(frozen)),
      m_prompt(prompt.isEmpty() ? defaultPrompt : std::move(prompt))
{
    setMouseTracking(false);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::CrossCursor);
    if (m_frozen.isNull()) {
        setAttribute(Qt::WA_TranslucentBackground);
    } else {
        // Every pixel is painted from the frozen image; skip clearing the backing store.
        setAttribute(Qt::WA_OpaquePaintEvent);
        setAttribute(Qt::WA_NoSystemBackground);
    }
}

std::optional<QRectF> RegionSelectorView::shownSelection() const
{
    if (!m_selection.isDragging())
        return std::nullopt;
    return m_selection.rect();
}

void RegionSelectorView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    RegionSelectorPainter::paint(painter, QRectF(rect()), m_frozen, m_prompt, shownSelection(),
                                 font());
}

void RegionSelectorView::repaintChanged(const std::optional<QRectF> &before)
{
    const std::optional<QRectF> after = shownSelection();
    if (before.has_value() != after.has_value()) {
        update();   // the prompt appears or goes
        return;
    }
    if (!after)
        return;
    const QRectF dirty = RegionSelectorPainter::selectionFootprint(*before, font())
                             .united(RegionSelectorPainter::selectionFootprint(*after, font()));
    update(dirty.toAlignedRect().adjusted(-1, -1, 1, 1));
}

void RegionSelectorView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const auto before = shownSelection();
    m_selection.press(event->position());
    repaintChanged(before);
}

void RegionSelectorView::mouseMoveEvent(QMouseEvent *event)
{
    const auto before = shownSelection();
    m_selection.drag(event->position());
    repaintChanged(before);
}

void RegionSelectorView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const auto before = shownSelection();
    m_selection.release(event->position());
    // A completed selection may already have torn the window down.
    if (!m_selection.isFinished())
        repaintChanged(before);
}

void RegionSelectorView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        m_selection.cancel();
        return;
    }
    QWidget::keyPressEvent(event);
}
