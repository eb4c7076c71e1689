#include "keyboard/MacKeyMappingStore.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using Pairs = QList<std::pair<quint64, quint64>>;

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

void writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

TEST(MacKeyCatalogue, LooksUpNamesAtTheirPositions)
{
    struct Case { QString name; quint64 usage; qsizetype position; };
    const Case cases[] = {
        {"Control trái", 224, 0},  {"Control phải", 228, 1}, {"Shift trái", 225, 2},
        {"Option phải", 230, 5},   {"Command trái", 227, 6}, {"Command phải", 231, 7},
        {"Caps Lock", 57, 8},      {"Space", 44, 9},         {"Forward Delete", 76, 14},
        {"Page Down", 78, 18},     {"←", 80, 19},            {"↑", 82, 20},
        {"→", 79, 21},             {"↓", 81, 22},            {"A", 4, 23},
        {"Z", 29, 48},             {"1", 30, 49},            {"9", 38, 57},
        {"0", 39, 58},             {"F1", 58, 59},           {"F12", 69, 70},
    };
    const QList<MacKeyOption> &keys = MacKeyMappingStore::keys();
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name.toStdString());
        const MacKeyOption *found = MacKeyMappingStore::find(c.name);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->usage, c.usage);
        ASSERT_LT(c.position, keys.size());
        EXPECT_EQ(keys[c.position].name, c.name);
    }
    for (const QString unknown : {"F13", "a", "Command", "", "Escape "})
        EXPECT_EQ(MacKeyMappingStore::find(unknown), nullptr) << unknown.toStdString();
}

TEST(MacKeyCatalogue, HasSeventyOneDistinctKeys)
{
    const QList<MacKeyOption> &keys = MacKeyMappingStore::keys();
    EXPECT_EQ(keys.size(), 71);
    QSet<QString> names;
    QSet<quint64> usages;
    for (const MacKeyOption &key : keys) {
        names.insert(key.name);
        usages.insert(key.usage);
    }
    EXPECT_EQ(names.size(), keys.size());
    EXPECT_EQ(usages.size(), keys.size());
}

TEST(MacKeyMappingFile, FilePathCreatesTheFolder)
{
    QTemporaryDir root;
    const QString support = root.filePath("a/b/Vistrel");
    EXPECT_EQ(MacKeyMappingStore::filePath(support), support + "/key-mappings.json");
    EXPECT_TRUE(QDir(support).exists());
}

TEST(MacKeyMappingFile, AnyDefectReadsAsEmpty)
{
    struct Case { const char *label; std::optional<QByteArray> content; };
    const Case cases[] = {
        {"missing", std::nullopt},
        {"empty file", ""},
        {"not JSON", "source=Caps Lock"},
        {"truncated", R"([{"source":"A","destination":"B"})"},
        {"object, not array", R"({"source":"A","destination":"B"})"},
        {"second lacks destination", R"([{"source":"A","destination":"B"},{"source":"C"}])"},
        {"non-string member", R"([{"source":"A","destination":1}])"},
        {"null member", R"([{"source":null,"destination":"B"}])"},
        {"element not an object", R"([{"source":"A","destination":"B"},"C"])"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        QTemporaryDir dir;
        const QString path = dir.filePath("key-mappings.json");
        if (c.content)
            writeAll(path, *c.content);
        EXPECT_TRUE(MacKeyMappingStore::load(path).isEmpty());
    }
}

TEST(MacKeyMappingFile, ReadsMembersInAnyOrderAndIgnoresExtras)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("key-mappings.json");
    writeAll(path, R"([{"destination":"Escape","note":1,"source":"Caps Lock"},{"source":"F13","destination":"A"}])");
    const QList<MacCustomKeyMapping> expected = {{"Caps Lock", "Escape"}, {"F13", "A"}};
    EXPECT_EQ(MacKeyMappingStore::load(path), expected);
}

TEST(MacKeyMappingFile, SavesCompactlyAndRoundTrips)
{
    struct Case { QList<MacCustomKeyMapping> mappings; QByteArray bytes; };
    const Case cases[] = {
        {{}, "[]"},
        {{{"Caps Lock", "Escape"}}, R"([{"source":"Caps Lock","destination":"Escape"}])"},
        // Unknown names are kept; only resolution drops them.
        {{{"F13", "Mission \"Control\""}, {"Command phải", "↓"}},
         "[{\"source\":\"F13\",\"destination\":\"Mission \\\"Control\\\"\"},"
         "{\"source\":\"Command phải\",\"destination\":\"↓\"}]"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.bytes.toStdString());
        QTemporaryDir dir;
        const QString path = dir.filePath("key-mappings.json");
        writeAll(path, "[{\"source\":\"old\",\"destination\":\"old\"}]");
        ASSERT_TRUE(MacKeyMappingStore::save(path, c.mappings));
        EXPECT_EQ(readAll(path), c.bytes);
        EXPECT_EQ(MacKeyMappingStore::load(path), c.mappings);
    }
}

TEST(MacKeyMappingFile, SaveIntoMissingFolderFails)
{
    QTemporaryDir dir;
    EXPECT_FALSE(MacKeyMappingStore::save(dir.filePath("absent/key-mappings.json"), {{"A", "B"}}));
    EXPECT_FALSE(QFile::exists(dir.filePath("absent")));
}

TEST(MacKeyMappingResolution, SkipsUnknownAndIdentityAndKeepsOrder)
{
    struct Case { const char *label; QList<MacCustomKeyMapping> mappings; Pairs pairs; };
    const Case cases[] = {
        {"empty", {}, {}},
        {"one", {{"Caps Lock", "Escape"}}, {{57, 41}}},
        {"identity", {{"Caps Lock", "Caps Lock"}}, {}},
        {"unknown source", {{"F13", "A"}}, {}},
        {"unknown destination", {{"A", "F13"}}, {}},
        {"list order, not usage order", {{"Z", "A"}, {"Tab", "Space"}, {"A", "Z"}},
         {{29, 4}, {43, 44}, {4, 29}}},
        {"same source twice", {{"Caps Lock", "Escape"}, {"B", "B"}, {"Caps Lock", "Tab"}},
         {{57, 41}, {57, 43}}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(MacKeyMappingStore::resolved(c.mappings), c.pairs);
    }
}

} // namespace
