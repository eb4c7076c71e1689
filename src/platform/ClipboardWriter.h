#pragma once

#include <QMimeData>
#include <memory>

// The clipboard as the app sees it: the system clipboard in the app, a recorder in tests.
// GUI thread only.
class ClipboardWriter {
public:
    virtual ~ClipboardWriter() = default;
    // Replaces the clipboard's contents with this one entry; false when it was refused.
    virtual bool write(std::unique_ptr<QMimeData> data) = 0;
    // What the clipboard holds now, owned by the clipboard; null when it is empty.
    virtual const QMimeData *contents() const = 0;
};
