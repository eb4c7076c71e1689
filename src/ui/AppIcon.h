#pragma once

#include <QIcon>

namespace AppIcon {

// The app's mark, drawn rather than shipped so it is sharp at every size and scale.
QIcon icon();

} // namespace AppIcon
