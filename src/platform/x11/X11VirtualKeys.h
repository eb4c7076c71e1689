#pragma once

#include <QtGlobal>

// The X keysym that stands for an ANSI virtual key position; 0 (NoSymbol) for a
// position we have no keysym for. Letters map to their lower-case keysyms.
quint32 keysymForVirtualKey(quint32 virtualKey);
