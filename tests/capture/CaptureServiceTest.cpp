#include "CaptureTestDoubles.h"

#include "capture/CaptureService.h"
#include "platform/fake/FakeScreenGrabber.h"
#include "storage/HistoryDatabase.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class CaptureServiceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        database = std::make_unique<HistoryDatabase>(support.path());
        service = std::make_unique<CaptureService>(*database, documents.path(), grabber,
                                                   desktop.filePath("Desktop"));
        service->setClipboardWriter(std::make_unique<RecordingClipboard>(clipboard));
        auto staged = std::make_unique<StagedScreens>();
        screens = staged.get();
        service->setScreenEnvironment(std::move(staged));
        service->onStatus = [this](const QString &text) { statuses.append(text); };
        service->onHistoryChanged = [this] { ++historyChanges; };
    }

    static QImage sample(int width, int height, qreal ratio = 1.0)
    {
        QImage image(width, height, QImage::Format_RGB32);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                image.setPixel(x, y, qRgb(x % 256, y % 256, (x * y) % 256));
        image.setDevicePixelRatio(ratio);
        return image;
    }

    QTemporaryDir support, documents, desktop;
    FakeScreenGrabber grabber;
    std::unique_ptr<HistoryDatabase> database;
    std::unique_ptr<CaptureService> service;
    StagedScreens *screens = nullptr;
    std::vector<std::unique_ptr<QMimeData>> clipboard;
    QStringList statuses;
    int historyChanges = 0;
};

TEST_F(CaptureServiceTest, SavesCopiesRecordsAndReportsAScreenshot)
{
    // A 100 × 50 point region cut at scale 2.
    const QImage image = sample(200, 100, 2.0);
    const auto path = service->saveScreenshot(image);
    ASSERT_TRUE(path);

    const QFileInfo file(*path);
    EXPECT_EQ(file.absolutePath(), QDir(desktop.filePath("Desktop")).absolutePath());
    EXPECT_TRUE(QRegularExpression("^Screenshot_\\d{4}-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\d\\.png$")
                    .match(file.fileName()).hasMatch()) << file.fileName().toStdString();
    QImage written;
    ASSERT_TRUE(written.load(*path, "PNG"));
    EXPECT_EQ(written.size(), QSize(200, 100));
    EXPECT_EQ(written.convertToFormat(QImage::Format_RGB32), image);

    ASSERT_EQ(clipboard.size(), 1u);
    QFile bytes(*path);
    ASSERT_TRUE(bytes.open(QIODevice::ReadOnly));
    EXPECT_EQ(clipboard[0]->data("image/png"), bytes.readAll());
    EXPECT_TRUE(clipboard[0]->hasFormat("image/tiff"));

    const QList<CaptureItem> rows = database->recent();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].type, "screenshot");
    EXPECT_EQ(rows[0].path, *path);
    EXPECT_EQ(historyChanges, 1);
    EXPECT_EQ(statuses, QStringList{"Đã lưu và sao chép: " + file.fileName()});
}

TEST_F(CaptureServiceTest, CapturesInOneSecondGetCounters)
{
    QStringList names;
    for (int i = 0; i < 3; ++i)
        names.append(QFileInfo(service->saveScreenshot(sample(4, 4)).value_or(QString())).fileName());
    ASSERT_EQ(QDir(desktop.filePath("Desktop")).entryList(QDir::Files).size(), 3);
    // The first name of each second has no counter; later ones count up from 1.
    const QRegularExpression form("^(Screenshot_[\\d_-]{19})(?:_(\\d+))?\\.png$");
    QString stem;
    int expectedCounter = 0;
    for (const QString &name : names) {
        const auto match = form.match(name);
        ASSERT_TRUE(match.hasMatch()) << name.toStdString();
        if (match.captured(1) != stem) {
            stem = match.captured(1);
            expectedCounter = 0;
        }
        EXPECT_EQ(match.captured(2).toInt(), expectedCounter) << name.toStdString();
        ++expectedCounter;
    }
    EXPECT_EQ(database->recent().size(), 3);
}

TEST_F(CaptureServiceTest, AFailedWriteLeavesNoTrace)
{
    // The Desktop cannot be created because a file is in its way.
    QFile blocker(desktop.filePath("Desktop"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();

    EXPECT_FALSE(service->saveScreenshot(sample(10, 10)));
    EXPECT_TRUE(clipboard.empty());
    EXPECT_TRUE(database->recent().isEmpty());
    EXPECT_EQ(historyChanges, 0);
    EXPECT_TRUE(statuses.isEmpty());
}

TEST_F(CaptureServiceTest, ReplacingOverwritesWithoutANewRow)
{
    const auto path = service->saveScreenshot(sample(10, 10));
    ASSERT_TRUE(path);
    statuses.clear();
    const QImage edited = sample(30, 20);
    ASSERT_TRUE(service->replaceScreenshot(edited, *path));

    QImage written;
    ASSERT_TRUE(written.load(*path, "PNG"));
    EXPECT_EQ(written.convertToFormat(QImage::Format_RGB32), edited);
    EXPECT_EQ(database->recent().size(), 1);
    EXPECT_EQ(historyChanges, 2);
    EXPECT_EQ(clipboard.size(), 2u);
    EXPECT_EQ(statuses, QStringList{"Đã cập nhật và sao chép: " + QFileInfo(*path).fileName()});

    EXPECT_FALSE(service->replaceScreenshot(edited, desktop.filePath("gone/x.png")));
    EXPECT_EQ(clipboard.size(), 2u);
}

TEST_F(CaptureServiceTest, ScreenshotsThatCannotStartReportWhy)
{
    struct Case {
        const char *name;
        bool noScreens;
        bool grabFails;
        QString status;
        bool screenGiven;
    } cases[] = {
        {"no screen", true, false, "Không tìm thấy màn hình để chụp", false},
        {"grab fails", false, true, "Không thể chụp màn hình. Hãy kiểm tra quyền Ghi màn hình.", true},
    };
    for (const Case &c : cases) {
        statuses.clear();
        grabber.requests.clear();
        screens->noScreens = c.noScreens;
        grabber.image = c.grabFails ? QImage() : sample(8, 8);
        int calls = 0;
        QScreen *reported = nullptr;
        bool gotImage = true;
        service->takeScreenshot([&](const QImage &image, QScreen *screen) {
            ++calls;
            gotImage = !image.isNull();
            reported = screen;
        });
        EXPECT_EQ(calls, 1) << c.name;
        EXPECT_FALSE(gotImage) << c.name;
        EXPECT_EQ(reported != nullptr, c.screenGiven) << c.name;
        EXPECT_EQ(grabber.requests.size(), c.noScreens ? 0 : 1) << c.name;
        EXPECT_EQ(statuses, QStringList{c.status}) << c.name;
        EXPECT_EQ(service->regionSelector(), nullptr) << c.name;
        EXPECT_TRUE(QDir(desktop.filePath("Desktop")).entryList(QDir::Files).isEmpty()) << c.name;
    }
}

} // namespace
