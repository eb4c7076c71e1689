#pragma once

#include <QWidget>

#include <map>

class ColorWell;
class QAbstractButton;
class QComboBox;
class QToolButton;

// The editor's side panel: colour, font, text size, stroke width, zoom and opacity, the
// quick styles, zoom and overlay buttons, image size and adjustments, and the hint on
// inserted images.
class EditorSidePanel : public QWidget {
    Q_OBJECT
public:
    enum class Action {
        resetZoom,     // "Fit 100%"
        fitToWindow,   // "Vừa cửa sổ"
        grayscale,
        deleteOverlay,
        resizeHalf,
        resizeDouble,
        fit,           // "Fit"
        actualSize,    // "1:1"
        brighten,
        darken,
        sepia,
        invert,
        sharpen,
        exportPNG,
    };

    static inline const QString hintText = QStringLiteral(
        "Ảnh chèn: kéo thân để di chuyển, kéo cạnh/góc để resize, giữ Shift để giữ tỉ lệ, double-click để áp dụng.");
    static constexpr int panelWidth = 232;

    explicit EditorSidePanel(QWidget *parent = nullptr);

    ColorWell *colorWell() const { return colorWell_; }
    QComboBox *fontPicker() const { return fontPicker_; }
    QComboBox *textSizePicker() const { return textSizePicker_; }
    QComboBox *widthPicker() const { return widthPicker_; }
    QComboBox *zoomPicker() const { return zoomPicker_; }
    QComboBox *opacityPicker() const { return opacityPicker_; }
    QToolButton *quickStyleButton(int tag) const;
    QAbstractButton *actionButton(Action action) const { return actionButtons_.at(action); }

signals:
    void quickStyleClicked(int tag);
    void actionTriggered(EditorSidePanel::Action action);

private:
    QWidget *buildPickers();
    QWidget *buildQuickStyles();
    QWidget *buildButtonGrid(std::initializer_list<std::tuple<Action, const char *, const char *, bool>> buttons);
    QComboBox *picker(const QStringList &titles, const QString &selected, const QString &toolTip);

    ColorWell *colorWell_ = nullptr;
    QComboBox *fontPicker_ = nullptr;
    QComboBox *textSizePicker_ = nullptr;
    QComboBox *widthPicker_ = nullptr;
    QComboBox *zoomPicker_ = nullptr;
    QComboBox *opacityPicker_ = nullptr;
    QList<QToolButton *> quickStyles_;
    std::map<Action, QAbstractButton *> actionButtons_;
};
