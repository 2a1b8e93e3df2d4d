#include "platform/qt/HouseStyle.h"

#include "platform/qt/Colours.h"

#include <QApplication>
#include <QComboBox>
#include <QFrame>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QStyleOption>

#include <algorithm>
#include <array>
#include <cmath>

namespace tavrel {
namespace {

constexpr int Edge = 1; // of a frame
constexpr QMargins BandPadding{12, 8, 12, 8};
constexpr QMargins NotePadding{8, 1, 8, 1};
constexpr QMargins CardPadding{24, 16, 24, 16};
constexpr QMargins ButtonPadding{14, 5, 14, 5};
constexpr QMargins HeadingPadding{4, 4, 2, 4}; // above its cells' text
constexpr QPoint TitlePlace{9, 8};
constexpr int TitleHeight = 24;
constexpr int LineHeight = 30;
constexpr int OptionSize = 14;
constexpr qreal OptionDot = 6;

constexpr QMargins WithEdge(const QMargins& padding) {
    return padding + Edge;
}

bool Is(const QWidget* widget, const char* property) {
    return widget && widget->property(property).toBool();
}

QMargins PaddingOf(const QWidget* frame) {
    if (Is(frame, "band"))
        return WithEdge(BandPadding);
    if (Is(frame, "note"))
        return NotePadding;
    return Is(frame, "card") ? WithEdge(CardPadding) : QMargins();
}

struct Tone {
    const char* name;
    Tint ground, text;
};
constexpr std::array Tones{
    Tone{"attention", colours::Attention, colours::OnAttention},
    Tone{"settled", colours::Settled, colours::OnSettled},
    Tone{"failure", colours::Failure, colours::OnFailure},
};

/// None for what is neutral.
const Tone* ToneOf(const QWidget& widget) {
    const QByteArray name = widget.property("tone").toByteArray();
    const auto* found = std::ranges::find_if(Tones, [&](const Tone& each) { return name == each.name; });
    return found == Tones.end() ? nullptr : found;
}

void DrawCurve(QPainter& painter, const QRect& place, const QColor& ground, const QColor& line, qreal radius) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(line);
    painter.setBrush(ground);
    const qreal half = Edge / 2.0; // the pen's middle runs there
    painter.drawRoundedRect(QRectF(place).adjusted(half, half, -half, -half), radius - half, radius - half);
}

void DrawBox(QPainter& painter, const QRect& place, const QColor& ground, const QColor& line, qreal radius) {
    const int corner = static_cast<int>(std::ceil(radius));
    const QRect middle = place.adjusted(0, corner, 0, -corner);
    const qreal scale = painter.deviceTransform().m11();
    painter.save();
    if (middle.height() < corner || scale != std::floor(scale)) { // then edges lie within pixels
        DrawCurve(painter, place, ground, line, radius);
    } else { // A curve costs as much as it is high, so what is straight is filled.
        painter.fillRect(middle.adjusted(Edge, 0, -Edge, 0), ground);
        for (const int edge : {middle.x(), middle.x() + middle.width() - Edge})
            painter.fillRect(edge, middle.y(), Edge, middle.height(), line);
        QRect end(place.topLeft(), QSize(place.width(), corner));
        painter.save();
        painter.setClipRect(end, Qt::IntersectClip);
        DrawCurve(painter, end.adjusted(0, 0, 0, corner), ground, line, radius);
        painter.restore();
        end.moveBottom(place.bottom());
        painter.setClipRect(end, Qt::IntersectClip);
        DrawCurve(painter, end.adjusted(0, -corner, 0, 0), ground, line, radius);
    }
    painter.restore();
}

QFont Bold(QFont font) {
    font.setBold(true);
    return font;
}

QPalette PaletteOf(Scheme scheme) {
    constexpr std::array<std::pair<QPalette::ColorRole, Tint>, 13> roles{{
        {QPalette::Window, colours::Window},
        {QPalette::WindowText, colours::Text},
        {QPalette::Base, colours::Field},
        {QPalette::AlternateBase, colours::Stripe},
        {QPalette::Text, colours::Text},
        {QPalette::Button, colours::Button},
        {QPalette::ButtonText, colours::Text},
        {QPalette::Highlight, colours::Accent},
        {QPalette::HighlightedText, colours::OnAccent},
        {QPalette::PlaceholderText, colours::Faint},
        {QPalette::BrightText, colours::Wrong},
        {QPalette::ToolTipBase, colours::Card},
        {QPalette::ToolTipText, colours::Text},
    }};
    constexpr std::array<std::pair<QPalette::ColorRole, Tint>, 8> disabled{{
        {QPalette::WindowText, colours::Off},
        {QPalette::Text, colours::Off},
        {QPalette::ButtonText, colours::Off},
        {QPalette::Base, colours::Locked},
        {QPalette::AlternateBase, colours::Locked},
        {QPalette::Button, colours::Locked},
        {QPalette::Highlight, colours::Line},
        {QPalette::HighlightedText, colours::Text},
    }};
    QPalette palette(colours::Button.In(scheme), colours::Window.In(scheme));
    for (const auto& [role, tint] : roles)
        palette.setColor(role, tint.In(scheme));
    for (const auto& [role, tint] : disabled)
        palette.setColor(QPalette::Disabled, role, tint.In(scheme));
    return palette;
}

} // namespace

HouseStyle::HouseStyle(Scheme scheme) : QProxyStyle("Fusion"), scheme_(scheme) {}

QPalette HouseStyle::standardPalette() const {
    return PaletteOf(scheme_);
}

void HouseStyle::polish(QWidget* widget) {
    QProxyStyle::polish(widget);
    if (auto* label = qobject_cast<QLabel*>(widget)) {
        PolishLabel(*label);
    } else if (qobject_cast<QComboBox*>(widget) ||
               (qobject_cast<QLineEdit*>(widget) && !qobject_cast<QComboBox*>(widget->parent()))) {
        widget->setMinimumHeight(LineHeight);
    } else if (Is(widget, "veil")) {
        QPalette palette;
        palette.setColor(QPalette::Window, colours::Veil.In(scheme_));
        widget->setPalette(palette);
        widget->setAutoFillBackground(true);
    }
    if (qobject_cast<QGroupBox*>(widget) || !PaddingOf(widget).isNull()) { // which asked before it had its properties
        QEvent changed(QEvent::StyleChange);
        QApplication::sendEvent(widget, &changed);
    }
}

void HouseStyle::PolishLabel(QLabel& label) const {
    const bool band = Is(&label, "band"), note = Is(&label, "note");
    if (label.objectName().startsWith("caption") || label.property("describes").isValid() || note)
        label.setForegroundRole(QPalette::PlaceholderText);
    if (!band && !note)
        return;
    if (band)
        label.setFont(Bold(label.font()));
    QPalette palette;
    if (const Tone* tone = ToneOf(label))
        palette.setColor(label.foregroundRole(), tone->text.In(scheme_));
    label.setPalette(palette);
}

int HouseStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                          QStyleHintReturn* answer) const {
    return hint == SH_DialogButtonBox_ButtonsHaveIcons ? 0 : QProxyStyle::styleHint(hint, option, widget, answer);
}

int HouseStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    if (metric == PM_ExclusiveIndicatorWidth || metric == PM_ExclusiveIndicatorHeight)
        return OptionSize;
    return QProxyStyle::pixelMetric(metric, option, widget);
}

QSize HouseStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                                   const QWidget* widget) const {
    if (type == CT_PushButton)
        return contents.grownBy(WithEdge(ButtonPadding));
    const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    return type == CT_HeaderSection ? size.grownBy(HeadingPadding + QMargins(0, 0, 0, Edge)) : size;
}

QRect HouseStyle::subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const {
    if (element == SE_ShapedFrameContents && !PaddingOf(widget).isNull())
        return option->rect - PaddingOf(widget);
    if (element == SE_HeaderLabel)
        return option->rect - (HeadingPadding + QMargins(0, 0, 0, Edge));
    return QProxyStyle::subElementRect(element, option, widget);
}

QRect HouseStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                                 const QWidget* widget) const {
    const auto* group = control == CC_GroupBox ? qstyleoption_cast<const QStyleOptionGroupBox*>(option) : nullptr;
    if (!group)
        return QProxyStyle::subControlRect(control, option, part, widget);
    const QRect inside = option->rect.marginsRemoved(WithEdge({}));
    const bool untitled = Is(widget, "untitled");
    switch (part) {
    case SC_GroupBoxFrame:
        return option->rect;
    case SC_GroupBoxContents:
        return inside.adjusted(0, untitled || Is(widget, "headed") ? 0 : TitleHeight, 0, 0);
    case SC_GroupBoxLabel: {
        if (untitled)
            return {};
        const QFontMetrics metrics(Bold(widget ? widget->font() : QApplication::font()));
        return {inside.topLeft() + TitlePlace, metrics.size(Qt::TextShowMnemonic, group->text)};
    }
    default:
        return {};
    }
}

void HouseStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                               const QWidget* widget) const {
    if (element == PE_IndicatorRadioButton)
        DrawOption(*option, *painter);
    else
        QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void HouseStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                             const QWidget* widget) const {
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    const auto* header = qstyleoption_cast<const QStyleOptionHeader*>(option);
    if (element == CE_ShapedFrame && widget) {
        DrawFrame(*option, *painter, *widget);
    } else if (element == CE_PushButton && button) { // whose edge tells that it has the focus
        proxy()->drawControl(CE_PushButtonBevel, option, painter, widget);
        proxy()->drawControl(CE_PushButtonLabel, option, painter, widget);
    } else if (element == CE_PushButtonBevel) {
        DrawButton(*option, *painter, widget);
    } else if (element == CE_PushButtonLabel && button) {
        QStyleOptionButton label(*button);
        if (Is(widget, "primary") && option->state.testFlag(State_Enabled))
            label.palette.setColor(QPalette::ButtonText, colours::OnAccent.In(scheme_));
        QProxyStyle::drawControl(element, &label, painter, widget);
    } else if (element == CE_HeaderSection || element == CE_HeaderEmptyArea) {
        painter->fillRect(option->rect, colours::Card.In(scheme_));
        if (element == CE_HeaderSection)
            painter->fillRect(option->rect.adjusted(0, option->rect.height() - Edge, 0, 0), colours::Line.In(scheme_));
    } else if (element == CE_HeaderLabel && header) {
        QStyleOptionHeader label(*header);
        label.palette.setColor(QPalette::ButtonText, colours::Faint.In(scheme_));
        QProxyStyle::drawControl(element, &label, painter, widget);
    } else if (element != CE_Splitter) {
        QProxyStyle::drawControl(element, option, painter, widget);
    }
}

void HouseStyle::DrawFrame(const QStyleOption& option, QPainter& painter, const QWidget& widget) const {
    if (const auto* label = qobject_cast<const QLabel*>(&widget))
        DrawLabelsGround(option, painter, *label);
    else if (Is(&widget, "card"))
        DrawBox(painter, option.rect, colours::Card.In(scheme_), colours::Line.In(scheme_), 8);
    else
        QProxyStyle::drawControl(CE_ShapedFrame, &option, &painter, &widget);
}

void HouseStyle::DrawLabelsGround(const QStyleOption& option, QPainter& painter, const QLabel& label) const {
    const bool focused = option.state.testFlag(State_HasFocus);
    const QColor line = colours::Line.In(scheme_);
    const Tone* tone = ToneOf(label);
    const QColor ground = tone ? tone->ground.In(scheme_) : line;
    if (Is(&label, "band"))
        DrawBox(painter, option.rect, tone ? ground : colours::Card.In(scheme_),
                focused ? colours::Text.In(scheme_) : ground, 6);
    else if (tone || focused)
        DrawBox(painter, option.rect, ground, ground, 4);
}

void HouseStyle::DrawButton(const QStyleOption& option, QPainter& painter, const QWidget* widget) const {
    const bool focused = option.state.testFlag(State_HasFocus);
    Tint ground = colours::Button, line = colours::Line;
    if (!option.state.testFlag(State_Enabled))
        return DrawBox(painter, option.rect, Qt::transparent, line.In(scheme_), 4);
    if (option.state.testFlag(State_Sunken))
        ground = colours::Line;
    if (focused || option.state.testFlag(State_MouseOver))
        line = colours::Accent;
    if (Is(widget, "primary")) {
        ground = colours::Accent;
        line = focused ? colours::Text : colours::Accent;
    }
    DrawBox(painter, option.rect, ground.In(scheme_), line.In(scheme_), 4);
}

void HouseStyle::DrawGroup(const QStyleOptionComplex& option, QPainter& painter, const QWidget* widget) const {
    DrawBox(painter, option.rect, colours::Card.In(scheme_), colours::Line.In(scheme_), 6);
    const auto* group = qstyleoption_cast<const QStyleOptionGroupBox*>(&option);
    const QRect place = proxy()->subControlRect(CC_GroupBox, &option, SC_GroupBoxLabel, widget);
    if (!group || place.isEmpty())
        return;
    const bool underlined = styleHint(SH_UnderlineShortcut, &option, widget, nullptr) != 0;
    painter.save();
    painter.setFont(Bold(painter.font()));
    proxy()->drawItemText(&painter, place, (underlined ? Qt::TextShowMnemonic : Qt::TextHideMnemonic) | Qt::AlignLeft,
                          option.palette, option.state.testFlag(State_Enabled), group->text, QPalette::WindowText);
    painter.restore();
}

/// As a line that is typed in; the style below would keep a picture of each.
void HouseStyle::DrawBoxToTypeIn(const QStyleOptionComboBox& option, QPainter& painter, const QWidget* widget) const {
    QStyleOptionFrame frame;
    frame.QStyleOption::operator=(option);
    frame.lineWidth = Edge;
    QProxyStyle::drawPrimitive(PE_PanelLineEdit, &frame, &painter, widget);
    QStyleOption arrow(option);
    arrow.rect = proxy()->subControlRect(CC_ComboBox, &option, SC_ComboBoxArrow, widget);
    painter.fillRect(arrow.rect.x(), arrow.rect.y() + 2 * Edge, Edge, arrow.rect.height() - 4 * Edge,
                     colours::Line.In(scheme_));
    proxy()->drawPrimitive(PE_IndicatorArrowDown, &arrow, &painter, widget);
}

void HouseStyle::DrawOption(const QStyleOption& option, QPainter& painter) const {
    const bool set = option.state.testFlag(State_On), usable = option.state.testFlag(State_Enabled);
    const Tint line = !usable ? colours::Line : set ? colours::Accent : colours::Faint;
    const QRect place = alignedRect(option.direction, Qt::AlignCenter, {OptionSize, OptionSize}, option.rect);
    if (!set)
        return DrawBox(painter, place, colours::Field.In(scheme_), line.In(scheme_), OptionSize / 2.0);
    DrawBox(painter, place, line.In(scheme_), line.In(scheme_), OptionSize / 2.0);
    const QRectF dot{0, 0, OptionDot, OptionDot};
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colours::OnAccent.In(scheme_));
    painter.drawEllipse(dot.translated(place.toRectF().center() - dot.center()));
    painter.restore();
}

void HouseStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                                    const QWidget* widget) const {
    const auto* box = qstyleoption_cast<const QStyleOptionComboBox*>(option);
    if (control == CC_GroupBox)
        DrawGroup(*option, *painter, widget);
    else if (control == CC_ComboBox && box && box->editable)
        DrawBoxToTypeIn(*box, *painter, widget);
    else
        QProxyStyle::drawComplexControl(control, option, painter, widget);
}

} // namespace tavrel
