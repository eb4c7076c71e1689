#include "ui/HistoryTableModel.h"
#include "support/TestFiles.h"

#include <QSignalSpy>
#include <QTest>

#include <filesystem>

namespace {

// The colour in the middle of the row's tile; empty while there is none.
QString look(const HistoryTableModel &model, int row)
{
    const QImage tile = model.data(model.index(row, HistoryTableModel::thumb), Qt::DecorationRole).value<QImage>();
    if (tile.isNull())
        return {};
    EXPECT_EQ(tile.deviceIndependentSize(), QSizeF(92, 54));
    return tile.pixelColor(tile.width() / 2, tile.height() / 2).name();
}

TEST(HistoryTableModel, TilesArriveLaterOnTheirOwnRowsAndAnOverwriteRemakesOnlyThatOne)
{
    QTemporaryDir dir;
    const QString wide = dir.filePath("wide.png"), square = dir.filePath("square.png");
    ASSERT_TRUE(filled({1600, 400}, Qt::red).save(wide));
    ASSERT_TRUE(filled({50, 50}, Qt::blue).save(square));
    const auto items = [](const QStringList &paths) {
        QList<CaptureItem> list;
        for (const QString &path : paths)
            list.append({1, CaptureKind::screenshot, path, QDateTime::currentDateTimeUtc()});
        return list;
    };
    HistoryTableModel model;
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.setItems(items({wide, square}));
    // A reload in the same turn: tiles asked for by the first must land by file, not by row.
    model.setItems(items({square, wide}));
    EXPECT_TRUE(look(model, 0).isEmpty() && look(model, 1).isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !look(model, 0).isEmpty() && !look(model, 1).isEmpty(); }, 10000));
    EXPECT_EQ(changed.count(), 2);
    const QString blue = QColor(Qt::blue).name(), red = QColor(Qt::red).name();
    EXPECT_EQ(QStringList({look(model, 0), look(model, 1)}), QStringList({blue, red}));

    // The editor saves over the same path; a later time stamp is what a real save leaves.
    ASSERT_TRUE(filled({50, 50}, Qt::green).save(square));
    std::filesystem::last_write_time(square.toStdString(), std::filesystem::file_time_type::clock::now() + std::chrono::seconds(5));
    changed.clear();
    model.setItems(items({square, wide}));
    EXPECT_EQ(QStringList({look(model, 0), look(model, 1)}), QStringList({blue, red})); // the old tile until the new one is made
    EXPECT_TRUE(QTest::qWaitFor([&] { return look(model, 0) == QColor(Qt::green).name(); }, 10000));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].value<QModelIndex>(), model.index(0, HistoryTableModel::thumb));
}

} // namespace
