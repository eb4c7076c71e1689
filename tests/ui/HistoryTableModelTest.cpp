#include "ui/HistoryTableModel.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <optional>
#include <ostream>

// Failures name the colour instead of dumping its bytes.
static void PrintTo(const QColor &colour, std::ostream *out)
{
    *out << colour.name().toStdString();
}

namespace {

bool writePng(const QString &path, QSize size, QColor colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image.save(path);
}

CaptureItem screenshotAt(const QString &path)
{
    return {1, CaptureKind::screenshot, path, QDateTime::currentDateTimeUtc()};
}

// The tile's colour in its middle and near its left and top edges, where a letter box shows.
struct TileLook {
    QColor middle, left, top;
};

std::optional<TileLook> lookAt(const HistoryTableModel &model, int row)
{
    const QImage tile = model.data(model.index(row, HistoryTableModel::thumb), Qt::DecorationRole).value<QImage>();
    if (tile.isNull())
        return std::nullopt;
    EXPECT_EQ(tile.deviceIndependentSize(), QSizeF(92, 54));
    return TileLook{tile.pixelColor(tile.width() / 2, tile.height() / 2), tile.pixelColor(2, tile.height() / 2),
                    tile.pixelColor(tile.width() / 2, 2)};
}

} // namespace

TEST(HistoryTableModel, TilesArriveLaterOnTheirOwnRowsAndAnOverwriteRemakesOnlyThatOne)
{
    QTemporaryDir dir;
    const QString wide = dir.filePath("wide.png"), square = dir.filePath("square.png");
    ASSERT_TRUE(writePng(wide, {1600, 400}, Qt::red));
    ASSERT_TRUE(writePng(square, {50, 50}, Qt::blue));

    HistoryTableModel model;
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.setItems({screenshotAt(wide), screenshotAt(square)});
    // A reload in the same turn: tiles asked for by the first must land by file, not by row.
    model.setItems({screenshotAt(square), screenshotAt(wide)});
    EXPECT_FALSE(lookAt(model, 0));
    EXPECT_FALSE(lookAt(model, 1));

    ASSERT_TRUE(QTest::qWaitFor([&] { return lookAt(model, 0) && lookAt(model, 1); }, 10000));
    EXPECT_EQ(changed.count(), 2);
    const TileLook squareTile = *lookAt(model, 0), wideTile = *lookAt(model, 1);
    EXPECT_EQ(squareTile.middle, QColor(Qt::blue));
    EXPECT_NE(squareTile.left, QColor(Qt::blue));
    EXPECT_EQ(squareTile.top, QColor(Qt::blue));
    EXPECT_EQ(wideTile.middle, QColor(Qt::red));
    EXPECT_EQ(wideTile.left, QColor(Qt::red));
    EXPECT_NE(wideTile.top, QColor(Qt::red));

    // The editor saves over the same path; a later time stamp is what a real save leaves.
    ASSERT_TRUE(writePng(square, {50, 50}, Qt::green));
    QFile file(square);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(QDateTime::currentDateTime().addSecs(5), QFileDevice::FileModificationTime));
    file.close();
    changed.clear();
    model.setItems({screenshotAt(square), screenshotAt(wide)});
    ASSERT_TRUE(lookAt(model, 0) && lookAt(model, 1));
    EXPECT_EQ(lookAt(model, 0)->middle, QColor(Qt::blue));   // the old tile until the new one is made
    EXPECT_EQ(lookAt(model, 1)->middle, QColor(Qt::red));
    EXPECT_TRUE(QTest::qWaitFor([&] { return lookAt(model, 0)->middle == QColor(Qt::green); }, 10000));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0).at(0).value<QModelIndex>(), model.index(0, HistoryTableModel::thumb));
}
