#include "storage/CaptureFileNaming.h"
#include "ScopedEnv.h"
#include "support/TestFiles.h"

#include <QTemporaryDir>
#include <QTimeZone>
#include <gtest/gtest.h>

namespace {

TEST(CaptureFileNaming, CountsOnlyWhileTheNameIsTaken)
{
    const QDateTime now(QDate(2026, 11, 16), QTime(18, 23, 47));   // local time
    const QString stem = "Screenshot_2026-11-16_18-23-47";
    struct Case { const char *label; QStringList existing; QString prefix, extension, expected; };
    const Case cases[] = {
        {"taken twice", {stem + ".png", stem + "_1.png"}, "Screenshot", "png", stem + "_2.png"},
        {"gap refills _1", {stem + ".png", stem + "_2.png"}, "Screenshot", "png", stem + "_1.png"},
        {"numbered only: base is free", {stem + "_1.png", stem + "_2.png"}, "Screenshot", "png", stem + ".png"},
        {"another second starts over",
         {"Screenshot_2026-11-16_18-23-46.png", "Screenshot_2026-11-16_18-23-46_1.png"},
         "Screenshot", "png", stem + ".png"},
        {"other prefix and extension do not collide",
         {"ScrollingCapture_2026-11-16_18-23-47.png", stem + ".mp4"}, "Screenshot", "png", stem + ".png"},
        {"a folder of that name counts", {stem + ".png/"}, "Screenshot", "png", stem + "_1.png"},
        {"recording", {"Recording_2026-11-16_18-23-47.mp4"}, "Recording", "mp4",
         "Recording_2026-11-16_18-23-47_1.mp4"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        QTemporaryDir dir;
        for (const QString &name : c.existing)   // "x/" is a folder, made as a file's parent
            writeFile(dir.filePath(name.endsWith('/') ? name + "inside" : name), {});
        const QStringList before = QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
        EXPECT_EQ(CaptureFileNaming::freePath(dir.path(), c.prefix, c.extension, now), dir.filePath(c.expected));
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), before);   // creates nothing
    }
}

TEST(CaptureFileNaming, StampsInLocalTime)
{
    const QDateTime instant(QDate(2026, 11, 16), QTime(18, 23, 47), QTimeZone::utc());
    const std::pair<QByteArray, QString> cases[] = {
        {"ICT-7", "2026-11-17_01-23-47"}, {"EST5", "2026-11-16_13-23-47"}, {"NPT-5:45", "2026-11-17_00-08-47"}};
    QTemporaryDir dir;
    for (const auto &[zone, stamp] : cases) {
        const ScopedEnv tz{{"TZ", zone}};
        EXPECT_EQ(CaptureFileNaming::freePath(dir.path(), "Screenshot", "png", instant),
                  dir.filePath("Screenshot_" + stamp + ".png")) << zone.constData();
    }
}

} // namespace
