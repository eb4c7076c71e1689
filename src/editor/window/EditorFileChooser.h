#pragma once

#include <QString>

class QWidget;

// The editor's two file dialogues, behind an interface so tests need none.
class EditorFileChooser {
public:
    virtual ~EditorFileChooser() = default;
    // One PNG, JPEG, TIFF, GIF or WebP file to insert; empty when cancelled.
    virtual QString chooseImageToInsert(QWidget *parent) = 0;
    // Where to export a PNG, proposing `proposedName`; empty when cancelled.
    virtual QString choosePngDestination(QWidget *parent, const QString &title, const QString &proposedName) = 0;
};

// The toolkit's open and save dialogues.
class DialogFileChooser : public EditorFileChooser {
public:
    QString chooseImageToInsert(QWidget *parent) override;
    QString choosePngDestination(QWidget *parent, const QString &title, const QString &proposedName) override;
};
