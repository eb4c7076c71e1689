#pragma once

#include <QImage>

// A desktop screenshot stand-in: gradient wallpaper, windows with title bars, flat panels,
// lines of text, a code editor and a photo. Deterministic.
QImage screenshotLikeImage(int width, int height);
