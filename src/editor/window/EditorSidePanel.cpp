#include "editor/window/EditorSidePanel.h"

#include "editor/window/ColorWell.h"
#include "editor/window/EditorButtons.h"
#include "editor/window/EditorChoices.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

#include <tuple>

namespace {

constexpr int labelWidth = 62;
constexpr int controlHeight = 26;
constexpr QSize swatchSize(34, 28);
constexpr QSize gridButtonSize(92, 26);

// A quick-style swatch: its colour inside a white border as thick as the style's stroke
// is heavy, ringed in grey so the border reads on the white panel.
class QuickStyleSwatch : public QToolButton {
public:
    QuickStyleSwatch(const EditorChoices::QuickStyle &style, QWidget *parent)
        : QToolButton(parent), style_(style)
    {
        setFixedSize(swatchSize);
        setCursor(Qt::PointingHandCursor);
        setFocusPolicy(Qt::TabFocus);
        setToolTip(EditorChoices::quickStyleToolTip(style));
        setAccessibleDescription(toolTip());
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal border = style_.lineWidth >= 8 ? 3 : 1;
        const QRectF outer = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        painter.setPen(QPen(underMouse() || hasFocus() ? QColor(120, 120, 114) : QColor(206, 205, 198), 1));
        painter.setBrush(Qt::white);
        painter.drawRoundedRect(outer, 6, 6);
        painter.setPen(Qt::NoPen);
        painter.setBrush(isDown() ? style_.color.darker(115) : style_.color);
        const QRectF inner = outer.adjusted(0.5 + border, 0.5 + border, -0.5 - border, -0.5 - border);
        painter.drawRoundedRect(inner, 6 - border / 2, 6 - border / 2);
    }

private:
    EditorChoices::QuickStyle style_;
};

QLabel *sectionTitle(const QString &text, QWidget *parent)
{
    return EditorButtons::label(text, 12, true, true, parent);
}

} // namespace

EditorSidePanel::EditorSidePanel(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    setProperty(EditorButtons::roleProperty, QStringLiteral("sidePanel"));
    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(12, 12, 12, 12);
    stack->setSpacing(8);

    stack->addWidget(EditorButtons::label(QStringLiteral("Tool Properties"), 14, true, false, this));
    stack->addWidget(EditorButtons::separator(this));
    stack->addWidget(buildPickers());
    stack->addWidget(EditorButtons::separator(this));

    stack->addWidget(sectionTitle(QStringLiteral("Quick Styles"), this));
    stack->addWidget(buildQuickStyles());
    stack->addWidget(EditorButtons::separator(this));

    stack->addWidget(buildButtonGrid({
        {Action::resetZoom, "arrow.down.right.and.arrow.up.left", "Fit 100%", true},
        {Action::fitToWindow, "rectangle.compress.vertical", "Vừa cửa sổ", true},
        {Action::grayscale, "wand.and.stars", "Ảnh đen trắng", true},
        {Action::deleteOverlay, "trash", "Xóa overlay đang chọn", true},
    }));
    stack->addWidget(EditorButtons::separator(this));

    stack->addWidget(sectionTitle(QStringLiteral("Image Size"), this));
    stack->addWidget(buildButtonGrid({
        {Action::resizeHalf, "50%", "Resize image 50%", false},
        {Action::resizeDouble, "200%", "Resize image 200%", false},
        {Action::fit, "Fit", "Fit to window", false},
        {Action::actualSize, "1:1", "Actual size", false},
    }));
    stack->addWidget(EditorButtons::separator(this));

    stack->addWidget(sectionTitle(QStringLiteral("Adjustments"), this));
    stack->addWidget(buildButtonGrid({
        {Action::brighten, "sun.max", "Tăng sáng", true},
        {Action::darken, "moon", "Giảm sáng", true},
        {Action::sepia, "camera.filters", "Màu ấm", true},
        {Action::invert, "circle.righthalf.filled", "Đảo màu", true},
        {Action::sharpen, "sparkles", "Làm nét", true},
        {Action::exportPNG, "square.and.arrow.down", "Xuất PNG", true},
    }));

    QLabel *hint = EditorButtons::label(hintText, 11, false, true, this);
    hint->setWordWrap(true);
    hint->setMaximumHeight(hint->fontMetrics().lineSpacing() * 4 + 2);
    stack->addWidget(hint);
    stack->addStretch(1);
}

QToolButton *EditorSidePanel::quickStyleButton(int tag) const
{
    return tag >= 0 && tag < quickStyles_.size() ? quickStyles_.at(tag) : nullptr;
}

QComboBox *EditorSidePanel::picker(const QStringList &titles, const QString &selected, const QString &toolTip)
{
    auto *box = new QComboBox(this);
    box->addItems(titles);
    box->setCurrentIndex(int(titles.indexOf(selected)));
    box->setFixedHeight(controlHeight);
    box->setMaxVisibleItems(12);
    if (!toolTip.isEmpty())
        box->setToolTip(toolTip);
    return box;
}

QWidget *EditorSidePanel::buildPickers()
{
    auto *rows = new QWidget(this);
    auto *grid = new QGridLayout(rows);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(6);
    grid->setColumnMinimumWidth(0, labelWidth);
    grid->setColumnStretch(1, 1);

    colorWell_ = new ColorWell(QColor(255, 59, 48), rows);
    fontPicker_ = picker(EditorChoices::fontTitles(), EditorChoices::defaultFont, QStringLiteral("Font chữ"));
    textSizePicker_ = picker(EditorChoices::textSizeTitles(), EditorChoices::defaultTextSize, QStringLiteral("Cỡ chữ"));
    widthPicker_ = picker(EditorChoices::widthTitles(), EditorChoices::defaultWidth, QString());
    zoomPicker_ = picker(EditorChoices::zoomTitles(), EditorChoices::defaultZoom, QString());
    opacityPicker_ = picker(EditorChoices::opacityTitles(), EditorChoices::defaultOpacity, QString());

    const std::pair<const char *, QWidget *> entries[] = {
        {"Màu", colorWell_},       {"Font", fontPicker_}, {"Cỡ chữ", textSizePicker_},
        {"Nét", widthPicker_},     {"Zoom", zoomPicker_}, {"Độ mờ", opacityPicker_},
    };
    int row = 0;
    for (const auto &[title, control] : entries) {
        QLabel *label = EditorButtons::label(QString::fromUtf8(title), 12, false, false, rows);
        label->setFixedWidth(labelWidth);
        label->setBuddy(control);
        grid->addWidget(label, row, 0, Qt::AlignVCenter);
        grid->addWidget(control, row, 1, Qt::AlignVCenter);
        ++row;
    }
    return rows;
}

QWidget *EditorSidePanel::buildQuickStyles()
{
    auto *swatches = new QWidget(this);
    auto *grid = new QGridLayout(swatches);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(8);
    const auto &styles = EditorChoices::quickStyles();
    for (int tag = 0; tag < EditorChoices::quickStyleCount; ++tag) {
        auto *swatch = new QuickStyleSwatch(styles[size_t(tag)], swatches);
        connect(swatch, &QToolButton::clicked, this, [this, tag] { emit quickStyleClicked(tag); });
        quickStyles_.append(swatch);
        grid->addWidget(swatch, tag / 4, tag % 4);
    }
    grid->setColumnStretch(4, 1);
    return swatches;
}

QWidget *EditorSidePanel::buildButtonGrid(
    std::initializer_list<std::tuple<Action, const char *, const char *, bool>> buttons)
{
    auto *holder = new QWidget(this);
    auto *grid = new QGridLayout(holder);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(8);
    int index = 0;
    for (const auto &[action, titleOrSymbol, toolTip, isIcon] : buttons) {
        const QString tip = QString::fromUtf8(toolTip);
        QToolButton *button = isIcon
            ? EditorButtons::iconButton(QString::fromLatin1(titleOrSymbol), tip, gridButtonSize, holder)
            : EditorButtons::textButton(QString::fromUtf8(titleOrSymbol), tip, gridButtonSize, holder);
        const Action a = action;
        connect(button, &QToolButton::clicked, this, [this, a] { emit actionTriggered(a); });
        actionButtons_.emplace(action, button);
        grid->addWidget(button, index / 2, index % 2);
        ++index;
    }
    grid->setColumnStretch(2, 1);
    return holder;
}
