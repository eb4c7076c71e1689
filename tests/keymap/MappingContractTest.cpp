#include "keyboard/KeyRemapper.h"
#include "keymap/UserKeyMapping.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"

#include <gtest/gtest.h>

using keymap::UsageMapping;

namespace {

// What the app sends is what the tool reads: each property goes through the tool's own parser.
TEST(MappingContract, ToolReadsTheUsagesTheAppSends)
{
    struct Case {
        const char *label;
        QList<MacCustomKeyMapping> mappings;
        bool enabled;
        std::vector<UsageMapping> expected;   // in the order the tool applies them
    };
    const Case cases[] = {
        {"swap alone", {}, true, {{0xE0, 0xE3}, {0xE3, 0xE0}, {0xE4, 0xE7}, {0xE7, 0xE4}}},
        {"swap with custom mappings",
         {{"Caps Lock", "Escape"}, {"Command trái", "Option trái"}},
         true,
         {{0x39, 0x29}, {0xE0, 0xE3}, {0xE3, 0xE2}, {0xE4, 0xE7}, {0xE7, 0xE4}}},
        {"disabled", {{"Caps Lock", "Escape"}}, false, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        FakeProcessRunner processes;
        FakeHotKeyService hotKeys;
        KeyRemapper remapper(processes, hotKeys, QStringLiteral("vistrel-keymap"));
        remapper.setCustomMappings(c.mappings);
        const keymap::ParsedMapping parsed = keymap::parseUserKeyMapping(remapper.mappingProperty(c.enabled));
        ASSERT_TRUE(parsed.ok()) << parsed.error.toStdString();
        EXPECT_EQ(parsed.mappings, c.expected);
    }
}

} // namespace
