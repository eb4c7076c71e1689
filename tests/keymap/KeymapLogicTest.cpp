#include "KeymapJson.h"
#include "keyboard/KeyRemapper.h"
#include "keymap/CommandLine.h"
#include "keymap/HidUsageTable.h"
#include "keymap/UserKeyMapping.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"

#include <gtest/gtest.h>

#include <set>

using namespace keymap;

namespace {

TEST(HidUsageTable, EveryCatalogueKeyHasItsOwnKeycodeAndNoOtherUsageHasOne)
{
    std::set<int> keycodes;
    std::size_t count = 0;
    // Letters, digits, Return .. Space; Caps Lock, F1 .. F12; Home .. Up; modifiers.
    for (const auto &[first, last] : {std::pair(0x04u, 0x2Cu), {0x39u, 0x45u}, {0x4Au, 0x52u}, {0xE0u, 0xE7u}}) {
        for (quint32 usage = first; usage <= last; ++usage, ++count) {
            const auto keycode = xKeycodeForUsage(usage);
            ASSERT_TRUE(keycode) << "usage 0x" << std::hex << usage;
            EXPECT_GE(*keycode, 8);
            EXPECT_LE(*keycode, 255);
            keycodes.insert(*keycode);
        }
    }
    EXPECT_EQ(keycodes.size(), count) << "two catalogue keys share a keycode";
    for (quint32 usage : {0x00u, 0x01u, 0x03u, 0x82u, 0xA5u, 0xDFu, 0xE8u, 0xFFu, 0x100u, 0x1E0u})
        EXPECT_FALSE(xKeycodeForUsage(usage)) << "usage 0x" << std::hex << usage;
    EXPECT_EQ(evdevCodeForUsage(0x04), 30);   // KEY_A: first entry of the table
    EXPECT_EQ(evdevCodeForUsage(0xE7), 126);  // KEY_RIGHTMETA: last entry
    // Usage mappings become keycode mappings; a later entry for the same source wins.
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
        {"string usage", property({QByteArray(good).replace("30064771129", "\"30064771129\"")}), "not a non-negative integer"},
        {"fraction", property({QByteArray(good).replace("30064771129", "30064771129.5")}), "not a non-negative integer"},
        {"negative", property({QByteArray(good).replace("30064771113", "-1")}), "not a non-negative integer"},
        {"usage without page", property({entry(0x39, escape)}), "not a keyboard-page usage"},
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

TEST(CommandLine, RecognisesHelpSetAndWatchOnly)
{
    using Kind = Command::Kind;
    const std::pair<std::vector<QByteArray>, Kind> cases[] = {
        {{"--help"}, Kind::Help}, {{"-h"}, Kind::Help}, {{"property", "--set", "{}"}, Kind::SetProperty},
        {{"watch"}, Kind::Watch}, {{"watch", "now"}, Kind::Invalid}, {{}, Kind::Invalid}, {{"property"}, Kind::Invalid},
        {{"property", "--set"}, Kind::Invalid}, {{"property", "--get", "UserKeyMapping"}, Kind::Invalid},
        {{"property", "--set", "{}", "extra"}, Kind::Invalid}, {{"--help", "property"}, Kind::Invalid},
    };
    for (const auto &[arguments, kind] : cases) {
        const Command command = parseCommandLine(arguments);
        EXPECT_EQ(command.kind, kind) << arguments.size() << " arguments";
        EXPECT_EQ(command.error.isEmpty(), kind != Kind::Invalid);
    }
    EXPECT_EQ(parseCommandLine({"property", "--set", "{\"UserKeyMapping\":[]}"}).property,
              "{\"UserKeyMapping\":[]}");
}

} // namespace
