#pragma once

#include "platform/ClipboardWriter.h"

// Qt's clipboard, which on X11 serves the selection to other clients.
class SystemClipboard : public ClipboardWriter {
public:
    bool write(std::unique_ptr<QMimeData> data) override;
    const QMimeData *contents() const override;
};
