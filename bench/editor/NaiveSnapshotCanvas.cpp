#include "NaiveSnapshotCanvas.h"

#include <QPainter>

void NaiveSnapshotCanvas::pushUndo()
{
    undo_.push_back(image_.copy());
    if (undo_.size() > 30)
        undo_.pop_front();
    redo_.clear();
}

void NaiveSnapshotCanvas::drawSegment(const QLineF &segment, const QPen &pen)
{
    QImage copy = image_.copy();
    {
        QPainter p(&copy);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(pen);
        p.drawLine(segment);
    }
    image_ = copy;
}

void NaiveSnapshotCanvas::drawRectangle(const QRectF &rect, const QPen &pen)
{
    pushUndo();
    QImage copy = image_.copy();
    {
        QPainter p(&copy);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(pen);
        p.drawRect(rect);
    }
    image_ = copy;
}

void NaiveSnapshotCanvas::applyFilter(const std::function<QImage(const QImage &)> &filter)
{
    const QImage next = filter(image_);
    pushUndo();
    image_ = next;
}

bool NaiveSnapshotCanvas::step(std::deque<QImage> &from, std::deque<QImage> &to)
{
    if (from.empty())
        return false;
    to.push_back(image_.copy());
    image_ = from.back();
    from.pop_back();
    return true;
}

size_t NaiveSnapshotCanvas::undoMemoryBytes() const
{
    size_t bytes = 0;
    for (const QImage &i : undo_)
        bytes += size_t(i.sizeInBytes());
    for (const QImage &i : redo_)
        bytes += size_t(i.sizeInBytes());
    return bytes;
}
