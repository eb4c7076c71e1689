#include "platform/SystemClipboard.h"

#include <QClipboard>
#include <QGuiApplication>

bool SystemClipboard::write(std::unique_ptr<QMimeData> data)
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (!clipboard)
        return false;
    // The clipboard takes ownership of the entry.
    clipboard->setMimeData(data.release());
    return true;
}

const QMimeData *SystemClipboard::contents() const
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    return clipboard ? clipboard->mimeData() : nullptr;
}
