#include "capture/recording/RecordingSetup.h"

#include <QDir>
#include <algorithm>

namespace RecordingSetup {

StreamConfiguration streamConfiguration(const QRectF &region, const QRectF &screenFrame, qreal pixelRatio)
{
    const QRectF clipped = region.intersected(screenFrame);
    const int w0 = std::max(2, int(pixelRatio * clipped.width()));
    const int h0 = std::max(2, int(pixelRatio * clipped.height()));
    const double scale = std::min({double(maxWidth) / w0, double(maxHeight) / h0, 1.0});
    int width = std::max(2, int(scale * w0));
    int height = std::max(2, int(scale * h0));
    width -= width % 2;
    height -= height % 2;

    StreamConfiguration configuration;
    const QPointF offset = (clipped.topLeft() - screenFrame.topLeft()) * pixelRatio;
    const QRect nativeScreen(screenFrame.topLeft().toPoint(),
                             QSize(int(screenFrame.width() * pixelRatio), int(screenFrame.height() * pixelRatio)));
    QRect source(screenFrame.topLeft().toPoint() + QPoint(int(offset.x()), int(offset.y())), QSize(w0, h0));
    // The grab must stay on the screen; a region at its far edge loses the odd pixel.
    source.moveRight(std::min(source.right(), nativeScreen.right()));
    source.moveBottom(std::min(source.bottom(), nativeScreen.bottom()));
    configuration.sourceRect = source.intersected(nativeScreen);
    configuration.outputSize = QSize(width, height);
    return configuration;
}

QString folder(const QString &rootFolder)
{
    return QDir(rootFolder).filePath(QStringLiteral("Recordings"));
}

} // namespace RecordingSetup
