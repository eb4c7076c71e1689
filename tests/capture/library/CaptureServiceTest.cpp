#include "capture/CaptureTestDoubles.h"

#include <QFile>
#include <QFileInfo>
#include <gmock/gmock.h>

TEST(CaptureService, SavesCopiesRecordsAndReportsAScreenshot)
{
    CaptureRig rig;
    QImage image = coordinateImage({200, 100});   // a 100 × 50 point region cut at scale 2
    image.setDevicePixelRatio(2.0);
    const QString path = rig.service.saveScreenshot(image).value_or(QString()), name = QFileInfo(path).fileName();
    EXPECT_EQ(path, rig.onlyDesktopFile());
    EXPECT_THAT(name.toStdString(), testing::MatchesRegex(R"(Screenshot_[0-9]{4}-[0-9]{2}-[0-9]{2}_[0-9]{2}-[0-9]{2}-[0-9]{2}\.png)"));
    EXPECT_EQ(QImage(path, "PNG").convertToFormat(QImage::Format_RGB32), image);

    // The clipboard offers the file's own bytes, and the same pixels as TIFF.
    QFile bytes(path);
    ASSERT_TRUE(bytes.open(QIODevice::ReadOnly));
    ASSERT_EQ(rig.clipboard.entries.size(), 1u);
    const QMimeData &copied = *rig.clipboard.entries[0];
    EXPECT_EQ(copied.formats(), (QStringList{"image/png", "image/tiff"}));
    EXPECT_EQ(copied.data("image/png"), bytes.readAll());
    EXPECT_EQ(QImage::fromData(copied.data("image/tiff"), "TIFF").convertToFormat(QImage::Format_RGB32), image);
    EXPECT_EQ(std::tuple(rig.history(), rig.historyChanges, rig.statuses),
              std::tuple(QList{std::pair(CaptureKind::screenshot, path)}, 1, QStringList{CaptureService::savedPrefix + name}));

    // Another in the same second gets a name of its own instead of overwriting.
    EXPECT_NE(rig.service.saveScreenshot(image).value_or(path), path);
    EXPECT_EQ(rig.desktopFiles().size(), 2);
}

TEST(CaptureService, AFailedWriteLeavesNoTrace)
{
    CaptureRig rig;
    QFile(rig.desktop()).open(QIODevice::WriteOnly);   // a file where the Desktop folder should be
    EXPECT_FALSE(rig.service.saveScreenshot(coordinateImage({10, 10})));
    EXPECT_FALSE(rig.service.replaceScreenshot(coordinateImage({10, 10}), rig.desktop() + "/x.png"));
    EXPECT_TRUE(rig.clipboard.entries.empty() && rig.history().isEmpty() && rig.statuses.isEmpty() && !rig.historyChanges);
}
