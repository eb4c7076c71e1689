#include "ui/HistoryTableModel.h"

#include <QFileInfo>
#include <QImageReader>

void HistoryTableModel::setItems(QList<CaptureItem> items)
{
    beginResetModel();
    m_items = std::move(items);
    m_thumbnails.clear();
    endResetModel();
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
    if (role == Qt::DecorationRole && index.column() == thumb)
        return thumbnail(item);
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

QImage HistoryTableModel::thumbnail(const CaptureItem &item) const
{
    auto cached = m_thumbnails.constFind(item.path);
    if (cached != m_thumbnails.constEnd())
        return *cached;
    QImage image;
    if (item.kind == CaptureKind::screenshot) {
        // Decode straight to the tile size: full-size screenshots are large.
        QImageReader reader(item.path);
        const QSize full = reader.size();
        if (full.isValid()) {
            reader.setScaledSize(full.scaled(92, 54, Qt::KeepAspectRatio));
            image = reader.read();
        }
    }
    m_thumbnails.insert(item.path, image);
    return image;
}
