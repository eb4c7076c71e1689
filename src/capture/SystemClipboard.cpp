#include "capture/ClipboardWriter.h"

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
