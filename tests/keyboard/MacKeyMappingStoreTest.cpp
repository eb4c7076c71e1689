#include "keyboard/MacKeyMappingStore.h"
#include "support/TestFiles.h"

#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using Pairs = QList<std::pair<quint64, quint64>>;

TEST(MacKeyCatalogue, SeventyOneDistinctKeysInOrder)
{
    // The ends of the written list and of each generated run.
    const struct { QString name; quint64 usage; qsizetype position; } cases[] = {
        {"Control trái", 224, 0}, {"↓", 81, 22}, {"A", 4, 23}, {"Z", 29, 48}, {"1", 30, 49}, {"0", 39, 58},
        {"F1", 58, 59}, {"F12", 69, 70},
    };
    const QList<MacKeyOption> &keys = MacKeyMappingStore::keys();
    ASSERT_EQ(keys.size(), 71);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name.toStdString());
        const MacKeyOption *found = MacKeyMappingStore::find(c.name);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->usage, c.usage);
        EXPECT_EQ(keys[c.position].name, c.name);
    }
    for (const QString unknown : {"F13", "a", "Command", "", "Escape "})
        EXPECT_EQ(MacKeyMappingStore::find(unknown), nullptr) << unknown.toStdString();
    QSet<quint64> usages;
    for (const MacKeyOption &key : keys) {
        EXPECT_EQ(MacKeyMappingStore::find(key.name), &key) << "a name is used twice: " << key.name.toStdString();
        usages.insert(key.usage);
    }
    EXPECT_EQ(usages.size(), keys.size());
}

// A file that does not load reads as no mappings, and the first save keeps it aside. What
// loaded saves compactly, and unknown names are kept: only resolution drops them.
TEST(MacKeyMappingFile, LoadsAllOrNothingSavesCompactlyAndKeepsADamagedFileOnce)
{
    const QByteArray escaped = "[{\"source\":\"F13 \\\\\",\"destination\":\"Mission \\\"Control\\\"\"},"
                               "{\"source\":\"Command phải\",\"destination\":\"↓\"}]";
    const struct { const char *label; std::optional<QByteArray> content; QList<MacCustomKeyMapping> expected;
                   bool damaged; QByteArray saved; } cases[] = {
        {"members in any order, extras ignored",
         R"([{"destination":"Escape","note":1,"source":"Caps Lock"},{"source":"F13","destination":"A"}])",
         {{"Caps Lock", "Escape"}, {"F13", "A"}}, false,
         R"([{"source":"Caps Lock","destination":"Escape"},{"source":"F13","destination":"A"}])"},
        {"escapes and unknown names", escaped, {{"F13 \\", "Mission \"Control\""}, {"Command phải", "↓"}}, false, escaped},
        {"missing", std::nullopt, {}, false, "[]"},
        {"empty list", "[]", {}, false, "[]"},
        {"not JSON", "source=Caps Lock", {}, true, "[]"},
        {"object, not array", R"({"source":"A","destination":"B"})", {}, true, "[]"},
        {"second lacks destination", R"([{"source":"A","destination":"B"},{"source":"C"}])", {}, true, "[]"},
        {"element not an object", R"([{"source":"A","destination":"B"},"C"])", {}, true, "[]"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        QTemporaryDir dir;
        const QString path = dir.filePath("key-mappings.json");
        if (c.content)
            writeFile(path, *c.content);
        EXPECT_EQ(MacKeyMappingStore::load(path), c.expected);

        for (int save = 0; save < 2; ++save)
            ASSERT_TRUE(MacKeyMappingStore::save(path, c.expected));
        EXPECT_EQ(readFile(path), c.saved);
        const QStringList kept = QDir(dir.path()).entryList({"key-mappings.json.damaged-*"}, QDir::Files);
        ASSERT_EQ(kept.size(), c.damaged ? 1 : 0);
        EXPECT_EQ(kept.isEmpty() ? QByteArray() : readFile(dir.filePath(kept.first())), c.damaged ? *c.content : "");
    }
    QTemporaryDir dir;
    EXPECT_FALSE(MacKeyMappingStore::save(dir.filePath("absent/key-mappings.json"), {{"A", "B"}}));
    EXPECT_FALSE(QFile::exists(dir.filePath("absent")));
    // filePath makes the folder on the way.
    const QString support = dir.filePath("a/b/Vistrel");
    EXPECT_EQ(MacKeyMappingStore::filePath(support), support + "/key-mappings.json");
    EXPECT_TRUE(MacKeyMappingStore::save(support + "/key-mappings.json", {{"A", "B"}}));
}

TEST(MacKeyMappingResolution, SkipsUnknownAndIdentityAndKeepsOrder)
{
    const struct { const char *label; QList<MacCustomKeyMapping> mappings; Pairs pairs; } cases[] = {
        {"one", {{"Caps Lock", "Escape"}}, {{57, 41}}}, {"identity", {{"Caps Lock", "Caps Lock"}}, {}},
        {"unknown source", {{"F13", "A"}}, {}}, {"unknown destination", {{"A", "F13"}}, {}},
        {"list order, not usage order", {{"Z", "A"}, {"Tab", "Space"}, {"A", "Z"}}, {{29, 4}, {43, 44}, {4, 29}}},
        {"same source twice", {{"Caps Lock", "Escape"}, {"B", "B"}, {"Caps Lock", "Tab"}}, {{57, 41}, {57, 43}}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(MacKeyMappingStore::resolved(c.mappings), c.pairs) << c.label;
}

} // namespace
