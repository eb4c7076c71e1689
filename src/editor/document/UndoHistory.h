#pragma once

#include "editor/document/UndoStep.h"

#include <deque>

// The undo and redo stacks. A step is opened by push() before an edit and collects every
// change until the next push, undo, redo or close(); changes made with no step open open
// one, so no pixel is ever changed without a way back. The top step of each stack also
// keeps its reverse packed, so an undo or redo right after an edit, or back and forth,
// only unpacks.
class UndoHistory {
public:
    static constexpr int capacity = 30;

    // Opens a new undo step for `current` and forgets what could be redone. Beyond
    // `capacity` steps the oldest is dropped.
    void push(const QImage &current);
    // Closes the open step, if any: unchanged tiles are dropped and the rest packed.
    void close(const QImage &current);

    // Call before drawing into `image` under `pixels`.
    void recordBefore(const QImage &image, const QRect &pixels);
    // The same for edits that rewrite nearly every pixel they touch: packs at once.
    void recordPackedBefore(const QImage &image, const QRect &pixels);
    // Call before `before` is replaced by `after`.
    void recordReplace(const QImage &before, const QImage &after);

    // Step back or forward; false (and nothing changes) when there is nothing to take.
    // `changed` receives the pixels that were rewritten.
    bool undo(QImage &image, QRegion *changed = nullptr);
    bool redo(QImage &image, QRegion *changed = nullptr);

    bool canUndo() const { return !undo_.empty(); }
    bool canRedo() const { return !redo_.empty(); }
    int undoCount() const { return int(undo_.size()); }
    int redoCount() const { return int(redo_.size()); }
    // Bytes held by both stacks, packed tiles and bookkeeping.
    size_t memoryBytes() const;

private:
    void ensureOpen(const QImage &current);
    static bool move(std::deque<UndoStep> &from, std::deque<UndoStep> &to, QImage &image, QRegion *changed);

    std::deque<UndoStep> undo_;
    std::deque<UndoStep> redo_;
    bool open_ = false;
};
