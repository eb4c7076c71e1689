#include "storage/CaptureFileNaming.h"
#include "ScopedEnv.h"
#include "support/TestFiles.h"

#include <QTimeZone>

namespace {

TEST(CaptureFileNaming, StampsInLocalTimeAndCountsOnlyWhileTheNameIsTaken)
{
    const QDateTime now(QDate(2026, 11, 16), QTime(18, 23, 47), QTimeZone::utc());
    const QString stem = "Screenshot_2026-11-16_18-23-47";
    struct Case { const char *label; QByteArray zone; QStringList existing; QString prefix, extension, expected; };
    const Case cases[] = {
        {"taken twice", "UTC0", {stem + ".png", stem + "_1.png"}, "Screenshot", "png", stem + "_2.png"},
        {"gap refills _1", "UTC0", {stem + ".png", stem + "_2.png"}, "Screenshot", "png", stem + "_1.png"},
        {"numbered only: base is free", "UTC0", {stem + "_1.png", stem + "_2.png"}, "Screenshot", "png", stem + ".png"},
        {"another second starts over", "UTC0", {"Screenshot_2026-11-16_18-23-46.png", "Screenshot_2026-11-16_18-23-46_1.png"},
         "Screenshot", "png", stem + ".png"},
        {"other prefix and extension do not collide", "UTC0", {"ScrollingCapture_2026-11-16_18-23-47.png", stem + ".mp4"},
         "Screenshot", "png", stem + ".png"},
        {"a folder of that name counts", "UTC0", {stem + ".png/"}, "Screenshot", "png", stem + "_1.png"},
        {"recording", "UTC0", {"Recording_2026-11-16_18-23-47.mp4"}, "Recording", "mp4", "Recording_2026-11-16_18-23-47_1.mp4"},
        {"east of UTC", "ICT-7", {}, "Screenshot", "png", "Screenshot_2026-11-17_01-23-47.png"},
        {"west of UTC", "EST5", {}, "Screenshot", "png", "Screenshot_2026-11-16_13-23-47.png"},
        {"a zone off by 45 minutes", "NPT-5:45", {}, "Screenshot", "png", "Screenshot_2026-11-17_00-08-47.png"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        const ScopedEnv tz{{"TZ", c.zone}};
        QTemporaryDir dir;
        for (const QString &name : c.existing)   // "x/" is a folder, made as a file's parent
            writeFile(dir.filePath(name.endsWith('/') ? name + "inside" : name), {});
        const QStringList before = QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
        EXPECT_EQ(CaptureFileNaming::freePath(dir.path(), c.prefix, c.extension, now), dir.filePath(c.expected));
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), before);   // creates nothing
    }
}

} // namespace
