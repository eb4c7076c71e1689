#pragma once

#include <QString>
#include <QStringView>

// What a capture is. The history database stores it as text.
enum class CaptureKind { screenshot, video };

namespace CaptureKinds {

inline QString text(CaptureKind kind)
{
    return kind == CaptureKind::screenshot ? QStringLiteral("screenshot") : QStringLiteral("video");
}

// Only "screenshot" names an image; any other stored type is shown and opened as a video.
inline CaptureKind fromText(QStringView text)
{
    return text == u"screenshot" ? CaptureKind::screenshot : CaptureKind::video;
}

} // namespace CaptureKinds
