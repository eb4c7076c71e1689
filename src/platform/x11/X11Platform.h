#pragma once

#include "platform/Platform.h"

#include <memory>

// The platform of a desktop session on X11. Call once a QGuiApplication exists. Without
// an X11 connection the hot keys, applications and key synthesis are inert.
std::unique_ptr<Platform> createX11Platform();
