// key-mappings.json as the user's disk may hold it: loading never writes, never crashes,
// and whatever loads survives a save and a second load.
#include "FuzzScratch.h"
#include "keyboard/MacKeyMappingStore.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = fuzz::bytesOf(data, size);
    const QString path = fuzz::writeScratch(QStringLiteral("key-mappings.json"), bytes);
    const QList<MacCustomKeyMapping> mappings = MacKeyMappingStore::load(path);
    fuzz::require(fuzz::readFile(path) == bytes, "loading rewrote the file");
    fuzz::require(MacKeyMappingStore::resolved(mappings).size() <= mappings.size(),
                  "more usage pairs than mappings");
    if (!mappings.isEmpty()) {
        const QString copy = fuzz::scratchPath(QStringLiteral("saved.json"));
        fuzz::require(MacKeyMappingStore::save(copy, mappings), "a loaded list could not be saved");
        fuzz::require(MacKeyMappingStore::load(copy) == mappings, "save and load lost something");
    }
    return 0;
}
