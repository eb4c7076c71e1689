#include "editor/document/UndoHistory.h"

void UndoHistory::push(const QImage &current)
{
    close(current);
    if (!undo_.empty())
        undo_.back().dropReverse();
    undo_.emplace_back(current.size());
    if (int(undo_.size()) > capacity)
        undo_.pop_front();
    redo_.clear();
    open_ = true;
}

void UndoHistory::close(const QImage &current)
{
    if (!open_)
        return;
    open_ = false;
    if (undo_.empty())
        return;
    undo_.back().finish(current);
    // Undo usually follows an edit soon: pack its after-image now, while the edit is done.
    undo_.back().keepReverse(current);
}

void UndoHistory::ensureOpen(const QImage &current)
{
    if (!open_ || undo_.empty())
        push(current);
}

void UndoHistory::recordBefore(const QImage &image, const QRect &pixels)
{
    ensureOpen(image);
    undo_.back().recordBefore(image, pixels);
}

void UndoHistory::recordPackedBefore(const QImage &image, const QRect &pixels)
{
    ensureOpen(image);
    undo_.back().recordPackedBefore(image, pixels);
}

void UndoHistory::recordReplace(const QImage &before, const QImage &after)
{
    ensureOpen(before);
    if (before.size() == after.size())
        undo_.back().recordDifferences(before, after);
    else
        undo_.back().recordWhole(before);
}

bool UndoHistory::move(std::deque<UndoStep> &from, std::deque<UndoStep> &to, QImage &image, QRegion *changed)
{
    if (from.empty())
        return false;
    UndoStep step = std::move(from.back());
    from.pop_back();
    UndoStep reverse = step.restore(image, changed);
    // What was just restored is exactly what the reverse would have to pack to go back.
    reverse.keepReverse(std::move(step));
    if (!to.empty())
        to.back().dropReverse(); // only the top of each stack keeps one
    to.push_back(std::move(reverse));
    return true;
}

bool UndoHistory::undo(QImage &image, QRegion *changed)
{
    close(image);
    return move(undo_, redo_, image, changed);
}

bool UndoHistory::redo(QImage &image, QRegion *changed)
{
    close(image);
    return move(redo_, undo_, image, changed);
}

size_t UndoHistory::memoryBytes() const
{
    size_t bytes = 0;
    for (const UndoStep &step : undo_)
        bytes += step.memoryBytes();
    for (const UndoStep &step : redo_)
        bytes += step.memoryBytes();
    return bytes;
}
