#include "keyboard/KeyRemapper.h"
#include "keymap/UserKeyMapping.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"

#include <gtest/gtest.h>

namespace {

// What the app sends is what the tool reads: the property goes through the tool's own parser.
TEST(MappingContract, ToolReadsTheUsagesTheAppSends)
{
    FakeProcessRunner processes;
    FakeHotKeyService hotKeys;
    KeyRemapper remapper(processes, hotKeys, QStringLiteral("vistrel-keymap"));
    remapper.setCustomMappings({{"Caps Lock", "Escape"}, {"Command trái", "Option trái"}});
    const keymap::ParsedMapping parsed = keymap::parseUserKeyMapping(remapper.mappingProperty(true));
    ASSERT_TRUE(parsed.ok()) << parsed.error.toStdString();
    // In the order the tool applies them.
    EXPECT_EQ(parsed.mappings,
              (std::vector<keymap::UsageMapping>{{0x39, 0x29}, {0xE0, 0xE3}, {0xE3, 0xE2}, {0xE4, 0xE7}, {0xE7, 0xE4}}));
    const keymap::ParsedMapping off = keymap::parseUserKeyMapping(remapper.mappingProperty(false));
    EXPECT_TRUE(off.ok() && off.mappings.empty());
}

} // namespace
