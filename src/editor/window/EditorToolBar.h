#pragma once

#include "editor/document/EditTool.h"

#include <QHash>
#include <QWidget>

#include <map>

class QToolButton;

// The editor's top bar: the twelve tool buttons (tag = the tool's raw value), then undo,
// redo, copy, paste from the clipboard, cancel and save.
class EditorToolBar : public QWidget {
    Q_OBJECT
public:
    enum class Action { undo, redo, copy, paste, cancel, save };

    explicit EditorToolBar(QWidget *parent = nullptr);

    const QHash<EditTool, QToolButton *> &toolButtons() const { return toolButtons_; }
    QToolButton *toolButton(EditTool tool) const { return toolButtons_.value(tool); }
    QToolButton *actionButton(Action action) const { return actionButtons_.at(action); }

    // Exactly the button of `tool` shows as selected.
    void showSelectedTool(EditTool tool);

signals:
    void toolClicked(int tag);
    void actionTriggered(EditorToolBar::Action action);

private:
    QHash<EditTool, QToolButton *> toolButtons_;
    std::map<Action, QToolButton *> actionButtons_;
};
