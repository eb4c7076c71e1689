#pragma once

#include "storage/CaptureItem.h"
#include "storage/ThumbnailMaker.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QImage>
#include <QList>
#include <QSet>
#include <QThreadPool>

// The recent captures as rows: preview, kind, time, file name. Thumbnails are made on a
// worker pool and each cell is updated when its tile arrives; until then it shows the file's
// previous tile, or none. All members belong to the GUI thread; workers only post back to it.
class HistoryTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { thumb, type, date, file, columnTotal };

    explicit HistoryTableModel(QObject *parent = nullptr);
    ~HistoryTableModel() override;

    void setItems(QList<CaptureItem> items);
    // How video rows get their picture; set before the first rows.
    void setVideoFrameReader(std::function<QImage(const QString &, double)> reader) { m_tile.videoFrame = std::move(reader); }
    const QList<CaptureItem> &items() const { return m_items; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    // A file as it was when its row was loaded: an overwrite changes the key, so the
    // tile is made again.
    struct TileKey {
        QString path;
        qint64 modified = 0;   // ms since the epoch: cheap to compare, unlike a local QDateTime
        qint64 size = 0;
        bool operator==(const TileKey &) const = default;
    };
    friend size_t qHash(const TileKey &key, size_t seed) { return qHashMulti(seed, key.path, key.modified, key.size); }

    struct MadeTile {
        TileKey key;
        QImage image;
    };

    void request(const CaptureItem &item, const TileKey &key);
    void tileArrived(const TileKey &key, const QImage &image);

    ThumbnailMaker::Tile m_tile;
    QList<CaptureItem> m_items;
    QList<TileKey> m_keys;                // one per row
    QHash<QString, MadeTile> m_tiles;     // by path, only the current rows' files
    QSet<TileKey> m_pending;
    QThreadPool m_workers;
};
