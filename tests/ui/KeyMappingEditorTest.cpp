#include "ui/KeyMappingEditor.h"

#include <gtest/gtest.h>

using Mappings = QList<MacCustomKeyMapping>;

TEST(KeyMappingEditor, SourceChoicesDropUsedSourcesAndKeepCatalogueOrder)
{
    const QStringList all = KeyMappingEditor::sourceChoices({});
    ASSERT_EQ(all.size(), 71);
    EXPECT_EQ(all.first(), QStringLiteral("Control trái"));
    // Unknown sources take nothing away; a destination does not stop a key from being a source.
    const QStringList some = KeyMappingEditor::sourceChoices({{"Caps Lock", "Escape"}, {"A", "B"}, {"F13", "A"}});
    EXPECT_EQ(some.size(), 69);
    EXPECT_FALSE(some.contains("Caps Lock") || some.contains("A"));
    EXPECT_LT(some.indexOf("Space"), some.indexOf("B"));
    EXPECT_TRUE(some.contains("Escape"));
}

TEST(KeyMappingEditor, AddAndRemoveRules)
{
    const Mappings start = {{"Caps Lock", "Escape"}, {"A", "B"}};
    for (const auto &[name, source, destination, expected] : {
        std::tuple<const char *, QString, QString, std::optional<Mappings>>{
            "appends a new source last", "Tab", "Space", Mappings{{"Caps Lock", "Escape"}, {"A", "B"}, {"Tab", "Space"}}},
        {"replaces the same source and moves it last", "Caps Lock", "Delete", Mappings{{"A", "B"}, {"Caps Lock", "Delete"}}},
        {"refuses the same key", "Caps Lock", "Caps Lock", std::nullopt},
        {"refuses an unknown source", "F13", "A", std::nullopt},
        {"refuses an unknown destination", "A", "Hyper", std::nullopt}})
        EXPECT_EQ(KeyMappingEditor::added(start, source, destination), expected) << name;
    EXPECT_EQ(KeyMappingEditor::removed(start, 0), (Mappings{{"A", "B"}}));
    EXPECT_EQ(KeyMappingEditor::removed(start, 1), (Mappings{{"Caps Lock", "Escape"}}));
    for (qsizetype index : {-1, 2})
        EXPECT_FALSE(KeyMappingEditor::removed(start, index)) << index;
}
