#include "editor/imaging/PastedImage.h"
#include "editor/overlays/TextOverlayRendering.h"
#include "editor/window/EditorChoices.h"
#include "editor/window/EditorKeyEquivalents.h"
#include "editor/window/EditorWindowGeometry.h"

#include "editor/EditorTestImages.h"

#include <QFontInfo>
#include <QImageWriter>
#include <QMimeData>
#include <QTemporaryDir>
#include <QUrl>

namespace {

namespace C = EditorChoices;

TEST(EditorChoices, PickerTitlesFallBackToTheirDefaults)
{
    // A percentage title loses its last character, whatever it is.
    for (const auto &[title, width, opacity, zoom, size] : {std::tuple{std::optional<QString>("10"), 10., 0.01, 0.01, 10.},
                                                              {"85%", 4, 0.85, 0.85, 32}, {std::nullopt, 4, 1, 1, 32},
                                                              {"wide", 4, 1, 1, 32}}) {
        SCOPED_TRACE(title.value_or("none").toStdString());
        EXPECT_DOUBLE_EQ(C::lineWidth(title), width);
        EXPECT_DOUBLE_EQ(C::opacity(title), opacity);
        EXPECT_DOUBLE_EQ(C::zoom(title), zoom);
        EXPECT_DOUBLE_EQ(C::textFontSize(title), size);
    }
    EXPECT_EQ(C::textFontName(std::nullopt), QStringLiteral("Helvetica"));
}

TEST(EditorChoices, ZoomTitlesRoundToWholePercentagesAndQuickStylesComeInThreeWidths)
{
    EXPECT_EQ(QStringList({C::zoomTitle(1.3749), C::zoomTitle(0.625), C::zoomTitle(0.08)}), QStringList({"137%", "63%", "8%"}));
    // Every listed zoom (25 % to 200 %) reads back as itself.
    for (const QString &title : C::zoomTitles())
        EXPECT_EQ(C::zoomTitle(C::zoom(title)), title);
    for (int tag = 0; tag < C::quickStyleCount; ++tag)
        EXPECT_EQ(C::quickStyles()[size_t(tag)].lineWidth, tag < 4 ? 4 : tag < 8 ? 8 : 12) << tag;
    EXPECT_EQ(C::quickStyleToolTip(C::quickStyles()[4]), QStringLiteral("Màu nhanh, nét 8 pt"));
}

TEST(EditorWindowGeometry, TheWindowTakesMostOfTheScreenUpToACap)
{
    for (const auto &[area, content, minimum] : {std::tuple{QSizeF(1440, 900), QSizeF(1100, 738), QSizeF(760, 520)},
                                                  {{1024, 640}, {880.64, 524.8}, {760, 520}},
                                                  {{1920, 1080}, {1100, 740}, {760, 520}},
                                                  {{700, 480}, {602, 393.6}, {700, 480}}}) {
        SCOPED_TRACE(area.width());
        EXPECT_EQ(EditorWindowGeometry::contentSize(area), content); // compared fuzzily
        EXPECT_EQ(EditorWindowGeometry::minimumSize(area), minimum);
        EXPECT_EQ(EditorWindowGeometry::maximumSize(area), area);
    }
}

TEST(EditorKeyEquivalents, OnlyControlOrSuperAloneWithCOrV)
{
    using A = EditorKeyEquivalents::Action;
    for (const auto &[modifiers, key, expected] : {
        std::tuple{Qt::KeyboardModifiers(Qt::ControlModifier), Qt::Key_C, A::copy},
        {Qt::ControlModifier, Qt::Key_V, A::paste},
        {Qt::MetaModifier, Qt::Key_C, A::copy},
        {Qt::ControlModifier | Qt::KeypadModifier, Qt::Key_V, A::paste},
        {Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_C, A::none},
        {Qt::ControlModifier | Qt::MetaModifier, Qt::Key_C, A::none},
        {Qt::ControlModifier | Qt::AltModifier, Qt::Key_V, A::none},
        {Qt::NoModifier, Qt::Key_C, A::none},
        {Qt::ControlModifier, Qt::Key_X, A::none}})
        EXPECT_EQ(EditorKeyEquivalents::classify(modifiers, key), expected) << int(modifiers) << " " << key;
}

TEST(TextOverlayRendering, UnknownFamiliesFallBackToTheSystemFont)
{
    const QImage device(10, 10, QImage::Format_ARGB32);
    const QFontInfo unknown(TextOverlayRendering::font(QStringLiteral("No Such Family 8c1f"), 20, device));
    EXPECT_EQ(unknown.family(), QFontInfo(TextOverlayRendering::font(QString(), 20, device)).family());
    EXPECT_EQ(unknown.pixelSize(), 20);
    // Menlo has no face of that name here; it still comes out monospaced.
    EXPECT_TRUE(QFontInfo(TextOverlayRendering::font(QStringLiteral("Menlo"), 20, device)).fixedPitch());
}

TEST(PastedImage, FindsTheFirstImageAClipboardEntryCarries)
{
    QTemporaryDir dir;
    const QString png = dir.filePath("photo.png"), turned = dir.filePath("turned.tif");
    const QImage red = solid(4, 3, Qt::red);
    ASSERT_TRUE(red.save(png));
    QImageWriter writer(turned, "tiff"); // a camera's picture, stored on its side
    writer.setTransformation(QImageIOHandler::TransformationRotate90);
    ASSERT_TRUE(writer.write(red));
    QFile file(png);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    // The size of the image found; empty when none is.
    for (const auto &[name, fill, size] : {
        std::tuple<const char *, std::function<void(QMimeData &)>, QSize>{"image", [&](QMimeData &d) { d.setImageData(red); }, {4, 3}},
        {"png", [&](QMimeData &d) { d.setData(QStringLiteral("image/png"), bytes); }, {4, 3}},
        {"file", [&](QMimeData &d) { d.setUrls({QUrl::fromLocalFile(png)}); }, {4, 3}},
        {"turned file", [&](QMimeData &d) { d.setUrls({QUrl::fromLocalFile(turned)}); }, {3, 4}},
        {"text", [](QMimeData &d) { d.setText(QStringLiteral("not a picture")); }, {}},
        {"broken png", [](QMimeData &d) { d.setData(QStringLiteral("image/png"), "\x89PNG broken"); }, {}}}) {
        QMimeData data;
        fill(data);
        const QImage found = PastedImage::fromMimeData(data);
        EXPECT_EQ(found.size(), size.isEmpty() ? QSize(0, 0) : size) << name;
        EXPECT_EQ(found.isNull() ? QColor() : found.pixelColor(1, 1), size.isEmpty() ? QColor() : QColor(Qt::red)) << name;
    }
}

} // namespace
