#include "capture/CaptureTestDoubles.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

TEST(CaptureService, SavesCopiesRecordsAndReportsAScreenshot)
{
    CaptureRig rig;
    QImage image = coordinateImage({200, 100});   // a 100 × 50 point region cut at scale 2
    image.setDevicePixelRatio(2.0);
    const auto path = rig.service.saveScreenshot(image);
    ASSERT_TRUE(path);
    const QFileInfo file(*path);
    EXPECT_EQ(file.absolutePath(), QDir(rig.desktop()).absolutePath());
    EXPECT_TRUE(QRegularExpression("^Screenshot_\\d{4}-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\d\\.png$")
                    .match(file.fileName()).hasMatch()) << file.fileName().toStdString();
    EXPECT_EQ(QImage(*path, "PNG").convertToFormat(QImage::Format_RGB32), image);

    QFile bytes(*path);
    ASSERT_TRUE(bytes.open(QIODevice::ReadOnly));
    ASSERT_EQ(rig.clipboard.entries.size(), 1u);
    EXPECT_EQ(rig.clipboard.entries[0]->data("image/png"), bytes.readAll());
    EXPECT_TRUE(rig.clipboard.entries[0]->hasFormat("image/tiff"));
    const QList<CaptureItem> rows = rig.database.recent();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].kind, CaptureKind::screenshot);
    EXPECT_EQ(rows[0].path, *path);
    EXPECT_EQ(rig.historyChanges, 1);
    EXPECT_EQ(rig.statuses, QStringList{CaptureService::savedPrefix + file.fileName()});

    // Another in the same second gets a name of its own instead of overwriting.
    const auto second = rig.service.saveScreenshot(image);
    ASSERT_TRUE(second);
    EXPECT_NE(*second, *path);
    EXPECT_EQ(rig.desktopFiles().size(), 2);
}

TEST(CaptureService, AFailedWriteLeavesNoTrace)
{
    CaptureRig rig;
    QFile blocker(rig.desktop());   // a file where the Desktop folder should be
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    EXPECT_FALSE(rig.service.saveScreenshot(coordinateImage({10, 10})));
    EXPECT_FALSE(rig.service.replaceScreenshot(coordinateImage({10, 10}), rig.desktop() + "/x.png"));
    EXPECT_TRUE(rig.clipboard.entries.empty());
    EXPECT_TRUE(rig.database.recent().isEmpty());
    EXPECT_EQ(rig.historyChanges, 0);
    EXPECT_TRUE(rig.statuses.isEmpty());
}

} // namespace
