#include "ui/HistoryTableView.h"

#include "ui/Theme.h"

#include <QHeaderView>
#include <QKeyEvent>

HistoryTableView::HistoryTableView(QWidget *parent) : QTableView(parent)
{
    setFrameShape(QFrame::NoFrame);
    setShowGrid(false);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTextElideMode(Qt::ElideMiddle);
    setIconSize(QSize(92, 54));
    setFont(Theme::font(13));
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(64);
    horizontalHeader()->setFont(Theme::font(11, QFont::DemiBold));
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setStretchLastSection(true);
    setStyleSheet(QStringLiteral("QTableView{background:#fff;border:none;}"
                                 "QTableView::item{border-bottom:1px solid #f0f0f0;padding-left:4px;}"
                                 "QHeaderView::section{background:#fafafa;border:none;"
                                 "border-bottom:1px solid #e4e4e4;padding:6px 4px;color:#555;}"));
}

void HistoryTableView::keyPressEvent(QKeyEvent *event)
{
    const bool command = event->modifiers() & (Qt::ControlModifier | Qt::MetaModifier);
    if (command && event->key() == Qt::Key_C) {
        if (copyHandler)
            copyHandler();
        event->accept();
        return;
    }
    QTableView::keyPressEvent(event);
}
