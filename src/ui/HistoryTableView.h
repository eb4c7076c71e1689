#pragma once

#include <QTableView>
#include <functional>

// The recent-captures table; Command+C or Control+C goes to copyHandler.
class HistoryTableView : public QTableView {
    Q_OBJECT
public:
    explicit HistoryTableView(QWidget *parent = nullptr);

    std::function<void()> copyHandler;

protected:
    void keyPressEvent(QKeyEvent *event) override;
};
