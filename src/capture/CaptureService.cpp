#include "capture/CaptureService.h"

CaptureService::CaptureService(HistoryDatabase &database, QString rootFolder, QObject *parent)
    : QObject(parent), m_database(database), m_rootFolder(std::move(rootFolder))
{
}

void CaptureService::report(const QString &text)
{
    if (onStatus)
        onStatus(text);
}
