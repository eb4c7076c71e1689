#include "editor/window/EditorToolBar.h"

#include "editor/window/EditorButtons.h"

#include <QHBoxLayout>
#include <QToolButton>

namespace {

struct ToolEntry {
    EditTool tool;
    const char *symbol;
    const char *toolTip;
};

const ToolEntry toolEntries[] = {
    {EditTool::pen, "pencil", "Bút"},
    {EditTool::marker, "highlighter", "Đánh dấu"},
    {EditTool::line, "line.diagonal", "Đường thẳng"},
    {EditTool::arrow, "arrow.up.right", "Mũi tên"},
    {EditTool::rectangle, "rectangle", "Chữ nhật"},
    {EditTool::ellipse, "circle", "Elip"},
    {EditTool::text, "textformat", "Chữ"},
    {EditTool::callout, "1.circle", "Đánh số"},
    {EditTool::insertImage, "photo.badge.plus", "Chèn ảnh"},
    {EditTool::crop, "crop", "Cắt"},
    {EditTool::pixelate, "square.grid.3x3", "Làm mờ pixel"},
    {EditTool::blur, "drop.halffull", "Làm mờ mềm"},
};

struct ActionEntry {
    EditorToolBar::Action action;
    const char *symbol;
    const char *toolTip;
};

const ActionEntry actionEntries[] = {
    {EditorToolBar::Action::undo, "arrow.uturn.backward", "Hoàn tác"},
    {EditorToolBar::Action::redo, "arrow.uturn.forward", "Làm lại"},
    {EditorToolBar::Action::copy, "doc.on.doc", "Sao chép"},
    {EditorToolBar::Action::paste, "photo.on.rectangle", "Dán ảnh từ clipboard"},
    {EditorToolBar::Action::cancel, "xmark", "Hủy"},
    {EditorToolBar::Action::save, "checkmark", "Lưu và sao chép"},
};

constexpr QSize buttonSize(28, 28);

} // namespace

EditorToolBar::EditorToolBar(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    setProperty(EditorButtons::roleProperty, QStringLiteral("toolBar"));
    setFixedHeight(42);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(8, 5, 8, 5);
    row->setSpacing(4);

    for (const ToolEntry &entry : toolEntries) {
        QToolButton *button = EditorButtons::iconButton(QString::fromLatin1(entry.symbol),
                                                        QString::fromUtf8(entry.toolTip), buttonSize, this);
        button->setCheckable(true);
        const int tag = static_cast<int>(entry.tool);
        button->setProperty("tag", tag);
        connect(button, &QToolButton::clicked, this, [this, tag] { emit toolClicked(tag); });
        toolButtons_.insert(entry.tool, button);
        row->addWidget(button, 0, Qt::AlignVCenter);
    }
    // The document's actions sit at the far end, away from the tools.
    row->addStretch(1);
    for (const ActionEntry &entry : actionEntries) {
        QToolButton *button = EditorButtons::iconButton(QString::fromLatin1(entry.symbol),
                                                        QString::fromUtf8(entry.toolTip), buttonSize, this);
        const Action action = entry.action;
        connect(button, &QToolButton::clicked, this, [this, action] { emit actionTriggered(action); });
        actionButtons_.emplace(action, button);
        row->addWidget(button, 0, Qt::AlignVCenter);
    }
}

void EditorToolBar::showSelectedTool(EditTool tool)
{
    for (auto it = toolButtons_.cbegin(); it != toolButtons_.cend(); ++it)
        it.value()->setChecked(it.key() == tool);
}
