// The keymap tool's inputs: the property the app passes, and the two texts it keeps on the
// root window (saved original, mapping in force), which any client can overwrite.
#include "FuzzScratch.h"
#include "keymap/KeymapSnapshot.h"
#include "keymap/MappingRecord.h"
#include "keymap/UserKeyMapping.h"

#include <cstdint>
#include <set>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = fuzz::bytesOf(data, size);

    const keymap::ParsedMapping parsed = keymap::parseUserKeyMapping(bytes);
    fuzz::require(parsed.ok() || parsed.mappings.empty(), "a rejected property kept mappings");
    // Everything accepted reaches the X keymap: no usage is dropped on the way to keycodes.
    std::set<quint32> sources;
    for (const keymap::UsageMapping &entry : parsed.mappings)
        sources.insert(entry.source);
    const std::map<int, int> keycodes = keymap::keycodeMapping(parsed.mappings);
    fuzz::require(keycodes.size() == sources.size(), "an accepted usage has no keycode");
    for (const auto &[source, destination] : keycodes)
        fuzz::require(source >= 8 && source <= 255 && destination >= 8 && destination <= 255,
                      "a keycode off the X range");

    if (const auto snapshot = keymap::decodeSnapshot(bytes))
        fuzz::require(keymap::decodeSnapshot(keymap::encodeSnapshot(*snapshot)) == snapshot,
                      "a decoded keymap does not survive encoding");
    if (const auto mapping = keymap::decodeMapping(bytes))
        fuzz::require(keymap::decodeMapping(keymap::encodeMapping(*mapping)) == mapping,
                      "a decoded mapping does not survive encoding");
    return 0;
}
