// vistrel-test-window: one titled top-level window for tests that need other
// applications on the display.
//   --title T          window title (default "Test window")
//   --type T           normal (default), dialog or tool (a utility window)
//   --geometry WxH+X+Y size and position (default 320x200+40+40)
//   --color C          background colour name (default "#3a6ea5")
// Prints "window <id>" (the X window id, decimal) once the window is shown.
#include <QApplication>
#include <QCommandLineParser>
#include <QPalette>
#include <QRegularExpression>
#include <QTextStream>
#include <QTimer>
#include <QWidget>

namespace {

QRect parseGeometry(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d+)x(\\d+)\\+(-?\\d+)\\+(-?\\d+)$"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return QRect(40, 40, 320, 200);
    return QRect(match.captured(3).toInt(), match.captured(4).toInt(),
                 match.captured(1).toInt(), match.captured(2).toInt());
}

Qt::WindowFlags flagsFor(const QString &type)
{
    if (type == QLatin1String("dialog"))
        return Qt::Dialog;
    if (type == QLatin1String("tool"))
        return Qt::Tool;
    return Qt::Window;
}

} // namespace

int main(int argc, char **argv)
{
    // Parsed before QApplication exists: Qt's xcb platform takes "-title" and "-geometry"
    // (also spelled with two dashes) out of the arguments for itself.
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    QCommandLineParser parser;
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help."));
    const QCommandLineOption title(QStringLiteral("title"), QStringLiteral("Window title."),
                                   QStringLiteral("text"), QStringLiteral("Test window"));
    const QCommandLineOption type(QStringLiteral("type"), QStringLiteral("normal, dialog or tool."),
                                  QStringLiteral("type"), QStringLiteral("normal"));
    const QCommandLineOption geometry(QStringLiteral("geometry"), QStringLiteral("WxH+X+Y."),
                                      QStringLiteral("geometry"), QStringLiteral("320x200+40+40"));
    const QCommandLineOption color(QStringLiteral("color"), QStringLiteral("Background colour."),
                                   QStringLiteral("color"), QStringLiteral("#3a6ea5"));
    parser.addOptions({help, title, type, geometry, color});
    if (!parser.parse(arguments)) {
        QTextStream(stderr) << parser.errorText() << Qt::endl;
        return 2;
    }
    if (parser.isSet(help)) {
        QTextStream(stdout) << parser.helpText();
        return 0;
    }

    QApplication app(argc, argv);
    QWidget window(nullptr, flagsFor(parser.value(type)));
    window.setWindowTitle(parser.value(title));
    window.setGeometry(parseGeometry(parser.value(geometry)));
    QPalette palette = window.palette();
    palette.setColor(QPalette::Window, QColor(parser.value(color)));
    window.setPalette(palette);
    window.setAutoFillBackground(true);
    window.show();

    QTimer::singleShot(0, &window, [&window] {
        QTextStream(stdout) << "window " << window.winId() << Qt::endl;
    });
    return app.exec();
}
