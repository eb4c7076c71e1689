#include "editor/window/EditorStatusBar.h"

#include "editor/window/EditorButtons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

namespace {

constexpr QSize buttonSize(26, 24);

} // namespace

QString EditorStatusBar::sizeText(const QSizeF &imageSize)
{
    return QString::number(qint64(imageSize.width())) + QStringLiteral(" × ") +
           QString::number(qint64(imageSize.height())) + QStringLiteral(" px");
}

EditorStatusBar::EditorStatusBar(const QSizeF &imageSize, QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    setProperty(EditorButtons::roleProperty, QStringLiteral("statusBar"));
    setFixedHeight(32);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(12, 4, 12, 4);
    row->setSpacing(12);

    sizeLabel_ = EditorButtons::label(sizeText(imageSize), 12, false, false, this);
    row->addWidget(sizeLabel_, 0, Qt::AlignVCenter);
    QLabel *format = EditorButtons::label(QStringLiteral("PNG"), 11, true, false, this);
    format->setProperty(EditorButtons::roleProperty, QStringLiteral("badge"));
    row->addWidget(format, 0, Qt::AlignVCenter);
    row->addStretch(1);
    zoomOut_ = EditorButtons::iconButton(QStringLiteral("minus.magnifyingglass"), QStringLiteral("Thu nhỏ"), buttonSize, this);
    row->addWidget(zoomOut_, 0, Qt::AlignVCenter);
    row->addWidget(EditorButtons::label(QStringLiteral("Zoom"), 12, false, true, this), 0, Qt::AlignVCenter);
    zoomIn_ = EditorButtons::iconButton(QStringLiteral("plus.magnifyingglass"), QStringLiteral("Phóng to"), buttonSize, this);
    row->addWidget(zoomIn_, 0, Qt::AlignVCenter);
    fit_ = EditorButtons::iconButton(QStringLiteral("arrow.up.left.and.arrow.down.right"), QStringLiteral("Vừa cửa sổ"),
                                     buttonSize, this);
    row->addWidget(fit_, 0, Qt::AlignVCenter);
}
