#include "editor/window/EditorFileChooser.h"

#include <QDir>
#include <QFileDialog>
#include <QStandardPaths>

namespace {

QString startFolder()
{
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return QDir(pictures).exists() ? pictures : QDir::homePath();
}

} // namespace

QString DialogFileChooser::chooseImageToInsert(QWidget *parent)
{
    return QFileDialog::getOpenFileName(parent, QStringLiteral("Chèn ảnh"), startFolder(),
                                        QStringLiteral("Ảnh (*.png *.jpg *.jpeg *.tif *.tiff *.gif *.webp)"));
}

QString DialogFileChooser::choosePngDestination(QWidget *parent, const QString &title, const QString &proposedName)
{
    QFileDialog dialog(parent, title, startFolder(), QStringLiteral("PNG (*.png)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(QStringLiteral("png"));
    dialog.selectFile(proposedName);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return QString();
    return dialog.selectedFiles().constFirst();
}
