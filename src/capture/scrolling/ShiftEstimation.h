#pragma once

#include "capture/scrolling/ScrollFrame.h"
#include "capture/scrolling/TranslationRegistration.h"

// How far the content moved up between the last kept frame a and a new frame b.
namespace ScrollingCapture {

// Motion-point search, coarse then fine; 0 when no reliable shift was found.
int verticalShift(const ScrollFrame &a, const ScrollFrame &b);

// The web cascade: strip registrations and their vote, the whole frame, a sampled overlap
// search, the motion-point search, and last the previous shift. Always >= 0.
int estimateWebShift(const ScrollFrame &a, const ScrollFrame &b, int lastShift,
                     const Registration &registration = visionTranslation);

// lastShift before the first web estimate.
inline int initialLastShift(qint64 firstHeight) { return firstHeight > 23 ? int(firstHeight / 3) : 8; }

// A hand-scrolled frame is kept only when it moved plausibly: its shift, or nothing.
std::optional<int> manualShift(const ScrollFrame &a, const ScrollFrame &b);

} // namespace ScrollingCapture
