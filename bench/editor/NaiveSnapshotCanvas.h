#pragma once

#include <QImage>
#include <QLineF>
#include <QPen>
#include <QRectF>

#include <deque>
#include <functional>

// The straightforward design, for comparison only: every edit deep-copies the whole image,
// draws into the copy and replaces the image, and every undo step is a full snapshot.
class NaiveSnapshotCanvas {
public:
    explicit NaiveSnapshotCanvas(const QImage &image) : image_(image.copy()) {}

    const QImage &image() const { return image_; }
    void pushUndo();
    void drawSegment(const QLineF &segment, const QPen &pen);
    void drawRectangle(const QRectF &rect, const QPen &pen);
    void applyFilter(const std::function<QImage(const QImage &)> &filter);
    bool canUndo() const { return !undo_.empty(); }
    bool undo() { return step(undo_, redo_); }
    bool redo() { return step(redo_, undo_); }
    size_t undoMemoryBytes() const;

private:
    bool step(std::deque<QImage> &from, std::deque<QImage> &to);

    QImage image_;
    std::deque<QImage> undo_;
    std::deque<QImage> redo_;
};
