#include "capture/CaptureTestDoubles.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

TEST(CaptureService, SavesCopiesRecordsAndReportsAScreenshot)
{
    CaptureRig rig;
    QImage image = coordinateImage({200, 100});   // a 100 × 50 point region cut at scale 2
    image.setDevicePixelRatio(2.0);
    const QString path = rig.service.saveScreenshot(image).value_or(QString());
    EXPECT_EQ(path, rig.onlyDesktopFile());
    const QString name = QFileInfo(path).fileName();
    EXPECT_TRUE(QRegularExpression("^Screenshot_\\d{4}-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\d\\.png$").match(name).hasMatch()) << name.toStdString();
    EXPECT_EQ(QImage(path, "PNG").convertToFormat(QImage::Format_RGB32), image);

    QFile bytes(path);
    ASSERT_TRUE(bytes.open(QIODevice::ReadOnly));
    ASSERT_EQ(rig.clipboard.entries.size(), 1u);
    EXPECT_EQ(rig.clipboard.entries[0]->data("image/png"), bytes.readAll());
    EXPECT_TRUE(rig.clipboard.entries[0]->hasFormat("image/tiff"));
    const QList<CaptureItem> rows = rig.database.recent();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(std::pair(rows[0].kind, rows[0].path), std::pair(CaptureKind::screenshot, path));
    EXPECT_EQ(rig.historyChanges, 1);
    EXPECT_EQ(rig.statuses, QStringList{CaptureService::savedPrefix + name});

    // Another in the same second gets a name of its own instead of overwriting.
    const auto second = rig.service.saveScreenshot(image);
    EXPECT_NE(second.value_or(path), path);
    EXPECT_EQ(rig.desktopFiles().size(), 2);
}

TEST(CaptureService, AFailedWriteLeavesNoTrace)
{
    CaptureRig rig;
    QFile(rig.desktop()).open(QIODevice::WriteOnly);   // a file where the Desktop folder should be
    EXPECT_FALSE(rig.service.saveScreenshot(coordinateImage({10, 10})));
    EXPECT_FALSE(rig.service.replaceScreenshot(coordinateImage({10, 10}), rig.desktop() + "/x.png"));
    EXPECT_TRUE(rig.clipboard.entries.empty());
    EXPECT_TRUE(rig.database.recent().isEmpty());
    EXPECT_EQ(rig.historyChanges, 0);
    EXPECT_TRUE(rig.statuses.isEmpty());
}
