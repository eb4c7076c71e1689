#include "ui/KeyMappingController.h"

#include "keyboard/KeyRemapper.h"
#include "keyboard/MacKeyMappingStore.h"
#include "platform/ScreenEnvironment.h"
#include "ui/BridgeStateDisplay.h"
#include "ui/KeyMappingEditor.h"
#include "ui/RoundedPanel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QWidget>

namespace {

QComboBox *popup(QWidget *parent, const QRect &frame)
{
    auto *combo = new QComboBox(parent);
    combo->setGeometry(frame);
    combo->setFont(Theme::font(13));
    combo->setMaxVisibleItems(16);
    return combo;
}

} // namespace

KeyMappingController::KeyMappingController(KeyRemapper &remapper, const ScreenEnvironment &screens,
                                           QString mappingFile, QObject *parent)
    : QObject(parent), m_remapper(remapper), m_screens(screens), m_mappingFile(std::move(mappingFile))
{
    m_customMappings = MacKeyMappingStore::load(m_mappingFile);
    buildWindow();
    m_remapper.setCustomMappings(m_customMappings);

    // The remapper reports synchronously from inside start()/stop(); paint on the next turn.
    QPointer<KeyMappingController> self(this);
    m_remapper.stateHandler = [self](bool running, bool trusted) {
        if (!self)
            return;
        QMetaObject::invokeMethod(self, [self, running, trusted] {
            if (self)
                self->updatePermissionState(running, trusted);
        }, Qt::QueuedConnection);
    };
    updatePermissionState(m_remapper.isRunning(), true);
}

KeyMappingController::~KeyMappingController()
{
    m_remapper.stateHandler = nullptr;
    delete m_window;
}

void KeyMappingController::buildWindow()
{
    auto *w = new QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                      Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint);
    w->setWindowTitle(QStringLiteral("Vistrel · Ánh xạ phím"));
    w->setFixedSize(720, 470);
    w->setAutoFillBackground(true);
    QPalette pal = w->palette();
    pal.setColor(QPalette::Window, Theme::whiteLevel(0.97));
    w->setPalette(pal);
    m_window = w;

    Widgets::label(w, QStringLiteral("Ánh xạ phím"), Theme::font(22, QFont::Bold), Theme::primaryText(), 40, 30);
    Widgets::label(w, QStringLiteral("Thiết lập bàn phím hoạt động theo cách bạn quen dùng."),
                   Theme::font(11), Theme::secondaryText(), 40, 62);

    m_mappingToggle = new QPushButton(w);
    m_mappingToggle->setGeometry(554, 32, 126, 40);
    BridgeStateDisplay::configureToggle(m_mappingToggle);
    connect(m_mappingToggle, &QPushButton::clicked, this, &KeyMappingController::toggleMapping);

    auto *defaults = new RoundedPanel(Qt::white, 12, w);
    defaults->setGeometry(20, 100, 680, 112);
    Widgets::label(defaults, QStringLiteral("MAPPING MẶC ĐỊNH"), Theme::overlineFont(9), Theme::secondaryText(), 20, 16);
    Widgets::label(defaults, QStringLiteral("⌘  Command  ⇄  Control"), Theme::font(19, QFont::DemiBold),
                   Theme::primaryText(), 20, 36);
    m_permissionStatus = Widgets::label(defaults, QString(), Theme::monospaceFont(11, QFont::Bold),
                                        Theme::pausedLine(), 20, 78);

    auto *custom = new RoundedPanel(Qt::white, 12, w);
    custom->setGeometry(20, 230, 680, 210);
    Widgets::label(custom, QStringLiteral("Mapping tùy chỉnh"), Theme::font(15, QFont::DemiBold),
                   Theme::primaryText(), 20, 16);
    Widgets::label(custom, QStringLiteral("Phím nguồn"), Theme::font(11), Theme::secondaryText(), 20, 56);
    Widgets::label(custom, QStringLiteral("Phím đích"), Theme::font(11), Theme::secondaryText(), 222, 56);

    m_sourceKeyPopup = popup(custom, QRect(20, 76, 190, 32));
    m_destinationKeyPopup = popup(custom, QRect(222, 76, 190, 32));
    for (const auto &key : MacKeyMappingStore::keys())
        m_destinationKeyPopup->addItem(key.name);
    auto *add = Widgets::button(custom, QStringLiteral("＋"), Widgets::ButtonStyle::plain,
                                QRect(424, 76, 48, 32), Theme::font(16, QFont::DemiBold));
    add->setToolTip(QStringLiteral("Thêm mapping"));
    connect(add, &QPushButton::clicked, this, &KeyMappingController::addCustomMapping);

    m_customMappingsPopup = popup(custom, QRect(20, 140, 568, 32));
    auto *remove = Widgets::button(custom, QStringLiteral("×"), Widgets::ButtonStyle::plain,
                                   QRect(596, 140, 44, 32), Theme::font(16, QFont::DemiBold));
    remove->setToolTip(QStringLiteral("Xóa mapping đã chọn"));
    connect(remove, &QPushButton::clicked, this, &KeyMappingController::removeCustomMapping);

    QWidget::setTabOrder(m_sourceKeyPopup, m_destinationKeyPopup);
    QWidget::setTabOrder(m_destinationKeyPopup, add);
    QWidget::setTabOrder(add, m_customMappingsPopup);
    QWidget::setTabOrder(m_customMappingsPopup, remove);
    QWidget::setTabOrder(remove, m_mappingToggle);

    reloadSourceKeysPopup();
    reloadCustomMappingsPopup();
}

void KeyMappingController::showMappingWindow()
{
    if (!m_window->isVisible()) {
        if (!m_placed) {
            // Centred once on the screen under the pointer; after that it stays where the user put it.
            if (const auto topLeft = m_screens.centredTopLeft(m_window->frameGeometry().size()))
                m_window->move(*topLeft);
            m_placed = true;
        }
        m_window->show();
        m_sourceKeyPopup->setFocus();
    }
    m_window->raise();
    m_window->activateWindow();
}

void KeyMappingController::toggleMapping()
{
    // The click has already flipped the button; the remapper holds what was asked before it.
    if (m_remapper.isRequested())
        m_remapper.stop();
    else
        m_remapper.enable();
    refreshPermissionState();
}

void KeyMappingController::addCustomMapping()
{
    if (m_sourceKeyPopup->currentIndex() < 0 || m_destinationKeyPopup->currentIndex() < 0)
        return;
    if (auto next = KeyMappingEditor::added(m_customMappings, m_sourceKeyPopup->currentText(),
                                            m_destinationKeyPopup->currentText()))
        commit(*next);
}

void KeyMappingController::removeCustomMapping()
{
    if (auto next = KeyMappingEditor::removed(m_customMappings, m_customMappingsPopup->currentIndex()))
        commit(*next);
}

void KeyMappingController::commit(const QList<MacCustomKeyMapping> &mappings)
{
    m_customMappings = mappings;
    MacKeyMappingStore::save(m_mappingFile, m_customMappings);
    m_remapper.setCustomMappings(m_customMappings);
    reloadSourceKeysPopup();
    reloadCustomMappingsPopup();
}

void KeyMappingController::reloadSourceKeysPopup()
{
    m_sourceKeyPopup->clear();
    m_sourceKeyPopup->addItems(KeyMappingEditor::sourceChoices(m_customMappings));
}

void KeyMappingController::reloadCustomMappingsPopup()
{
    m_customMappingsPopup->clear();
    m_customMappingsPopup->addItems(KeyMappingEditor::mappingTitles(m_customMappings));
}

void KeyMappingController::updatePermissionState(bool running, bool)
{
    BridgeStateDisplay::paint(m_mappingToggle, m_permissionStatus, running);
    m_mappingToggle->setChecked(m_remapper.isRequested());
}

// Only repaints: retrying a failed mapping is the remapper's start(), run by the app's tick.
void KeyMappingController::refreshPermissionState()
{
    updatePermissionState(m_remapper.isRunning(), true);
}
