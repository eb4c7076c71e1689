#include "ui/HistoryTableModel.h"

#include "ui/Theme.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QThread>

#include <algorithm>

HistoryTableModel::HistoryTableModel(QObject *parent)
    : QAbstractTableModel(parent),
      m_tile{QSize(92, 54), qGuiApp->devicePixelRatio(), Theme::windowBackground(), {}}
{
    // Leave a core for the GUI thread.
    m_workers.setMaxThreadCount(std::max(1, QThread::idealThreadCount() - 1));
}

HistoryTableModel::~HistoryTableModel()
{
    // A running worker still posts to this object; waiting for it keeps that post valid.
    m_workers.clear();
    m_workers.waitForDone();
}

void HistoryTableModel::setItems(QList<CaptureItem> items)
{
    QList<TileKey> keys;
    keys.reserve(items.size());
    QHash<QString, MadeTile> kept;
    for (const CaptureItem &item : items) {
        const QFileInfo info(item.path);
        keys.append({item.path, info.lastModified().toMSecsSinceEpoch(), info.size()});
        if (auto tile = m_tiles.constFind(item.path); tile != m_tiles.constEnd())
            kept.insert(item.path, *tile);
    }
    beginResetModel();
    m_items = std::move(items);
    m_keys = std::move(keys);
    m_tiles = std::move(kept);
    endResetModel();
    for (qsizetype row = 0; row < m_items.size(); ++row)
        request(m_items.at(row), m_keys.at(row));
}

void HistoryTableModel::request(const CaptureItem &item, const TileKey &key)
{
    const auto made = m_tiles.constFind(key.path);
    if ((made != m_tiles.constEnd() && made->key == key) || m_pending.contains(key))
        return;
    m_pending.insert(key);
    m_workers.start([this, item, key, tile = m_tile] {
        const QImage image = ThumbnailMaker::image(item, tile);
        QMetaObject::invokeMethod(this, [this, key, image] { tileArrived(key, image); }, Qt::QueuedConnection);
    });
}

// The rows may have been replaced since the request: the tile goes to whichever rows still
// show that file as it was, and is dropped when none does.
void HistoryTableModel::tileArrived(const TileKey &key, const QImage &image)
{
    m_pending.remove(key);
    if (!m_keys.contains(key))
        return;
    m_tiles.insert(key.path, {key, image});
    for (qsizetype row = 0; row < m_keys.size(); ++row) {
        if (m_keys.at(row) == key) {
            const QModelIndex cell = index(int(row), thumb);
            emit dataChanged(cell, cell, {Qt::DecorationRole});
        }
    }
}

int HistoryTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_items.size());
}

int HistoryTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : Column::columnTotal;
}

QVariant HistoryTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_items.size())
        return {};
    const CaptureItem &item = m_items.at(index.row());
    if (role == Qt::DecorationRole && index.column() == thumb) {
        const QImage tile = m_tiles.value(item.path).image;
        return tile.isNull() ? QVariant() : QVariant(tile);
    }
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    switch (index.column()) {
    case type:
        return item.kind == CaptureKind::screenshot ? QStringLiteral("Ảnh") : QStringLiteral("Video");
    case date:
        return item.createdAt.toLocalTime().toString(QStringLiteral("dd/MM/yyyy HH:mm:ss"));
    case file:
        return role == Qt::ToolTipRole ? item.path : QFileInfo(item.path).fileName();
    default:
        return {};
    }
}

QVariant HistoryTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    static const char *const titles[] = {"Xem trước", "Loại", "Thời gian", "Tệp"};
    return section >= 0 && section < Column::columnTotal ? QString::fromUtf8(titles[section]) : QVariant();
}
