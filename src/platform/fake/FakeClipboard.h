#pragma once

#include "platform/ClipboardWriter.h"

#include <memory>
#include <vector>

// Keeps every entry written instead of touching the system clipboard; the last is the contents.
class FakeClipboard : public ClipboardWriter {
public:
    bool write(std::unique_ptr<QMimeData> data) override
    {
        entries.push_back(std::move(data));
        return true;
    }
    const QMimeData *contents() const override { return entries.empty() ? nullptr : entries.back().get(); }

    std::vector<std::unique_ptr<QMimeData>> entries;
};
