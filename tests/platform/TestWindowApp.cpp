// vistrel-test-window [--title T] [--type normal|dialog|tool]: one titled top-level
// window, for tests that need another application on the display.
#include <QApplication>
#include <QWidget>

int main(int argc, char **argv)
{
    // Read before QApplication: Qt's xcb platform takes "-title" out of the arguments.
    QString title = "Test window", type;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (QByteArray(argv[i]) == "--title")
            title = QString::fromLocal8Bit(argv[i + 1]);
        else if (QByteArray(argv[i]) == "--type")
            type = argv[i + 1];
    }
    QApplication app(argc, argv);
    QWidget window(nullptr, type == "dialog" ? Qt::Dialog : type == "tool" ? Qt::Tool : Qt::Window);
    window.setWindowTitle(title);
    window.setGeometry(40, 40, 320, 200);
    window.setPalette(QColor("#3a6ea5"));
    window.setAutoFillBackground(true);
    window.show();
    return app.exec();
}
