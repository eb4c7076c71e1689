#pragma once

#include "storage/CaptureItem.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QImage>
#include <QList>

// The recent captures as rows: preview, kind, time, file name.
class HistoryTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { thumb, type, date, file, columnTotal };

    using QAbstractTableModel::QAbstractTableModel;

    void setItems(QList<CaptureItem> items);
    const QList<CaptureItem> &items() const { return m_items; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QImage thumbnail(const CaptureItem &item) const;

    QList<CaptureItem> m_items;
    mutable QHash<QString, QImage> m_thumbnails;   // reset with every reload
};
