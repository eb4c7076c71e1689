#include "capture/selector/RegionSelection.h"

#include <algorithm>
#include <cmath>

RegionSelection::RegionSelection(const QRectF &screenFrame) : m_frame(screenFrame) {}

void RegionSelection::press(const QPointF &point)
{
    if (m_finished)
        return;
    // The press itself is not clamped; only where the drag goes is.
    m_start = m_current = point;
    m_dragging = true;
}

void RegionSelection::drag(const QPointF &point)
{
    if (!m_dragging || m_finished)
        return;
    m_current = clamped(point);
}

void RegionSelection::release(const QPointF &point)
{
    if (!m_dragging || m_finished)
        return;
    m_dragging = false;
    m_current = clamped(point);
    const QRectF r = rect();
    if (r.width() >= minimumSide && r.height() >= minimumSide)
        finish(r.translated(m_frame.topLeft()));
}

void RegionSelection::cancel()
{
    m_dragging = false;
    finish(std::nullopt);
}

QRectF RegionSelection::rect() const
{
    return QRectF(QPointF(std::min(m_start.x(), m_current.x()), std::min(m_start.y(), m_current.y())),
                  QSizeF(std::abs(m_start.x() - m_current.x()), std::abs(m_start.y() - m_current.y())));
}

QPointF RegionSelection::clamped(const QPointF &point) const
{
    const QPointF global = point + m_frame.topLeft();
    const QPointF inside(std::clamp(global.x(), m_frame.left(), m_frame.left() + m_frame.width()),
                         std::clamp(global.y(), m_frame.top(), m_frame.top() + m_frame.height()));
    return inside - m_frame.topLeft();
}

void RegionSelection::finish(std::optional<QRectF> result)
{
    if (m_finished)
        return;
    m_finished = true;
    // The owner may destroy this object from inside its completion.
    const Completion completion = onComplete;
    if (completion)
        completion(result);
}
