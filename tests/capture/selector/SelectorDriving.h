#pragma once

#include <QCoreApplication>
#include <QTest>
#include <QWidget>

// A user's drag on a selector window, in its own coordinates.
inline void dragOn(QWidget *view, QPoint from, QPoint to)
{
    QTest::mousePress(view, Qt::LeftButton, {}, from);
    QTest::mouseMove(view, (from + to) / 2);
    QTest::mouseMove(view, to);
    QTest::mouseRelease(view, Qt::LeftButton, {}, to);
}

// Runs deferred deletions so released windows are really gone.
inline void flushDeletions()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
