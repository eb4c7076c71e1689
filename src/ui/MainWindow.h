#pragma once

#include <QWidget>

class HistoryTableView;
class QPushButton;

// The main window's visible content: header, Capture Studio panel, recent captures.
// It only lays things out and reports button presses; MainWindowController acts on them.
class MainWindow : public QWidget {
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);

    HistoryTableView *table() const { return m_table; }
    QPushButton *mappingButton() const { return m_mappingButton; }

signals:
    void mappingRequested();
    void screenshotRequested();
    void videoRequested();
    void scrollingRequested();
    void folderRequested();
    void hideRequested();

private:
    void buildHeader();
    void buildStudioPanel();
    void buildRecentSection();

    HistoryTableView *m_table = nullptr;
    QPushButton *m_mappingButton = nullptr;
};
