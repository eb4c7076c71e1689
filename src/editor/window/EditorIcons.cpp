#include "editor/window/EditorIcons.h"

#include "editor/window/EditorIconShapes.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>

namespace {

class SymbolIconEngine : public QIconEngine {
public:
    SymbolIconEngine(QString name, QColor color) : name_(std::move(name)), color_(std::move(color)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        if (mode == QIcon::Disabled) {
            const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
            QPixmap faded = pixmap(rect.size() * ratio, mode, state);
            faded.setDevicePixelRatio(ratio);
            painter->drawPixmap(rect.topLeft(), faded);
            return;
        }
        draw(*painter, rect);
    }

    // `size` is in device pixels; QIcon sets the pixel ratio on what it hands out.
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        draw(painter, QRect(QPoint(0, 0), size));
        if (mode == QIcon::Disabled) {
            // Faded as a whole, so strokes that cross do not show darker joints.
            painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
            painter.fillRect(pixmap.rect(), QColor(0, 0, 0, 90));
        }
        return pixmap;
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override { return size; }
    QIconEngine *clone() const override { return new SymbolIconEngine(name_, color_); }
    QString key() const override { return QStringLiteral("vistrel-symbol"); }
    QString iconName() override { return name_; }
    bool isNull() override { return !EditorIconShapes::has(name_); }

private:
    void draw(QPainter &painter, const QRect &rect) const
    {
        // A square centred in the rectangle, so the strokes keep their proportions.
        const qreal side = std::min(rect.width(), rect.height());
        const QRectF square(rect.x() + (rect.width() - side) / 2, rect.y() + (rect.height() - side) / 2, side,
                            side);
        painter.save();
        painter.translate(square.topLeft());
        painter.scale(side / EditorIconShapes::grid, side / EditorIconShapes::grid);
        EditorIconShapes::draw(name_, painter, color_);
        painter.restore();
    }

    QString name_;
    QColor color_;
};

} // namespace

QIcon EditorIcons::icon(const QString &symbolName, const QColor &color)
{
    if (!EditorIconShapes::has(symbolName))
        return QIcon();
    return QIcon(new SymbolIconEngine(symbolName, color));
}
