#pragma once

#include <QMimeData>
#include <memory>

// Where copied captures go: the system clipboard in the app, a recorder in tests.
class ClipboardWriter {
public:
    virtual ~ClipboardWriter() = default;
    // Replaces the clipboard's contents with this one entry; false when it was refused.
    virtual bool write(std::unique_ptr<QMimeData> data) = 0;
};

class SystemClipboard : public ClipboardWriter {
public:
    bool write(std::unique_ptr<QMimeData> data) override;
};
