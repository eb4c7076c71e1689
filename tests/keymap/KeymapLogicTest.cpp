#include "KeymapJson.h"
#include "keyboard/KeyRemapper.h"
#include "keymap/UserKeyMapping.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"

#include <gtest/gtest.h>

using namespace keymap;

namespace {

// A later entry for the same source wins.
TEST(UserKeyMapping, BecomesAKeycodeMapping)
{
    EXPECT_EQ(keycodeMapping({{0x39, 0x29}, {0xE0, 0xE3}, {0x39, 0x2A}, {0xE3, 0xE0}}),
              (std::map<int, int>{{66, 22}, {37, 133}, {133, 37}}));
}

TEST(UserKeyMapping, AcceptsAnyMemberOrderAndRejectsBadPropertiesWithOneLine)
{
    const ParsedMapping reordered = parseUserKeyMapping(
        " { \"UserKeyMapping\" : [ {\"HIDKeyboardModifierMappingDst\": 30064771113,"
        " \"HIDKeyboardModifierMappingSrc\": 30064771129} ] } ");
    ASSERT_TRUE(reordered.ok()) << reordered.error.toStdString();
    EXPECT_EQ(reordered.mappings, (std::vector<UsageMapping>{{0x39, 0x29}}));

    const quint64 escape = 0x700000029;
    const QByteArray good = entry(0x700000039, escape);
    const struct { const char *name; QByteArray json; const char *errorPart; } cases[] = {
        {"truncated", "{\"UserKeyMapping\":[", "invalid JSON"}, {"top-level array", "[]", "JSON object"},
        {"missing member", "{}", "\"UserKeyMapping\" is missing"},
        {"not an array", "{\"UserKeyMapping\":{}}", "not an array"},
        {"other property", "{\"UserKeyMapping\":[],\"CapsLockDelayOverride\":0}", "unsupported property"},
        {"entry not an object", "{\"UserKeyMapping\":[7]}", "entry 1 is not an object"},
        {"missing destination", property({QByteArray(good).replace(",\"HIDKeyboardModifierMappingDst\":30064771113", "")}),
         "HIDKeyboardModifierMappingDst\" is missing"},
        {"extra member", property({QByteArray(good).replace("}", ",\"x\":1}")}), "unexpected member"},
        {"negative", property({QByteArray(good).replace("30064771113", "-1")}), "not a non-negative integer"},
        {"usage 0, without page", property({entry(0, escape)}), "not a keyboard-page usage"},
        {"reserved usage", property({good, entry(0x700000003, escape)}), "entry 2: keyboard usage 0x3 is not a known key"},
        {"past the page", property({entry(0x700000100, escape)}), "not a known key"},
    };
    for (const auto &c : cases) {
        const ParsedMapping parsed = parseUserKeyMapping(c.json);
        EXPECT_FALSE(parsed.ok()) << c.name;
        EXPECT_TRUE(parsed.mappings.empty()) << c.name;
        EXPECT_TRUE(parsed.error.contains(QLatin1String(c.errorPart)))
            << c.name << ": " << parsed.error.toStdString();
        EXPECT_FALSE(parsed.error.contains(QLatin1Char('\n'))) << c.name;
    }
}

// What the app sends is what the tool reads: the app's property goes through the tool's own parser.
TEST(UserKeyMapping, CustomMappingsTheAppSendsSortFirstAndOverrideTheSwap)
{
    using Mappings = std::vector<UsageMapping>;
    const Mappings swap{{0xE0, 0xE3}, {0xE3, 0xE0}, {0xE4, 0xE7}, {0xE7, 0xE4}};
    const struct { const char *name; QList<MacCustomKeyMapping> custom; bool enabled; Mappings expected; } cases[] = {
        {"unknown and identity leave the swap alone", {{"F13", "A"}, {"A", "A"}}, true, swap},
        {"custom sorts first and overrides the swap", {{"Caps Lock", "Escape"}, {"Command trái", "Option trái"}}, true,
         {{0x39, 0x29}, {0xE0, 0xE3}, {0xE3, 0xE2}, {0xE4, 0xE7}, {0xE7, 0xE4}}},
        {"later custom wins", {{"Caps Lock", "Escape"}, {"Caps Lock", "Tab"}}, true,
         {{0x39, 0x2B}, {0xE0, 0xE3}, {0xE3, 0xE0}, {0xE4, 0xE7}, {0xE7, 0xE4}}},
        {"disabled", {{"Caps Lock", "Escape"}}, false, {}},
    };
    for (const auto &c : cases) {
        FakeProcessRunner processes;
        FakeHotKeyService hotKeys;
        KeyRemapper remapper(processes, hotKeys, "vistrel-keymap");
        remapper.setCustomMappings(c.custom);
        const ParsedMapping parsed = parseUserKeyMapping(remapper.mappingProperty(c.enabled));
        EXPECT_TRUE(parsed.ok()) << c.name << ": " << parsed.error.toStdString();
        EXPECT_EQ(parsed.mappings, c.expected) << c.name;
    }
}

} // namespace
