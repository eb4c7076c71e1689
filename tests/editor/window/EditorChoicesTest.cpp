#include "editor/window/EditorChoices.h"
#include "editor/window/EditorKeyEquivalents.h"
#include "editor/window/EditorWindowGeometry.h"
#include "editor/imaging/PastedImage.h"
#include "editor/overlays/TextOverlayRendering.h"

#include "editor/EditorTestImages.h"

#include <QFile>
#include <QFontDatabase>
#include <QFontInfo>
#include <QImage>
#include <QMimeData>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>

namespace {

using Titles = std::optional<QString>;

TEST(EditorChoices, PickerTitlesFallBackToTheirDefaults)
{
    const struct {
        std::string name;
        Titles title;
        qreal width, opacity, zoom, size;
    } cases[] = {
        // A percentage title loses its last character, whatever it is.
        {"a number", QStringLiteral("10"), 10, 0.01, 0.01, 10},
        {"a percentage", QStringLiteral("85%"), 4, 0.85, 0.85, 32},
        {"nothing selected", std::nullopt, 4, 1.0, 1.0, 32},
        {"not a number", QStringLiteral("wide"), 4, 1.0, 1.0, 32},
    };
    for (const auto &c : cases) {
        EXPECT_DOUBLE_EQ(EditorChoices::lineWidth(c.title), c.width) << c.name;
        EXPECT_DOUBLE_EQ(EditorChoices::opacity(c.title), c.opacity) << c.name;
        EXPECT_DOUBLE_EQ(EditorChoices::zoom(c.title), c.zoom) << c.name;
        EXPECT_DOUBLE_EQ(EditorChoices::textFontSize(c.title), c.size) << c.name;
    }
    EXPECT_EQ(EditorChoices::textFontName(std::nullopt), QStringLiteral("Helvetica"));
    EXPECT_EQ(EditorChoices::textFontName(QStringLiteral("Menlo")), QStringLiteral("Menlo"));
}

TEST(EditorChoices, ZoomTitlesRoundToWholePercentages)
{
    const struct {
        qreal zoom;
        const char *title;
    } cases[] = {{1.3749, "137%"}, {0.625, "63%"}, {0.08, "8%"}};
    for (const auto &c : cases)
        EXPECT_EQ(EditorChoices::zoomTitle(c.zoom), QString::fromLatin1(c.title)) << c.zoom;
    // Every listed zoom (25 % to 200 %) reads back as itself.
    for (const QString &title : EditorChoices::zoomTitles())
        EXPECT_EQ(EditorChoices::zoomTitle(EditorChoices::zoom(title)), title);
}

TEST(EditorChoices, QuickStylesComeInThreeWidths)
{
    const auto &styles = EditorChoices::quickStyles();
    for (int tag = 0; tag < EditorChoices::quickStyleCount; ++tag)
        EXPECT_EQ(styles[size_t(tag)].lineWidth, tag < 4 ? 4 : tag < 8 ? 8 : 12) << tag;
    EXPECT_EQ(EditorChoices::quickStyleToolTip(styles[4]), QStringLiteral("Màu nhanh, nét 8 pt"));
}

TEST(EditorWindowGeometry, TheWindowTakesMostOfTheScreenUpToACap)
{
    const struct {
        QSizeF area, content, minimum;
    } cases[] = {
        {{1440, 900}, {1100, 738}, {760, 520}},
        {{1024, 640}, {880.64, 524.8}, {760, 520}},
        {{1920, 1080}, {1100, 740}, {760, 520}},
        {{700, 480}, {602, 393.6}, {700, 480}},
    };
    for (const auto &c : cases) {
        const QSizeF content = EditorWindowGeometry::contentSize(c.area);
        EXPECT_NEAR(content.width(), c.content.width(), 1e-9) << c.area.width();
        EXPECT_NEAR(content.height(), c.content.height(), 1e-9) << c.area.width();
        EXPECT_EQ(EditorWindowGeometry::minimumSize(c.area), c.minimum) << c.area.width();
        EXPECT_EQ(EditorWindowGeometry::maximumSize(c.area), c.area);
    }
}

TEST(EditorKeyEquivalents, OnlyControlOrSuperAloneWithCOrV)
{
    using A = EditorKeyEquivalents::Action;
    const struct {
        Qt::KeyboardModifiers modifiers;
        int key;
        A expected;
    } cases[] = {
        {Qt::ControlModifier, Qt::Key_C, A::copy},
        {Qt::ControlModifier, Qt::Key_V, A::paste},
        {Qt::MetaModifier, Qt::Key_C, A::copy},
        {Qt::ControlModifier | Qt::KeypadModifier, Qt::Key_V, A::paste},
        {Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_C, A::none},
        {Qt::ControlModifier | Qt::MetaModifier, Qt::Key_C, A::none},
        {Qt::ControlModifier | Qt::AltModifier, Qt::Key_V, A::none},
        {Qt::NoModifier, Qt::Key_C, A::none},
        {Qt::ControlModifier, Qt::Key_X, A::none},
    };
    for (const auto &c : cases)
        EXPECT_EQ(EditorKeyEquivalents::classify(c.modifiers, c.key), c.expected)
            << int(c.modifiers) << " " << c.key;
}

TEST(TextOverlayRendering, UnknownFamiliesFallBackToTheSystemFont)
{
    const QImage device(10, 10, QImage::Format_ARGB32);
    const QFont system = TextOverlayRendering::font(QString(), 20, device);
    const QFont unknown = TextOverlayRendering::font(QStringLiteral("No Such Family 8c1f"), 20, device);
    EXPECT_EQ(QFontInfo(unknown).family(), QFontInfo(system).family());
    EXPECT_EQ(QFontInfo(unknown).pixelSize(), 20);
    // Menlo has no face of that name here; it still comes out monospaced.
    EXPECT_TRUE(QFontInfo(TextOverlayRendering::font(QStringLiteral("Menlo"), 20, device)).fixedPitch());

    EXPECT_TRUE(TextOverlayRendering::isBlank(QStringLiteral(" \n\t\n ")));
    EXPECT_FALSE(TextOverlayRendering::isBlank(QStringLiteral("\n\n x")));
}

TEST(PastedImage, FindsTheFirstImageAClipboardEntryCarries)
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("photo.png"));
    const QImage red = EditorTestImages::solid(4, 3, Qt::red);
    ASSERT_TRUE(red.save(file));
    QFile saved(file);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    const QByteArray png = saved.readAll();
    const struct {
        const char *name;
        std::function<void(QMimeData &)> fill;
        bool found;
    } cases[] = {
        {"image", [&](QMimeData &d) { d.setImageData(red); }, true},
        {"png", [&](QMimeData &d) { d.setData(QStringLiteral("image/png"), png); }, true},
        {"file", [&](QMimeData &d) { d.setUrls({QUrl::fromLocalFile(file)}); }, true},
        {"text", [](QMimeData &d) { d.setText(QStringLiteral("not a picture")); }, false},
        {"broken png", [](QMimeData &d) { d.setData(QStringLiteral("image/png"), "\x89PNG broken"); }, false},
    };
    for (const auto &c : cases) {
        QMimeData data;
        c.fill(data);
        const QImage found = PastedImage::fromMimeData(data);
        EXPECT_EQ(found.size(), c.found ? QSize(4, 3) : QSize(0, 0)) << c.name;
        EXPECT_EQ(found.isNull() ? QColor() : found.pixelColor(2, 1), c.found ? QColor(Qt::red) : QColor()) << c.name;
    }
}

} // namespace
