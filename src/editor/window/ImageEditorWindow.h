#pragma once

#include <QWidget>

#include <functional>

class QKeyEvent;

// The editor's top-level window. Control+C and Control+V (or the same with Super) copy
// and paste inside the text box when it is being edited; anywhere else in the window they
// save and finish, or insert the clipboard's image.
class ImageEditorWindow : public QWidget {
    Q_OBJECT
public:
    static inline const QString titleText = QStringLiteral("Chỉnh sửa ảnh — Vistrel");

    explicit ImageEditorWindow(QWidget *parent = nullptr);
    ~ImageEditorWindow() override;

    std::function<void()> saveAndCopyHandler;
    std::function<void()> pasteImageHandler;
    // The window is closing (its close button, or close()).
    std::function<void()> closeHandler;

    // True when the key was one of the two key equivalents and has been handled.
    bool performKeyEquivalent(QKeyEvent *event);

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
};
