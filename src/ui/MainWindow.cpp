#include "ui/MainWindow.h"

#include "ui/ActionButton.h"
#include "ui/HistoryTableView.h"
#include "ui/RoundedPanel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>

MainWindow::MainWindow(QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                          Qt::WindowMinimizeButtonHint)
{
    setWindowTitle(QStringLiteral("Vistrel ") + QCoreApplication::applicationVersion());
    setFixedSize(1080, 760);
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, Theme::windowBackground());
    setPalette(pal);

    buildHeader();
    buildStudioPanel();
    buildRecentSection();
}

void MainWindow::buildHeader()
{
    auto *badge = new QLabel(QStringLiteral("VL"), this);
    badge->setGeometry(32, 28, 42, 42);
    badge->setAlignment(Qt::AlignCenter);
    badge->setFont(Theme::font(15, QFont::Black));
    badge->setStyleSheet(QStringLiteral("QLabel{background:%1;color:%2;border-radius:11px;}")
                             .arg(Theme::pillDark().name(), Theme::lime().name()));

    Widgets::label(this, QStringLiteral("Vistrel"), Theme::font(21, QFont::Bold), Theme::primaryText(), 88, 24);
    Widgets::label(this, QStringLiteral("Chụp, quay và quản lý nội dung màn hình"), Theme::font(11),
                   Theme::secondaryText(), 89, 53);

    m_mappingButton = Widgets::button(this, QStringLiteral("⌨  Ánh xạ phím"), Widgets::ButtonStyle::plain,
                                      QRect(880, 28, 168, 42), Theme::font(12, QFont::DemiBold));
    m_mappingButton->setObjectName(QStringLiteral("mappingButton"));
    connect(m_mappingButton, &QPushButton::clicked, this, &MainWindow::mappingRequested);
}

void MainWindow::buildStudioPanel()
{
    auto *panel = new RoundedPanel(Qt::white, 16, this);
    panel->setGeometry(32, 96, 1016, 252);

    Widgets::label(panel, QStringLiteral("CAPTURE STUDIO"), Theme::overlineFont(10), Theme::secondaryText(), 28, 24);
    Widgets::label(panel, QStringLiteral("Bạn muốn ghi lại điều gì?"), Theme::font(26, QFont::Bold),
                   Theme::primaryText(), 27, 44);
    Widgets::label(panel,
                   QStringLiteral("Chụp cuộn: website tự cuộn · app desktop bạn tự cuộn, Enter hoàn tất · Esc hủy."),
                   Theme::font(11), Theme::secondaryText(), 28, 88);

    struct Action {
        const char *name;
        const char *title;
        Widgets::ButtonStyle style;
        int width;
        void (MainWindow::*signal)();
    };
    const Action actions[] = {
        {"screenshotButton", "▣   Chụp vùng\n     Command + 4", Widgets::ButtonStyle::primary, 224, &MainWindow::screenshotRequested},
        {"videoButton", "●   Quay MP4 + âm thanh\n     Command + 5", Widgets::ButtonStyle::secondary, 224, &MainWindow::videoRequested},
        {"scrollingButton", "↧   Chụp cuộn\n     Website / App", Widgets::ButtonStyle::secondary, 224, &MainWindow::scrollingRequested},
        {"folderButton", "▤  Thư mục", Widgets::ButtonStyle::secondary, 120, &MainWindow::folderRequested},
        {"hideButton", "—  Ẩn app", Widgets::ButtonStyle::secondary, 120, &MainWindow::hideRequested},
    };
    int x = 28;
    for (const Action &action : actions) {
        const bool primary = action.style == Widgets::ButtonStyle::primary;
        auto *b = new ActionButton(QString::fromUtf8(action.title),
                                   primary ? Theme::lime() : Theme::whiteLevel(0.16),
                                   primary ? Qt::black : Qt::white, panel);
        b->setObjectName(QString::fromLatin1(action.name));
        b->setGeometry(x, 136, action.width, 84);
        connect(b, &QPushButton::clicked, this, action.signal);
        if (action.signal == &MainWindow::scrollingRequested)
            b->setToolTip(QStringLiteral("Mở nội dung tại vị trí bắt đầu, nhấn Command+6, khoanh đúng vùng có thể "
                                         "cuộn và giữ con trỏ trong vùng. Esc để hủy."));
        x += action.width + 12;
    }
}

void MainWindow::buildRecentSection()
{
    Widgets::label(this, QStringLiteral("Thư viện gần đây"), Theme::font(15, QFont::Bold), Theme::primaryText(),
                   32, 372);
    Widgets::label(this, QStringLiteral("Nhấp đúp để chỉnh sửa  ·  ⌘C để sao chép"), Theme::font(10),
                   Theme::secondaryText(), 33, 396);

    auto *panel = new RoundedPanel(Qt::white, 14, this);
    panel->setGeometry(32, 420, 1016, 308);
    m_table = new HistoryTableView(panel);
    // Inset so the square table corners stay inside the rounded card.
    m_table->setGeometry(8, 8, 1000, 292);
}
