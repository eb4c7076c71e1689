#pragma once

#include "keyboard/MacKeyOption.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class KeyRemapper;
class QComboBox;
class QLabel;
class QPushButton;
class QWidget;
class ScreenEnvironment;

// The key-mapping window: the bridge toggle and its state, and the user's own mappings,
// saved to key-mappings.json and handed to the remapper after every change.
class KeyMappingController : public QObject {
    Q_OBJECT
public:
    KeyMappingController(KeyRemapper &remapper, const ScreenEnvironment &screens, QString mappingFile,
                         QObject *parent = nullptr);
    ~KeyMappingController() override;

    QWidget *window() const { return m_window; }
    void showMappingWindow();

    void toggleMapping();
    void addCustomMapping();
    void removeCustomMapping();
    void updatePermissionState(bool running, bool trusted);
    void refreshPermissionState();

    const QList<MacCustomKeyMapping> &customMappings() const { return m_customMappings; }
    QPushButton *mappingToggle() const { return m_mappingToggle; }
    QLabel *permissionStatus() const { return m_permissionStatus; }
    QComboBox *sourceKeyPopup() const { return m_sourceKeyPopup; }
    QComboBox *destinationKeyPopup() const { return m_destinationKeyPopup; }
    QComboBox *customMappingsPopup() const { return m_customMappingsPopup; }

private:
    void buildWindow();
    void commit(const QList<MacCustomKeyMapping> &mappings);
    void reloadSourceKeysPopup();
    void reloadCustomMappingsPopup();

    KeyRemapper &m_remapper;
    const ScreenEnvironment &m_screens;
    QString m_mappingFile;
    QList<MacCustomKeyMapping> m_customMappings;
    QPointer<QWidget> m_window;
    QPushButton *m_mappingToggle = nullptr;
    QLabel *m_permissionStatus = nullptr;
    QComboBox *m_sourceKeyPopup = nullptr;
    QComboBox *m_destinationKeyPopup = nullptr;
    QComboBox *m_customMappingsPopup = nullptr;
    bool m_placed = false;
};
