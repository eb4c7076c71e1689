#include "storage/AtomicFile.h"

#include <QSaveFile>

namespace AtomicFile {

bool write(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // Qt 6.4's commit() reports success when its final flush hits a full disk, leaving an
    // empty file under the real name; flushing first makes that failure ours to see.
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

} // namespace AtomicFile
